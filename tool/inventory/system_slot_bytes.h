#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "smbios/little_endian.h"
#include "smbios/structure_table.h"

namespace velkpci {

// Byte offsets in a System Slots structure (SMBIOS 7.10), of which the provider itself uses the fewest.
inline constexpr std::size_t kSlotDesignation = 4;  ///< number of a string
inline constexpr std::size_t kSlotType = 5;
inline constexpr std::size_t kSlotWidth = 6;
inline constexpr std::size_t kSlotUsage = 7;
inline constexpr std::size_t kSlotLength = 8;
inline constexpr std::size_t kSlotId = 9;                ///< two bytes
inline constexpr std::size_t kSlotCharacteristics = 11;  ///< two bytes
inline constexpr std::size_t kSlotSegment = 13;          ///< two bytes
inline constexpr std::size_t kSlotBus = 15;
inline constexpr std::size_t kSlotDeviceFunction = 16;

/// What is printed beside the slot; empty for none. Throws std::bad_alloc.
inline std::string DesignationOf(const velk::SmbiosStructure& structure) {
    const auto strings = velk::StringsOf(structure);
    const std::size_t number = velk::ReadUInt8(structure.formatted, kSlotDesignation);
    return number != 0 && number <= strings.size() ? std::string(strings[number - 1]) : std::string();
}

}  // namespace velkpci
