#include "frame/pool.h"

#include <atomic>
#include <new>

namespace nk::pool {
namespace {

constexpr std::size_t kGranule = 64;
constexpr std::size_t kClasses = 16;   // blocks up to 1 KiB
constexpr std::size_t kKeep = 4096;    // blocks kept per class

struct Node {
    Node* next;
};

// One free list per size class; its lock is held for a few instructions only.
struct FreeList {
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    Node* head = nullptr;
    std::size_t count = 0;

    void lock() noexcept
    {
        while (busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    void unlock() noexcept { busy.clear(std::memory_order_release); }
};

FreeList gLists[kClasses];

std::size_t classOf(std::size_t size) { return (size + kGranule - 1) / kGranule - 1; }

}  // namespace

void* take(std::size_t size) noexcept
{
    const std::size_t c = classOf(size);
    if (size == 0 || c >= kClasses) return ::operator new(size, std::nothrow);
    FreeList& list = gLists[c];
    list.lock();
    Node* node = list.head;
    if (node) {
        list.head = node->next;
        --list.count;
    }
    list.unlock();
    return node ? node : ::operator new((c + 1) * kGranule, std::nothrow);
}

void give(void* block, std::size_t size) noexcept
{
    if (!block) return;
    const std::size_t c = classOf(size);
    if (size == 0 || c >= kClasses) {
        ::operator delete(block);
        return;
    }
    FreeList& list = gLists[c];
    list.lock();
    if (list.count < kKeep) {
        auto* node = static_cast<Node*>(block);
        node->next = list.head;
        list.head = node;
        ++list.count;
        block = nullptr;
    }
    list.unlock();
    ::operator delete(block);
}

void drain() noexcept
{
    for (FreeList& list : gLists) {
        list.lock();
        Node* node = list.head;
        list.head = nullptr;
        list.count = 0;
        list.unlock();
        while (node) {
            Node* next = node->next;
            ::operator delete(node);
            node = next;
        }
    }
}

}  // namespace nk::pool
