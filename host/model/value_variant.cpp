// The two directions between CIM values and VARIANTs.

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <string_view>

#include "common/wbem_status.h"
#include "host/model/value.h"

namespace velkhost {

namespace {

/// The VARIANT type that WMI uses for a CIM type.
VARTYPE CanonicalType(Cim type) {
    switch (type) {
        case Cim::kBoolean:
            return VT_BOOL;
        case Cim::kUInt8:
            return VT_UI1;
        case Cim::kSInt8:  // there is no VT_I1 in WMI
        case Cim::kSInt16:
        case Cim::kChar16:
            return VT_I2;
        case Cim::kUInt16:
        case Cim::kSInt32:
        case Cim::kUInt32:
            return VT_I4;
        case Cim::kReal32:
            return VT_R4;
        case Cim::kReal64:
            return VT_R8;
        case Cim::kObject:
            return VT_UNKNOWN;
        case Cim::kSInt64:
        case Cim::kUInt64:
        case Cim::kString:
        case Cim::kDateTime:
        case Cim::kReference:
            return VT_BSTR;
    }
    return VT_EMPTY;
}

// Integers of less than 64 bits pass through here in both directions as what a VARIANT can hold of them.
LONG NarrowInteger(const Value& value) {
    if (const auto* number = value.As<std::int64_t>()) return static_cast<LONG>(*number);
    if (const auto* number = value.As<std::uint64_t>()) {
        return static_cast<LONG>(static_cast<std::uint32_t>(*number));
    }
    return 0;
}

double Real(const Value& value) {
    const auto* number = value.As<double>();
    return number == nullptr ? 0 : *number;
}

velk::Variant ScalarVariant(Cim type, const Value& value) {
    const VARTYPE variantType = CanonicalType(type);
    velk::Variant made;
    if (variantType == VT_BSTR) return velk::Variant::FromText(velk::Bstr(ToText(value)));
    VARIANT& raw = *made.Address();
    raw.vt = variantType;
    switch (variantType) {
        case VT_BOOL: {
            const auto* truth = value.As<bool>();
            raw.boolVal = truth != nullptr && *truth ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        }
        case VT_UI1:
            raw.bVal = static_cast<BYTE>(NarrowInteger(value));
            break;
        case VT_I2:
            raw.iVal = static_cast<SHORT>(NarrowInteger(value));
            break;
        case VT_I4:
            raw.lVal = NarrowInteger(value);
            break;
        case VT_R4:
            raw.fltVal = static_cast<FLOAT>(Real(value));
            break;
        case VT_R8:
            raw.dblVal = Real(value);
            break;
        default: {
            const auto* object = value.As<velk::ComPtr<IUnknown>>();
            raw.punkVal = object == nullptr ? nullptr : velk::ComPtr<IUnknown>(*object).Detach();
        }
    }
    return made;
}

velk::Variant ArrayVariant(Cim type, const Value::List& elements) {
    const VARTYPE variantType = CanonicalType(type);
    velk::UniqueSafeArray array(::SafeArrayCreateVector(variantType, 0, static_cast<ULONG>(elements.size())));
    if (!array) throw std::bad_alloc();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        velk::Variant element = ScalarVariant(type, elements[i]);
        VARIANT& raw = *element.Address();
        // Pointers are passed as they are and copied, everything else by its address.
        void* source = &raw.lVal;
        if (variantType == VT_BSTR) source = raw.bstrVal;
        if (variantType == VT_UNKNOWN) source = raw.punkVal;
        LONG index = static_cast<LONG>(i);
        if (FAILED(::SafeArrayPutElement(array.Get(), &index, source))) throw std::bad_alloc();
    }
    return velk::Variant::Array(variantType, std::move(array));
}

template <class Number>
std::optional<Number> DecimalNumber(std::wstring_view text) {
    std::array<char, 24> digits{};
    if (text.empty() || text.size() > digits.size()) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] > 0x7F) return std::nullopt;
        digits[i] = static_cast<char>(text[i]);
    }
    Number number = 0;
    const char* end = digits.data() + text.size();
    const auto result = std::from_chars(digits.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

// yyyymmddHHMMSS.mmmmmmsUUU, with '*' for what is unknown; an interval has a colon and 000 for sUUU.
bool IsDateTime(std::wstring_view text) {
    if (text.size() != 25 || text[14] != L'.') return false;
    const wchar_t sign = text[21];
    if (sign != L'+' && sign != L'-' && sign != L':') return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 14 || i == 21) continue;
        const bool isDigit = text[i] >= L'0' && text[i] <= L'9';
        if (!isDigit && text[i] != L'*') return false;
    }
    return sign != L':' || text.substr(22) == L"000";
}

