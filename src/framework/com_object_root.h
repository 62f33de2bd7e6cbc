#pragma once

#include <atomic>

#include "common/memory_reserve.h"
#include "common/platform.h"
#include "framework/module_lock.h"

namespace velk {

/// Thread model of free-threaded objects: an atomic reference count and a lock for the object's own fields.
class CComMultiThreadModel {
  public:
    using Counter = std::atomic<ULONG>;

    /// A slim lock: no kernel object, nothing to release, cannot fail.
    class CriticalSection {
      public:
        void Lock() noexcept { ::AcquireSRWLockExclusive(&lock_); }
        void Unlock() noexcept { ::ReleaseSRWLockExclusive(&lock_); }

      private:
        SRWLOCK lock_ = SRWLOCK_INIT;
    };
};

/// What every COM object of the module is made of: its reference count, the lock of its fields, and one count
/// of the module lock for as long as it lives. A new object has no reference; the creator adds the first.
/// It does what the ATL class of this name does, as far as the module needs it, and is none of ATL's.
template <class ThreadModel>
class CComObjectRootEx {
  public:
    CComObjectRootEx() noexcept = default;
    CComObjectRootEx(const CComObjectRootEx&) = delete;
    CComObjectRootEx& operator=(const CComObjectRootEx&) = delete;

    ULONG InternalAddRef() noexcept { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
    /// At 0 the caller deletes the object.
    ULONG InternalRelease() noexcept { return references_.fetch_sub(1, std::memory_order_acq_rel) - 1; }

  protected:
    ~CComObjectRootEx() = default;

    /// Holds the lock of the object's fields for a scope: to copy or exchange them, with no call but the
    /// AddRef of a copied reference.
    class ObjectLock {
      public:
        explicit ObjectLock(CComObjectRootEx& object) noexcept : object_(object) { object_.section_.Lock(); }
        ~ObjectLock() { object_.section_.Unlock(); }
        ObjectLock(const ObjectLock&) = delete;
        ObjectLock& operator=(const ObjectLock&) = delete;

      private:
        CComObjectRootEx& object_;
    };

  private:
    typename ThreadModel::Counter references_{0};
    typename ThreadModel::CriticalSection section_;
    ModuleLockCount moduleLock_;
};

/// Runs the body of a COM entry point. Allocation and length failures, the only exceptions that the module
/// raises, end it with E_OUTOFMEMORY (0x8007000E); no exception of any kind reaches the caller.
template <class Body>
HRESULT GuardEntryPoint(Body&& body) noexcept {
    RefillMemoryReserve();
    try {
        return body();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace velk
