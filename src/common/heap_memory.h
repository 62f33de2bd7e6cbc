#pragma once

#include "common/handle.h"

namespace velk {

struct HeapMemoryTraits {
    using Type = void*;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type memory) noexcept { ::HeapFree(::GetProcessHeap(), 0, memory); }
};
/// Memory of the process heap, for buffers whose allocation failure is a status and not an exception.
using UniqueHeapMemory = UniqueResource<HeapMemoryTraits>;

/// All zero; empty when there is no memory.
inline UniqueHeapMemory AllocateHeapMemory(SIZE_T bytes) noexcept {
    return UniqueHeapMemory(::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, bytes));
}

/// With whatever stands there, for who writes before reading; empty when there is no memory.
inline UniqueHeapMemory AllocateUnclearedHeapMemory(SIZE_T bytes) noexcept {
    return UniqueHeapMemory(::HeapAlloc(::GetProcessHeap(), 0, bytes));
}

}  // namespace velk
