#pragma once

#include <atomic>

#include "common/module_object.h"

namespace velk {

/// Memory kept for the moment when there is no more. An exception takes memory, too: at the first one of a
/// thread GCC's run-time allocates that thread's exception state and locks of its own, and ends the process
/// when it does not get them. So while the module's reserve exists, an allocation that fails gives it back
/// before std::bad_alloc is thrown: operator new does, and what allocates otherwise calls ThrowOutOfMemory.
class MemoryReserve {
  public:
    MemoryReserve() noexcept;
    ~MemoryReserve();
    MemoryReserve(const MemoryReserve&) = delete;
    MemoryReserve& operator=(const MemoryReserve&) = delete;

    /// Makes it anew if it was given back and there is memory.
    void Refill() noexcept;
    void GiveBack() noexcept;

  private:
    std::atomic<void*> memory_{nullptr};
};

/// The one that the module's allocations give back. Created before everything else, destroyed after it.
ModuleObject<MemoryReserve>& MemoryReserveObject() noexcept;

/// To be called wherever a thread enters the module, before it allocates: by the guard of the entry points,
/// by the log, whose "Entering" comes before that, and by the module's own thread. Costs two loads when
/// nothing is to be done.
void RefillMemoryReserve() noexcept;

/// Gives the reserve back and throws std::bad_alloc.
[[noreturn]] void ThrowOutOfMemory();

}  // namespace velk
