#pragma once

#include <atomic>

#include "common/in_process_lock.h"
#include "common/legacy_log.h"
#include "common/module_object.h"
#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// The lock of a provider or a list. Two halves, both recursive: a kernel mutex, made at the first Lock,
/// private to the process or, once named, shared by all processes of the machine; and under it a lock of this
/// object between the threads of this process. The system may refuse the first: to a name that another
/// account made, or that any user gave to another kind of object, or for want of handles. The second it
/// cannot. So what the lock guards is never touched by two threads of one process; what a refusal costs is
/// the exclusion of other processes.
///
/// Failures are written to the legacy log and to nobody else.
class CMutex {
  public:
    /// Throws std::bad_alloc.
    CMutex();
    virtual ~CMutex();
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// Waits without a time limit. When the mutex cannot be made or waited for, the caller goes on with the
    /// half that excludes the threads of this process.
    virtual void Lock() noexcept;
    /// By a thread that does not hold it: writes the failure and releases nothing.
    virtual void Unlock() noexcept;

    /// Names the mutex that Create will make: "Global\wmi_" followed by `name`. Throws std::bad_alloc.
    void SetName(const CString& name);

    /// Makes the mutex unless there is one. Whether there is one now.
    bool Create() noexcept;

  private:
    /// Whether the calling thread holds the mutex now.
    bool WaitForMutex() noexcept;
    void ReportFailure() noexcept;

    InProcessLock inProcess_;
    std::atomic<HANDLE> handle_ = nullptr;
    CString name_;
    CLegacyLog log_;
};

/// Holds a CMutex from construction to destruction.
class CMutexLock {
  public:
    explicit CMutexLock(CMutex& mutex) noexcept : mutex_(mutex) { mutex_.Lock(); }
    ~CMutexLock() { mutex_.Unlock(); }
    CMutexLock(const CMutexLock&) = delete;
    CMutexLock& operator=(const CMutexLock&) = delete;

  private:
    CMutex& mutex_;
};

/// Owns a mutex handle and reports to the common log when it cannot be closed. The process-wide one is never
/// given a handle.
class CCommonMutex {
  public:
    CCommonMutex() noexcept = default;
    CCommonMutex(HANDLE handle, CString name) noexcept : handle_(handle), name_(std::move(name)) {}
    ~CCommonMutex();
    CCommonMutex(const CCommonMutex&) = delete;
    CCommonMutex& operator=(const CCommonMutex&) = delete;

  private:
    HANDLE handle_ = nullptr;
    CString name_;
};

/// Where the process-wide one lives: for the module's load and unload code.
ModuleObject<CCommonMutex>& CommonMutexObject() noexcept;

}  // namespace velk
