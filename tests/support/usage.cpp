#include "support/usage.h"

#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "common/handle.h"

namespace velktest {

namespace {

/// Handles by their owner, from the system's own table: GetProcessHandleCount says 0 under Wine.
DWORD CountHandles() {
    // As the native interface has them; the headers lack this class of information.
    constexpr ULONG kExtendedHandleInformation = 64;
    using Query = LONG(NTAPI*)(ULONG, void*, ULONG, ULONG*);
    struct Entry {
        void* object;
        ULONG_PTR process;
        ULONG_PTR handle;
        ULONG access;
        USHORT creatorBackTraceIndex;
        USHORT type;
        ULONG attributes;
        ULONG reserved;
    };
    struct Header {
        ULONG_PTR count;
        ULONG_PTR reserved;
    };
    const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<ULONG_PTR> buffer(1 << 14);
    ULONG needed = 0;
    while (query(kExtendedHandleInformation, buffer.data(),
                 static_cast<ULONG>(buffer.size() * sizeof buffer[0]), &needed) < 0) {
        if (buffer.size() > 1 << 24) throw std::runtime_error("the system's handles cannot be read");
        buffer.resize(buffer.size() * 2);
    }
    const auto* const header = reinterpret_cast<const Header*>(buffer.data());
    const auto* const entries = reinterpret_cast<const Entry*>(header + 1);
    return static_cast<DWORD>(std::count_if(entries, entries + header->count, [](const Entry& entry) {
        return entry.process == ::GetCurrentProcessId();
    }));
}

DWORD CountThreads() {
    const velk::UniqueFile snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    DWORD count = 0;
    for (BOOL more = ::Thread32First(snapshot.Get(), &entry); more;
         more = ::Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
    }
    return count;
}

std::size_t CountHeapBytes() {
    std::vector<HANDLE> heaps(::GetProcessHeaps(0, nullptr));
    heaps.resize(std::min<std::size_t>(heaps.size(),
                                       ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data())));
    std::size_t bytes = 0;
    for (const HANDLE heap : heaps) {
        ::HeapLock(heap);
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(heap, &entry)) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
        }
        ::HeapUnlock(heap);
    }
    return bytes;
}

std::string InKilobytes(std::size_t bytes) { return std::to_string(bytes / 1024) + " KB"; }

}  // namespace

Usage Usage::Now() {
    Usage usage;
    usage.handles = CountHandles();
    usage.threads = CountThreads();
    usage.heapBytes = CountHeapBytes();
    PROCESS_MEMORY_COUNTERS counters = {};
    if (::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters))
        usage.residentBytes = counters.WorkingSetSize;
    // Nothing of this can be none: a figure that could not be had must not look like one that is kept.
    if (usage.handles == 0 || usage.threads == 0 || usage.heapBytes == 0 || usage.residentBytes == 0)
        throw std::runtime_error("what this process uses cannot be read");
    return usage;
}

Usage Usage::operator|(const Usage& other) const {
    return {std::max(handles, other.handles), std::max(threads, other.threads),
            std::max(heapBytes, other.heapBytes), std::max(residentBytes, other.residentBytes)};
}

std::string Usage::Text() const {
    return std::to_string(handles) + " handles, " + std::to_string(threads) + " threads, " +
           InKilobytes(heapBytes) + " of heap, " + InKilobytes(residentBytes) + " resident";
}

}  // namespace velktest