std::optional<Value> TextValue(Cim type, std::wstring_view text) {
    if (type == Cim::kSInt64) {
        const auto number = DecimalNumber<std::int64_t>(text);
        return number ? std::optional(Value::Signed(*number)) : std::nullopt;
    }
    if (type == Cim::kUInt64) {
        const auto number = DecimalNumber<std::uint64_t>(text);
        return number ? std::optional(Value::Unsigned(*number)) : std::nullopt;
    }
    if (type == Cim::kDateTime && !IsDateTime(text)) return std::nullopt;
    return Value::Text(std::wstring(text));
}

std::optional<Value> IntegerValue(Cim type, LONG number) {
    switch (type) {
        case Cim::kUInt32:
            return Value::Unsigned(static_cast<std::uint32_t>(number));
        case Cim::kChar16:
            return Value::Unsigned(static_cast<std::uint16_t>(number));
        default:
            break;
    }
    const std::optional<IntegerRange> range = IntegerRangeOf(type);
    if (number < range->lowest) return std::nullopt;
    if (number > 0 && static_cast<std::uint64_t>(number) > range->highest) return std::nullopt;
    if (range->lowest < 0) return Value::Signed(number);
    return Value::Unsigned(static_cast<std::uint64_t>(number));
}

// What a uint32 takes beside VT_I4. How a fraction would be rounded is documented nowhere.
std::optional<Value> WholeReal(double number) {
    constexpr double kHighest = std::numeric_limits<std::uint32_t>::max();
    if (!(number >= 0 && number <= kHighest) || std::trunc(number) != number) return std::nullopt;
    return Value::Unsigned(static_cast<std::uint64_t>(number));
}

std::optional<Value> CanonicalValue(Cim type, const VARIANT& variant) {
    switch (variant.vt) {
        case VT_BOOL:
            return Value::Bool(variant.boolVal != VARIANT_FALSE);
        case VT_UI1:
            return IntegerValue(type, variant.bVal);
        case VT_I2:
            return IntegerValue(type, variant.iVal);
        case VT_I4:
            return IntegerValue(type, variant.lVal);
        case VT_R4:
            return Value{static_cast<double>(variant.fltVal)};
        case VT_R8:
            return Value{variant.dblVal};
        case VT_BSTR:
            return TextValue(type, variant.bstrVal == nullptr
                                       ? std::wstring_view()
                                       : std::wstring_view(variant.bstrVal, ::SysStringLen(variant.bstrVal)));
        case VT_UNKNOWN:
            if (variant.punkVal == nullptr) return std::nullopt;
            return Value{velk::ComPtr<IUnknown>(variant.punkVal)};
        default:
            return std::nullopt;
    }
}

std::optional<Value> ScalarValue(Cim type, const VARIANT& variant) {
    if (variant.vt == CanonicalType(type)) return CanonicalValue(type, variant);
    if (type == Cim::kSInt32 && variant.vt == VT_I2) return IntegerValue(type, variant.iVal);
    if (type == Cim::kUInt32 && variant.vt == VT_R8) return WholeReal(variant.dblVal);
    return std::nullopt;
}

std::optional<Value> ArrayValue(Cim type, const VARIANT& variant) {
    const VARTYPE elementType = static_cast<VARTYPE>(variant.vt & ~VT_ARRAY);
    SAFEARRAY* array = variant.parray;
    LONG lower = 0;
    LONG upper = -1;
    if ((variant.vt & VT_ARRAY) == 0 || array == nullptr || ::SafeArrayGetDim(array) != 1 ||
        FAILED(::SafeArrayGetLBound(array, 1, &lower)) || FAILED(::SafeArrayGetUBound(array, 1, &upper))) {
        return std::nullopt;
    }
    if (elementType == VT_VARIANT && upper < lower) return Value::Array({});
    VARTYPE heldType = VT_EMPTY;
    if (elementType != CanonicalType(type) || FAILED(::SafeArrayGetVartype(array, &heldType)) ||
        heldType != elementType) {
        return std::nullopt;
    }

    Value::List elements;
    for (LONG index = lower; index <= upper; ++index) {
        velk::Variant element;
        if (FAILED(::SafeArrayGetElement(array, &index, &element.Address()->lVal))) return std::nullopt;
        element.Address()->vt = elementType;
        std::optional<Value> value = CanonicalValue(type, element.Get());
        if (!value) return std::nullopt;
        elements.push_back(std::move(*value));
    }
    return Value::Array(std::move(elements));
}

}  // namespace

velk::Variant ToVariant(const CimType& type, const Value& value) {
    if (value.IsNull()) {
        velk::Variant null;
        null.Address()->vt = VT_NULL;
        return null;
    }
    if (const auto* elements = value.As<Value::List>()) return ArrayVariant(type.element, *elements);
    return ScalarVariant(type.element, value);
}

HRESULT FromVariant(const CimType& type, const VARIANT& variant, Value& value) {
    if (variant.vt == VT_NULL) {
        value = Value();
        return velk::kWbemNoError;
    }
    std::optional<Value> taken =
        type.isArray ? ArrayValue(type.element, variant) : ScalarValue(type.element, variant);
    if (!taken) return static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    value = std::move(*taken);
    return velk::kWbemNoError;
}

}  // namespace velkhost
