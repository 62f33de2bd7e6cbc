#pragma once

#include "common/bstr.h"
#include "common/platform.h"
#include "common/safe_array.h"

namespace velk {

/// An owned VARIANT, cleared on every path: the one place that calls VariantClear. The makers take ownership
/// of what they are given.
class Variant {
  public:
    Variant() noexcept { ::VariantInit(&value_); }
    Variant(Variant&& other) noexcept : value_(other.value_) { ::VariantInit(&other.value_); }
    Variant& operator=(Variant&& other) noexcept {
        if (this != &other) {
            ::VariantClear(&value_);
            value_ = other.value_;
            ::VariantInit(&other.value_);
        }
        return *this;
    }
    ~Variant() { ::VariantClear(&value_); }

    static Variant Bool(bool value) noexcept {
        Variant made(VT_BOOL);
        made.value_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
        return made;
    }
    static Variant UInt8(unsigned char value) noexcept {
        Variant made(VT_UI1);
        made.value_.bVal = value;
        return made;
    }
    static Variant SInt8(signed char value) noexcept {
        Variant made(VT_I1);
        made.value_.cVal = static_cast<CHAR>(value);
        return made;
    }
    static Variant SInt32(LONG value) noexcept {
        Variant made(VT_I4);
        made.value_.lVal = value;
        return made;
    }
    static Variant FromText(Bstr value) noexcept {
        Variant made(VT_BSTR);
        made.value_.bstrVal = value.Detach();
        return made;
    }
    /// An array whose elements have the given type.
    static Variant Array(VARTYPE elementType, UniqueSafeArray value) noexcept {
        Variant made(static_cast<VARTYPE>(VT_ARRAY | elementType));
        made.value_.parray = value.Detach();
        return made;
    }

    VARTYPE Type() const noexcept { return value_.vt; }
    /// The text of a VT_BSTR.
    std::wstring_view Text() const noexcept {
        return {value_.bstrVal == nullptr ? L"" : value_.bstrVal, ::SysStringLen(value_.bstrVal)};
    }
    const VARIANT& Get() const noexcept { return value_; }
    VARIANT* Address() noexcept { return &value_; }
    /// For functions that fill a VARIANT; what was held is cleared first.
    VARIANT* Put() noexcept {
        ::VariantClear(&value_);
        return &value_;
    }

  private:
    explicit Variant(VARTYPE type) noexcept : Variant() { value_.vt = type; }

    VARIANT value_;
};

}  // namespace velk
