#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velkhost {

/// The CIM types of single values, numbered as WMI's CIMTYPE numbers them.
enum class Cim : std::uint16_t {
    kSInt16 = 2,
    kSInt32 = 3,
    kReal32 = 4,
    kReal64 = 5,
    kString = 8,
    kBoolean = 11,
    kObject = 13,
    kSInt8 = 16,
    kUInt8 = 17,
    kUInt16 = 18,
    kUInt32 = 19,
    kSInt64 = 20,
    kUInt64 = 21,
    kDateTime = 101,
    kReference = 102,
    kChar16 = 103,
};

/// The type of a property: an element type, alone or as an array.
struct CimType {
    Cim element = Cim::kString;
    bool isArray = false;

    /// WMI's number of the type, CIM_FLAG_ARRAY (0x2000) included.
    std::int32_t Number() const { return static_cast<std::int32_t>(element) | (isArray ? 0x2000 : 0); }
    bool operator==(const CimType&) const = default;
};

/// The smallest and largest value of an integer type; nothing for any other type.
struct IntegerRange {
    std::int64_t lowest;
    std::uint64_t highest;
};
std::optional<IntegerRange> IntegerRangeOf(Cim type);

/// The keyword that MOF writes for a type ("uint16", "datetime", "ref" for a reference).
std::wstring_view CimKeyword(Cim type);

/// The type that a MOF keyword names, in any case; nothing when there is none. References are not named by a
/// keyword of their own and are not found here.
std::optional<Cim> CimFromKeyword(std::wstring_view keyword);

/// The type of a WMI type number, or nothing when WMI has none of that number.
std::optional<CimType> CimFromNumber(std::int32_t number);

}  // namespace velkhost
