#pragma once

#include "common/platform.h"

namespace velk {

/// The half of a CMutex that cannot fail: a recursive lock between the threads of this process, without a
/// kernel object and without memory of its own. It is taken after the kernel mutex and given back before it.
class InProcessLock {
  public:
    InProcessLock() noexcept = default;
    InProcessLock(const InProcessLock&) = delete;
    InProcessLock& operator=(const InProcessLock&) = delete;

    /// Waits without a time limit. `withMutex` says that the caller holds the kernel mutex. So did a holder
    /// that said the same, and both cannot be: that holder's thread ended without giving anything back, and
    /// the lock is taken over from it, as the kernel mutex was.
    void Lock(bool withMutex) noexcept;

    /// Does nothing when the calling thread does not hold it.
    void Unlock() noexcept;

    /// Whether the calling thread holds it, and got it without the kernel mutex.
    bool IsHeldWithoutMutex() noexcept;

  private:
    SRWLOCK guard_ = SRWLOCK_INIT;  ///< of the three below, for a few instructions each
    CONDITION_VARIABLE released_ = CONDITION_VARIABLE_INIT;
    DWORD owner_ = 0;  ///< a thread's ID; 0 = nobody, which no thread has
    DWORD count_ = 0;  ///< how often the owner holds it
    bool withMutex_ = false;
};

}  // namespace velk
