#include <algorithm>
#include <array>
#include <cwchar>

#include "common/com_ptr.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "framework/property_values.h"

namespace velk {

namespace {

HRESULT Get(IWbemClassObject* instance, const wchar_t* name, Variant& value) {
    const ComPtr<IWbemClassObject> held(instance);
    return held->Get(name, 0, value.Put(), nullptr, nullptr);
}

/// Any integer of up to 32 bits as 32 bits: signed types sign-extended, unsigned ones zero-extended.
HRESULT GetInt32(IWbemClassObject* instance, const wchar_t* name, std::int32_t& value) {
    Variant read;
    const HRESULT result = Get(instance, name, read);
    if (FAILED(result)) return result;

    const VARIANT& variant = read.Get();
    switch (variant.vt) {
        case VT_I1:
            value = static_cast<signed char>(variant.cVal);
            break;
        case VT_UI1:
            value = variant.bVal;
            break;
        case VT_I2:
            value = variant.iVal;
            break;
        case VT_UI2:
            value = variant.uiVal;
            break;
        case VT_I4:
            value = variant.lVal;
            break;
        case VT_UI4:
            value = static_cast<std::int32_t>(variant.ulVal);
            break;
        case VT_INT:
            value = variant.intVal;
            break;
        case VT_UINT:
            value = static_cast<std::int32_t>(variant.uintVal);
            break;
        default:
            return kWbemFailed;
    }
    return result;
}

template <class Narrow>
HRESULT GetNarrow(IWbemClassObject* instance, const wchar_t* name, Narrow& value) {
    std::int32_t wide = 0;
    const HRESULT result = GetInt32(instance, name, wide);
    if (FAILED(result)) return kWbemFailed;
    value = static_cast<Narrow>(wide);
    return result;
}

/// The variant's array if it has one dimension and one of the accepted element types, else null.
template <std::size_t typeCount>
SAFEARRAY* AcceptArray(const VARIANT& variant, const std::array<VARTYPE, typeCount>& accepted) {
    if ((variant.vt & VT_ARRAY) == 0 || (variant.vt & VT_BYREF) != 0) return nullptr;
    VARTYPE elementType = VT_EMPTY;
    if (FAILED(::SafeArrayGetVartype(variant.parray, &elementType))) return nullptr;
    if (std::find(accepted.begin(), accepted.end(), elementType) == accepted.end()) return nullptr;
    return ::SafeArrayGetDim(variant.parray) == 1 ? variant.parray : nullptr;
}

/// Reads the elements in order into `Slot()` and hands each to `take`.
template <std::size_t typeCount, class Slot, class Take>
HRESULT WalkArray(const Variant& read, const std::array<VARTYPE, typeCount>& accepted, Take take) {
    SAFEARRAY* const array = AcceptArray(read.Get(), accepted);
    LONG lower = 0;
    LONG upper = 0;
    if (array == nullptr || FAILED(::SafeArrayGetLBound(array, 1, &lower)) ||
        FAILED(::SafeArrayGetUBound(array, 1, &upper)))
        return kWbemFailed;

    // Counted in 64 bits: an array may end at the last index there is.
    for (std::int64_t position = lower; position <= upper; ++position) {
        LONG index = static_cast<LONG>(position);
        Slot slot;
        if (FAILED(::SafeArrayGetElement(array, &index, slot.Address()))) return kWbemFailed;
        take(slot);
    }
    return kWbemNoError;
}

/// Narrow elements are zero-extended, signed ones too: each is copied into the low bytes of zeroed 32 bits.
struct IntegerSlot {
    std::uint32_t value = 0;
    void* Address() noexcept { return &value; }
};

struct TextSlot {
    Bstr value;
    void* Address() noexcept { return value.Put(); }
};

constexpr std::array<VARTYPE, 1> kTextTypes = {VT_BSTR};
constexpr std::array<VARTYPE, 4> kIntegerTypes = {VT_UI4, VT_I4, VT_UI2, VT_I2};
constexpr std::array<VARTYPE, 6> kByteTypes = {VT_UI4, VT_I4, VT_UI2, VT_I2, VT_UI1, VT_I1};

template <std::size_t typeCount, class Value>
HRESULT GetIntegers(IWbemClassObject* instance, const wchar_t* name,
                    const std::array<VARTYPE, typeCount>& accepted, std::vector<Value>& values) {
    Variant read;
    if (FAILED(Get(instance, name, read))) return kWbemFailed;
    return WalkArray<typeCount, IntegerSlot>(
        read, accepted, [&](const IntegerSlot& slot) { values.push_back(static_cast<Value>(slot.value)); });
}

}  // namespace

HRESULT GetBoolProperty(IWbemClassObject* instance, const wchar_t* name, bool& value) {
    Variant read;
    const HRESULT result = Get(instance, name, read);
    if (FAILED(result)) return result;
    if (read.Type() != VT_BOOL) return kWbemFailed;
    value = read.Get().boolVal != VARIANT_FALSE;
    return result;
}

HRESULT GetUInt32Property(IWbemClassObject* instance, const wchar_t* name, std::uint32_t& value) {
    std::int32_t read = 0;
    const HRESULT result = GetInt32(instance, name, read);
    if (SUCCEEDED(result)) value = static_cast<std::uint32_t>(read);
    return result;
}

HRESULT GetSInt32Property(IWbemClassObject* instance, const wchar_t* name, std::int32_t& value) {
    return GetInt32(instance, name, value);
}

HRESULT GetUInt8Property(IWbemClassObject* instance, const wchar_t* name, unsigned char& value) {
    return GetNarrow(instance, name, value);
}

HRESULT GetSInt8Property(IWbemClassObject* instance, const wchar_t* name, signed char& value) {
    return GetNarrow(instance, name, value);
}

HRESULT GetUInt16Property(IWbemClassObject* instance, const wchar_t* name, std::uint16_t& value) {
    return GetNarrow(instance, name, value);
}

HRESULT GetSInt16Property(IWbemClassObject* instance, const wchar_t* name, std::int16_t& value) {
    return GetNarrow(instance, name, value);
}

HRESULT GetStringProperty(IWbemClassObject* instance, const wchar_t* name, CString& value) {
    Variant read;
    const HRESULT result = Get(instance, name, read);
    if (FAILED(result)) return result;
    if (read.Type() != VT_BSTR) return kWbemFailed;
    value = read.Text();
    return result;
}

HRESULT GetUInt64Property(IWbemClassObject* instance, const wchar_t* name, std::uint64_t& value) {
    CString text;
    const HRESULT result = GetStringProperty(instance, name, text);
    if (SUCCEEDED(result)) value = _wcstoui64(text.c_str(), nullptr, 10);
    return result;
}

HRESULT GetStringArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<CString>& values) {
    Variant read;
    const HRESULT result = Get(instance, name, read);
    values.clear();
    if (FAILED(result)) return kWbemFailed;
    return WalkArray<kTextTypes.size(), TextSlot>(
        read, kTextTypes, [&](const TextSlot& slot) { values.emplace_back(slot.value.View()); });
}

HRESULT GetUInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::uint32_t>& values) {
    return GetIntegers(instance, name, kIntegerTypes, values);
}

HRESULT GetSInt32ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::int32_t>& values) {
    return GetIntegers(instance, name, kIntegerTypes, values);
}

HRESULT GetUInt16ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                               std::vector<std::uint16_t>& values) {
    return GetIntegers(instance, name, kIntegerTypes, values);
}

HRESULT GetUInt8ArrayProperty(IWbemClassObject* instance, const wchar_t* name,
                              std::vector<unsigned char>& values) {
    return GetIntegers(instance, name, kByteTypes, values);
}

HRESULT GetByteBufferProperty(IWbemClassObject* instance, const wchar_t* name, unsigned char* buffer,
                              std::size_t& count) {
    Variant read;
    if (FAILED(Get(instance, name, read))) return kWbemFailed;
    std::size_t stored = 0;
    const HRESULT result =
        WalkArray<kByteTypes.size(), IntegerSlot>(read, kByteTypes, [&](const IntegerSlot& slot) {
            if (stored < count) buffer[stored++] = static_cast<unsigned char>(slot.value);
        });
    if (SUCCEEDED(result)) count = stored;
    return result;
}

}  // namespace velk
