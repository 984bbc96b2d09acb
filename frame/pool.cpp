#include "frame/pool.h"

#include <windows.h>
#include <winternl.h>

#include <atomic>
#include <new>

namespace nk::pool {
namespace {

constexpr std::size_t kGranule = 64;
constexpr std::size_t kClasses = 16;     // blocks up to 1 KiB
constexpr std::size_t kThreadKeep = 256;  // blocks a thread keeps per class
constexpr std::size_t kBatch = 128;       // blocks moved between a thread and the shared list at once
constexpr std::size_t kSharedKeep = 4096; // blocks the shared list keeps per class

struct Node {
    Node* next;
};

struct Chain {
    Node* head = nullptr;
    std::size_t count = 0;

    void push(Node* node) noexcept
    {
        node->next = head;
        head = node;
        ++count;
    }
    Node* pop() noexcept
    {
        Node* node = head;
        if (node) {
            head = node->next;
            --count;
        }
        return node;
    }
    void free() noexcept
    {
        while (Node* node = pop()) ::operator delete(node);
    }
};

// Held for a few instructions, and only when a thread's own list runs empty or over.
class SpinLock {
public:
    void lock() noexcept
    {
        while (busy_.test_and_set(std::memory_order_acquire)) {
        }
    }
    void unlock() noexcept { busy_.clear(std::memory_order_release); }

private:
    std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
};

struct Shared {
    SpinLock lock;
    Chain lists[kClasses];
};
Shared gShared;

// A thread's lists and its count of blocks out (taken minus given on this thread; a block
// taken on one thread and given on another counts +1 and -1, and the sum is right). Caches
// stay in the registry until the module unloads: a thread that ends leaves its cache, count
// included, for the next thread.
struct Cache {
    Chain lists[kClasses];
    std::atomic<long> out{0};  // written by its thread only, read by any
    std::atomic<bool> used{true};
    Cache* next = nullptr;
};
std::atomic<Cache*> gCaches{nullptr};
std::atomic<DWORD> gSlot{TLS_OUT_OF_INDEXES};
// Blocks out counted without a cache (no thread-local slot, or no memory for a cache).
std::atomic<long> gUncached{0};

std::size_t classOf(std::size_t size) { return (size + kGranule - 1) / kGranule - 1; }

// Windows' own thread-local slot: MinGW's thread_local is emulated, a call and a lock away.
DWORD slot() noexcept
{
    DWORD s = gSlot.load(std::memory_order_acquire);
    if (s != TLS_OUT_OF_INDEXES) return s;
    const DWORD made = TlsAlloc();
    if (made == TLS_OUT_OF_INDEXES) return made;
    if (gSlot.compare_exchange_strong(s, made, std::memory_order_acq_rel)) return made;
    TlsFree(made);  // another thread was first
    return s;
}

Cache* adopt(DWORD s) noexcept
{
    Cache* cache = nullptr;
    for (Cache* c = gCaches.load(std::memory_order_acquire); c && !cache; c = c->next) {
        bool expected = false;
        if (c->used.compare_exchange_strong(expected, true, std::memory_order_acquire)) cache = c;
    }
    if (!cache) {
        cache = new (std::nothrow) Cache;
        if (!cache) return nullptr;
        cache->next = gCaches.load(std::memory_order_relaxed);
        while (!gCaches.compare_exchange_weak(cache->next, cache, std::memory_order_release, std::memory_order_relaxed)) {
        }
    }
    TlsSetValue(s, cache);
    return cache;
}

// TlsGetValue clears the thread's last error, which a caller may still want.
void* slotValue(DWORD s) noexcept
{
    const DWORD error = GetLastError();
    void* value = TlsGetValue(s);
    SetLastError(error);
    return value;
}

// The thread's block is read through gs:, which GCC takes for a zero-length array.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
void* tebSlot(DWORD s) noexcept { return NtCurrentTeb()->TlsSlots[s]; }
#pragma GCC diagnostic pop

Cache* threadCache() noexcept
{
    const DWORD s = slot();
    if (s == TLS_OUT_OF_INDEXES) return nullptr;
    // The first 64 slots are in the thread's own block: read there, with no call and the
    // last error untouched.
    void* value = s < 64 ? tebSlot(s) : slotValue(s);
    if (auto* cache = static_cast<Cache*>(value)) return cache;
    const DWORD error = GetLastError();
    Cache* cache = adopt(s);
    SetLastError(error);
    return cache;
}

void count(Cache* cache, long delta) noexcept
{
    if (cache)
        cache->out.store(cache->out.load(std::memory_order_relaxed) + delta, std::memory_order_relaxed);
    else
        gUncached.fetch_add(delta, std::memory_order_relaxed);
}

// Moves up to n blocks of a thread's list to the shared one; what it cannot keep goes to the heap.
void spill(Chain& from, std::size_t c, std::size_t n) noexcept
{
    Chain over;
    gShared.lock.lock();
    Chain& to = gShared.lists[c];
    for (; n > 0 && from.head; --n) {
        Node* node = from.pop();
        if (to.count < kSharedKeep)
            to.push(node);
        else
            over.push(node);
    }
    gShared.lock.unlock();
    over.free();
}

void refill(Chain& to, std::size_t c) noexcept
{
    gShared.lock.lock();
    Chain& from = gShared.lists[c];
    for (std::size_t n = 0; n < kBatch && from.head; ++n) to.push(from.pop());
    gShared.lock.unlock();
}

}  // namespace

void* take(std::size_t size) noexcept
{
    const std::size_t c = classOf(size);
    Cache* cache = threadCache();
    void* block = nullptr;
    if (size == 0 || c >= kClasses) {
        block = ::operator new(size, std::nothrow);
    } else if (cache) {
        Chain& list = cache->lists[c];
        if (!list.head) refill(list, c);
        block = list.pop();
    } else {
        gShared.lock.lock();
        block = gShared.lists[c].pop();
        gShared.lock.unlock();
    }
    if (!block && size != 0 && c < kClasses) block = ::operator new((c + 1) * kGranule, std::nothrow);
    if (block) count(cache, +1);
    return block;
}

void give(void* block, std::size_t size) noexcept
{
    if (!block) return;
    const std::size_t c = classOf(size);
    Cache* cache = threadCache();
    count(cache, -1);
    if (size == 0 || c >= kClasses) {
        ::operator delete(block);
        return;
    }
    // Whichever thread took the block, it joins the giving thread's list.
    auto* node = static_cast<Node*>(block);
    if (cache) {
        Chain& list = cache->lists[c];
        list.push(node);
        if (list.count > kThreadKeep) spill(list, c, kBatch);
        return;
    }
    Chain one;
    one.push(node);
    spill(one, c, 1);
}

long live() noexcept
{
    long n = gUncached.load(std::memory_order_relaxed);
    for (Cache* c = gCaches.load(std::memory_order_acquire); c; c = c->next) n += c->out.load(std::memory_order_relaxed);
    return n;
}

void threadDone() noexcept
{
    const DWORD s = gSlot.load(std::memory_order_acquire);
    if (s == TLS_OUT_OF_INDEXES) return;
    auto* cache = static_cast<Cache*>(slotValue(s));
    if (!cache) return;
    for (std::size_t c = 0; c < kClasses; ++c) spill(cache->lists[c], c, cache->lists[c].count);
    TlsSetValue(s, nullptr);
    cache->used.store(false, std::memory_order_release);
}

void drain() noexcept
{
    gShared.lock.lock();
    for (Chain& list : gShared.lists) list.free();
    gShared.lock.unlock();
    // The module goes: no other thread uses its cache any more. Freeing the slot clears it in
    // every thread; the blocks still out stay counted.
    Cache* c = gCaches.exchange(nullptr, std::memory_order_acq_rel);
    while (c) {
        for (Chain& list : c->lists) list.free();
        gUncached.fetch_add(c->out.load(std::memory_order_relaxed), std::memory_order_relaxed);
        Cache* next = c->next;
        delete c;
        c = next;
    }
    const DWORD s = gSlot.exchange(TLS_OUT_OF_INDEXES, std::memory_order_acq_rel);
    if (s != TLS_OUT_OF_INDEXES) TlsFree(s);
}

}  // namespace nk::pool
