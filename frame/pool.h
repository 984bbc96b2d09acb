// Memory for the module's COM objects, kept for reuse. Making and destroying wrappers is
// what a client makes the server do most (every AddLine makes one, every Release of the last
// reference destroys it); the heap's allocation costs more than the rest of the wrapper's
// life. Blocks are kept per size class, first in a list of the calling thread (no lock),
// then in a shared list that threads fill and drain in batches; everything is given back to
// the heap when the module unloads.
//
// The pool also counts the blocks out, which are the module's live objects: an object costs
// no locked count of its own, and the module stays loaded while any is out.
#pragma once

#include <cstddef>

namespace nk::pool {

// A block of at least `size` bytes, or null; sizes beyond the pooled ones come from the heap.
void* take(std::size_t size) noexcept;
// Gives back a block taken with the same size, on any thread.
void give(void* block, std::size_t size) noexcept;
// Blocks taken and not given back, over every thread.
long live() noexcept;
// The calling thread ends: its kept blocks go to the shared list.
void threadDone() noexcept;
// Frees every kept block (module unload).
void drain() noexcept;

}  // namespace nk::pool
