// Memory for the module's COM objects, kept for reuse. Making and destroying wrappers is
// what a client makes the server do most (every AddLine makes one, every Release of the last
// reference destroys it); the heap's allocation costs more than the rest of the wrapper's
// life. Blocks are kept per size class, a few thousand at most, and given back to the heap
// when the module unloads.
#pragma once

#include <cstddef>

namespace nk::pool {

// A block of at least `size` bytes, or null; sizes beyond the pooled ones come from the heap.
void* take(std::size_t size) noexcept;
// Gives back a block taken with the same size.
void give(void* block, std::size_t size) noexcept;
// Frees every kept block (module unload).
void drain() noexcept;

}  // namespace nk::pool
