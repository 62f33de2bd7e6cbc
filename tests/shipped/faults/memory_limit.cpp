#include "memory_limit.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>

namespace velktest {

namespace {

constexpr long long kNoLimit = std::numeric_limits<long long>::max() / 2;

std::atomic<long long> available = kNoLimit;  // bytes
std::atomic<std::size_t> refused = 0;
std::atomic<std::size_t> mallocsRefused = 0;

bool MayHave(std::size_t bytes) {
    const auto wanted = static_cast<long long>(bytes);
    if (available.fetch_sub(wanted) >= wanted) return true;
    available += wanted;
    ++refused;
    return false;
}

/// Of a larger block others in the process take the rest, before the module asks again.
constexpr std::size_t kMostBack = 4096;

void GiveBack(std::size_t bytes) { available += static_cast<long long>(std::min(bytes, kMostBack)); }

decltype(&::malloc) mallocBelow = nullptr;
void* LimitedMalloc(std::size_t size) {
    if (MayHave(size)) return mallocBelow(size);
    ++mallocsRefused;
    return nullptr;
}

decltype(&::calloc) callocBelow = nullptr;
void* LimitedCalloc(std::size_t count, std::size_t size) {
    return MayHave(count * size) ? callocBelow(count, size) : nullptr;
}

decltype(&::realloc) reallocBelow = nullptr;
void* LimitedRealloc(void* block, std::size_t size) {
    const std::size_t old = block != nullptr ? ::_msize(block) : 0;
    if (size > old && !MayHave(size - old)) return nullptr;
    if (size < old) GiveBack(old - size);
    return reallocBelow(block, size);
}

decltype(&::free) freeBelow = nullptr;
void CountedFree(void* block) {
    if (block != nullptr) GiveBack(::_msize(block));
    freeBelow(block);
}

decltype(&::HeapAlloc) heapAllocBelow = nullptr;
void* WINAPI LimitedHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
    return MayHave(size) ? heapAllocBelow(heap, flags, size) : nullptr;
}

decltype(&::HeapFree) heapFreeBelow = nullptr;
BOOL WINAPI CountedHeapFree(HANDLE heap, DWORD flags, void* block) {
    if (block != nullptr) GiveBack(::HeapSize(heap, 0, block));
    return heapFreeBelow(heap, flags, block);
}

decltype(&::SysAllocStringLen) sysAllocBelow = nullptr;
BSTR WINAPI LimitedSysAllocStringLen(const OLECHAR* text, UINT length) {
    return MayHave(length * sizeof(OLECHAR)) ? sysAllocBelow(text, length) : nullptr;
}

decltype(&::SysFreeString) sysFreeBelow = nullptr;
void WINAPI CountedSysFreeString(BSTR text) {
    GiveBack(::SysStringByteLen(text));
    sysFreeBelow(text);
}

decltype(&::SafeArrayCreate) safeArrayBelow = nullptr;
SAFEARRAY* WINAPI LimitedSafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
    return MayHave(bounds->cElements * sizeof(void*)) ? safeArrayBelow(type, dimensions, bounds) : nullptr;
}

}  // namespace

MemoryLimit::MemoryLimit(HMODULE module) {
    const auto redirect = [&]<class Function>(const char* name, Function standIn, Function& below) {
        redirects_.emplace_back(module, name, reinterpret_cast<void*>(standIn));
        below = redirects_.back().Original<Function>();
    };
    redirect("malloc", &LimitedMalloc, mallocBelow);
    redirect("calloc", &LimitedCalloc, callocBelow);
    redirect("realloc", &LimitedRealloc, reallocBelow);
    redirect("free", &CountedFree, freeBelow);
    redirect("HeapAlloc", &LimitedHeapAlloc, heapAllocBelow);
    redirect("HeapFree", &CountedHeapFree, heapFreeBelow);
    redirect("SysAllocStringLen", &LimitedSysAllocStringLen, sysAllocBelow);
    redirect("SafeArrayCreate", &LimitedSafeArrayCreate, safeArrayBelow);
    redirect("SysFreeString", &CountedSysFreeString, sysFreeBelow);
}

MemoryLimit::~MemoryLimit() { Lift(); }

void MemoryLimit::Set(std::size_t bytes) {
    refused = 0;
    mallocsRefused = 0;
    available = static_cast<long long>(bytes);
}

void MemoryLimit::Lift() { available = kNoLimit; }

std::size_t MemoryLimit::Refused() const { return refused; }
std::size_t MemoryLimit::MallocsRefused() const { return mallocsRefused; }

}  // namespace velktest
