#pragma once

#include <utility>

#include "common/platform.h"

namespace velk {

/// Keeps GetLastError() across a clean-up call, so that a failure's code survives the release of what it
/// held.
class LastErrorKeeper {
  public:
    LastErrorKeeper() noexcept : error_(::GetLastError()) {}
    ~LastErrorKeeper() { ::SetLastError(error_); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

  private:
    DWORD error_;
};

/// Owns one system resource named by a handle value. Traits: `Type`, `Empty()` (what "nothing" is) and
/// `Close(Type)`.
template <class Traits>
class UniqueResource {
  public:
    using Type = typename Traits::Type;

    UniqueResource() noexcept = default;
    explicit UniqueResource(Type value) noexcept : value_(value) {}
    UniqueResource(UniqueResource&& other) noexcept : value_(other.Detach()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) Reset(other.Detach());
        return *this;
    }
    ~UniqueResource() { Reset(); }

    Type Get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != Traits::Empty(); }

    /// Gives the resource up without closing it.
    Type Detach() noexcept { return std::exchange(value_, Traits::Empty()); }

    void Reset(Type value = Traits::Empty()) noexcept {
        const Type old = std::exchange(value_, value);
        if (old == Traits::Empty()) return;
        const LastErrorKeeper keeper;
        Traits::Close(old);
    }

    /// For functions that hand the resource out through a pointer; what was held is closed first.
    Type* Put() noexcept {
        Reset();
        return &value_;
    }

  private:
    Type value_ = Traits::Empty();
};

struct HandleTraits {
    using Type = HANDLE;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
/// A kernel object (mutex, semaphore, thread): null means none.
using UniqueHandle = UniqueResource<HandleTraits>;

struct FileTraits {
    using Type = HANDLE;
    static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
/// A file or device opened with CreateFileW: INVALID_HANDLE_VALUE means none.
using UniqueFile = UniqueResource<FileTraits>;

struct RegistryKeyTraits {
    using Type = HKEY;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type key) noexcept { ::RegCloseKey(key); }
};
using UniqueRegistryKey = UniqueResource<RegistryKeyTraits>;

struct LibraryTraits {
    using Type = HMODULE;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type library) noexcept { ::FreeLibrary(library); }
};
using UniqueLibrary = UniqueResource<LibraryTraits>;

struct LocalMemoryTraits {
    using Type = HLOCAL;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type memory) noexcept { ::LocalFree(memory); }
};
/// Memory that the system allocated with LocalAlloc (security descriptors made from text).
using UniqueLocalMemory = UniqueResource<LocalMemoryTraits>;

struct DeviceInfoSetTraits {
    using Type = HDEVINFO;
    static Type Empty() noexcept { return nullptr; }
    static void Close(Type set) noexcept { ::SetupDiDestroyDeviceInfoList(set); }
};
/// A SetupAPI device information set. Empty is null, not INVALID_HANDLE_VALUE: a set that could not be made
/// is still destroyed, as it stands.
using UniqueDeviceInfoSet = UniqueResource<DeviceInfoSetTraits>;

/// Holds a kernel mutex from construction to destruction. A null mutex is no lock at all.
class KernelMutexGuard {
  public:
    explicit KernelMutexGuard(HANDLE mutex) noexcept : mutex_(mutex) {
        if (mutex_ != nullptr) ::WaitForSingleObject(mutex_, INFINITE);
    }
    ~KernelMutexGuard() {
        if (mutex_ == nullptr) return;
        const LastErrorKeeper keeper;
        ::ReleaseMutex(mutex_);
    }
    KernelMutexGuard(const KernelMutexGuard&) = delete;
    KernelMutexGuard& operator=(const KernelMutexGuard&) = delete;

  private:
    HANDLE mutex_;
};

}  // namespace velk
