#pragma once

#include "common/handle.h"

namespace velk {

struct HeapMemoryTraits {
    using Type = void*;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type memory) noexcept { ::HeapFree(::GetProcessHeap(), 0, memory); }
};
/// Zeroed memory of the process heap, for buffers whose allocation failure is a status and not an exception.
using UniqueHeapMemory = UniqueResource<HeapMemoryTraits>;

/// Empty when there is no memory.
inline UniqueHeapMemory AllocateHeapMemory(SIZE_T bytes) noexcept {
    return UniqueHeapMemory(::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, bytes));
}

}  // namespace velk
