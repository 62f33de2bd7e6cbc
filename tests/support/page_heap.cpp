#include "support/page_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

namespace velktest {

namespace {

constexpr std::size_t kPage = 0x1000;
constexpr unsigned char kFresh = 0xA5;  // of memory that was not written yet
constexpr unsigned char kSlack = 0x5A;  // between the end of a block and the end of its page
/// Freed blocks whose addresses stay out of use; more would take more mappings than a process may have.
constexpr std::size_t kMostFreed = 4000;

struct Block {
    unsigned char* pages;
    std::size_t usable;  // bytes of pages before the one that may not be touched
    std::size_t size;
};

std::mutex mutex;  // of both
std::map<void*, Block> blocks;
std::deque<void*> freed;

void* Allocate(std::size_t size, std::size_t alignment) {
    const std::size_t usable = std::max<std::size_t>(1, (size + kPage - 1) / kPage) * kPage;
    auto* const pages =
        static_cast<unsigned char*>(::VirtualAlloc(nullptr, usable + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (pages == nullptr || ::VirtualAlloc(pages, usable, MEM_COMMIT, PAGE_READWRITE) == nullptr)
        return nullptr;
    unsigned char* const block = pages + (usable - size) / alignment * alignment;
    std::memset(pages, kSlack, usable);
    std::memset(block, kFresh, size);
    const std::lock_guard lock(mutex);
    blocks[block] = {pages, usable, size};
    return block;
}

/// False for memory that is not from here.
bool TryFree(void* memory) {
    const std::lock_guard lock(mutex);
    const auto found = blocks.find(memory);
    if (found == blocks.end()) return false;
    const Block block = found->second;
    blocks.erase(found);
    const auto* const end = static_cast<unsigned char*>(memory) + block.size;
    if (std::any_of(end, static_cast<const unsigned char*>(block.pages + block.usable),
                    [](unsigned char byte) { return byte != kSlack; })) {
        ADD_FAILURE() << "written behind the end of a block of " << block.size << " bytes";
    }
    ::VirtualFree(block.pages, block.usable, MEM_DECOMMIT);
    freed.push_back(block.pages);
    if (freed.size() > kMostFreed) {
        ::VirtualFree(freed.front(), 0, MEM_RELEASE);
        freed.pop_front();
    }
    return true;
}

constexpr std::size_t kNewAlignment = 16;

void* GuardedMalloc(std::size_t size) { return Allocate(size, kNewAlignment); }

void* GuardedCalloc(std::size_t count, std::size_t size) {
    void* const block = Allocate(count * size, kNewAlignment);
    return block != nullptr ? std::memset(block, 0, count * size) : nullptr;
}

decltype(&::free) freeBelow = nullptr;
void GuardedFree(void* block) {
    if (block != nullptr && !TryFree(block)) freeBelow(block);
}

void* WINAPI GuardedHeapAlloc(HANDLE, DWORD flags, SIZE_T size) {
    void* const block = Allocate(size, 1);
    if (block != nullptr && (flags & HEAP_ZERO_MEMORY) != 0) std::memset(block, 0, size);
    return block;
}

decltype(&::HeapFree) heapFreeBelow = nullptr;
BOOL WINAPI GuardedHeapFree(HANDLE heap, DWORD flags, void* block) {
    return TryFree(block) || heapFreeBelow(heap, flags, block);
}

}  // namespace

PageHeap::PageHeap(HMODULE module) {
    const auto redirect = [&](const char* name, auto standIn) -> velkhost::ImportRedirect& {
        return redirects_.emplace_back(module, name, reinterpret_cast<void*>(standIn));
    };
    // What frees comes first: it knows whose a block is.
    freeBelow = redirect("free", &GuardedFree).Original<decltype(&::free)>();
    heapFreeBelow = redirect("HeapFree", &GuardedHeapFree).Original<decltype(&::HeapFree)>();
    redirect("malloc", &GuardedMalloc);
    redirect("calloc", &GuardedCalloc);
    redirect("HeapAlloc", &GuardedHeapAlloc);
}

PageHeap::~PageHeap() {
    const std::lock_guard lock(mutex);
    EXPECT_EQ(blocks.size(), 0U) << "blocks that the module still owns";
    for (void* const pages : std::exchange(freed, {})) ::VirtualFree(pages, 0, MEM_RELEASE);
}

}  // namespace velktest
