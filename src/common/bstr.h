#pragma once

#include <string_view>
#include <utility>

#include "common/memory_reserve.h"
#include "common/platform.h"
#include "common/text.h"

namespace velk {

/// An owned BSTR: the one place that calls SysAllocString* and SysFreeString. Null is a valid, empty BSTR.
class Bstr {
  public:
    Bstr() noexcept = default;
    /// Copies the text, embedded zeros included. Throws std::bad_alloc.
    explicit Bstr(std::wstring_view text) : value_(Allocate(text)) {
        if (value_ == nullptr) ThrowOutOfMemory();
    }
    Bstr(Bstr&& other) noexcept : value_(other.Detach()) {}
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Bstr() { ::SysFreeString(value_); }

    /// Takes over a BSTR that somebody else allocated.
    static Bstr Adopt(BSTR value) noexcept {
        Bstr adopted;
        adopted.value_ = value;
        return adopted;
    }
    /// As the constructor, but a failed allocation leaves it null.
    static Bstr TryCopy(std::wstring_view text) noexcept { return Adopt(Allocate(text)); }

    BSTR Get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != nullptr; }
    [[nodiscard]] BSTR Detach() noexcept { return std::exchange(value_, nullptr); }
    BSTR* Put() noexcept {
        *this = Bstr();
        return &value_;
    }
    std::wstring_view View() const noexcept {
        return {value_ == nullptr ? L"" : value_, ::SysStringLen(value_)};
    }

  private:
    static BSTR Allocate(std::wstring_view text) noexcept {
        return ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }

    BSTR value_ = nullptr;
};

}  // namespace velk
