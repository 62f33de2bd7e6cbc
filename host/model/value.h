#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/variant.h"
#include "host/mof/cim_type.h"

namespace velkhost {

/// The value of a property or qualifier. What is held follows from the CIM type: signed integers int64_t,
/// unsigned ones and char16 uint64_t, reals double, string, datetime and reference wstring, an embedded
/// object its interface, an array a List. The empty alternative is NULL, which an empty List is not.
struct Value {
    using List = std::vector<Value>;
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::wstring,
                 velk::ComPtr<IUnknown>, List>
        data;

    bool IsNull() const { return std::holds_alternative<std::monostate>(data); }
    /// What it holds of that alternative, or null.
    template <class Held>
    const Held* As() const {
        return std::get_if<Held>(&data);
    }

    static Value Text(std::wstring text) { return {std::move(text)}; }
    static Value Bool(bool value) { return {value}; }
    static Value Signed(std::int64_t value) { return {value}; }
    static Value Unsigned(std::uint64_t value) { return {value}; }
    static Value Array(List elements) { return {std::move(elements)}; }
};

/// Whether two values of one type are the same; embedded objects are compared by identity.
bool operator==(const Value& left, const Value& right);

/// The VARIANT that WMI hands out for a value of that type: VT_NULL for NULL, VT_I4 for uint16 and uint32
/// (bit pattern), VT_I2 for sint8, decimal text for the 64-bit integers, arrays as VT_ARRAY of those. Throws
/// std::bad_alloc.
velk::Variant ToVariant(const CimType& type, const Value& value);

/// Takes a VARIANT as a value of that type the way WMI is documented to, and strictly beyond that: the
/// VARIANT type that ToVariant makes (with the element's range checked), VT_NULL, and the documented others
/// (VT_I2 for sint32, VT_R8 for uint32, an empty array of VT_VARIANT for any array). Everything else is
/// WBEM_E_TYPE_MISMATCH, and `value` is left as it was: what WMI happens to coerce on one version is nothing
/// to depend on.
HRESULT FromVariant(const CimType& type, const VARIANT& variant, Value& value);

/// The value as text for people and comparisons: numbers decimal, TRUE or FALSE, texts as they are, arrays
/// joined with ", ", NULL as an empty text.
std::wstring ToText(const Value& value);

/// The value as MOF writes it: texts quoted and escaped, arrays in braces, NULL.
std::wstring ToMof(const Value& value);

}  // namespace velkhost
