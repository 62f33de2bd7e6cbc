#pragma once

#include <atomic>

#include "common/legacy_log.h"
#include "common/module_object.h"
#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// The lock of a provider or a list: a recursive kernel mutex, made at the first Lock, private to the process
/// or, once named, shared by all processes of the machine. Failures are written to the legacy log and to
/// nobody else.
class CMutex {
  public:
    /// Throws std::bad_alloc.
    CMutex();
    virtual ~CMutex();
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// Waits without a time limit. When the mutex cannot be made or waited for, the caller goes on unlocked.
    virtual void Lock() noexcept;
    virtual void Unlock() noexcept;

    /// Names the mutex that Create will make: "Global\wmi_" followed by `name`. Throws std::bad_alloc.
    void SetName(const CString& name);

    /// Makes the mutex unless there is one. Whether there is one now.
    bool Create() noexcept;

  private:
    void ReportFailure() noexcept;

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
