#include "common/in_process_lock.h"

namespace velk {

namespace {

class Guard {
  public:
    explicit Guard(SRWLOCK& lock) noexcept : lock_(lock) { ::AcquireSRWLockExclusive(&lock_); }
    ~Guard() { ::ReleaseSRWLockExclusive(&lock_); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    SRWLOCK& lock_;
};

}  // namespace

void InProcessLock::Lock(bool withMutex) noexcept {
    const DWORD caller = ::GetCurrentThreadId();
    const Guard guard(guard_);
    while (owner_ != 0 && owner_ != caller && !(withMutex && withMutex_))
        ::SleepConditionVariableSRW(&released_, &guard_, INFINITE, 0);
    if (owner_ != caller) {
        owner_ = caller;
        count_ = 0;
        withMutex_ = true;
    }
    // One entry without the mutex is enough for others to come by it.
    withMutex_ = withMutex_ && withMutex;
    ++count_;
}

void InProcessLock::Unlock() noexcept {
    const Guard guard(guard_);
    if (owner_ != ::GetCurrentThreadId() || --count_ != 0) return;
    owner_ = 0;
    ::WakeConditionVariable(&released_);
}

bool InProcessLock::IsHeldWithoutMutex() noexcept {
    const Guard guard(guard_);
    return owner_ == ::GetCurrentThreadId() && !withMutex_;
}

}  // namespace velk
