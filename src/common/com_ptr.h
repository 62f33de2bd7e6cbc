#pragma once

#include <utility>

#include "common/platform.h"

namespace velk {

/// A counted reference on a COM interface; the one place that calls AddRef and Release.
template <class Interface>
class ComPtr {
  public:
    ComPtr() noexcept = default;
    /// Adds a reference of its own.
    explicit ComPtr(Interface* pointer) noexcept : pointer_(pointer) {
        if (pointer_ != nullptr) pointer_->AddRef();
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(other.Detach()) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() {
        if (pointer_ != nullptr) pointer_->Release();
    }

    /// Takes over a reference that somebody else added.
    static ComPtr Adopt(Interface* pointer) noexcept {
        ComPtr adopted;
        adopted.pointer_ = pointer;
        return adopted;
    }

    Interface* Get() const noexcept { return pointer_; }
    Interface* operator->() const noexcept { return pointer_; }
    Interface& operator*() const noexcept { return *pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

    /// Gives the reference up to the caller.
    [[nodiscard]] Interface* Detach() noexcept { return std::exchange(pointer_, nullptr); }

    void Reset() noexcept { ComPtr().Swap(*this); }
    void Swap(ComPtr& other) noexcept { std::swap(pointer_, other.pointer_); }

    /// For functions that hand a reference out through a pointer; what was held is released first.
    Interface** Put() noexcept {
        Reset();
        return &pointer_;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

  private:
    Interface* pointer_ = nullptr;
};

}  // namespace velk
