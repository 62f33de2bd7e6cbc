#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "smbios/little_endian.h"
#include "smbios/structure_table.h"
#include "smbios/system_slot.h"

namespace velkpci {

// Offsets into the formatted area of a System Slots structure (SMBIOS 7.10), beside those that the provider
// itself uses.
inline constexpr std::size_t kDesignationOffset = 0x04;  ///< number of a string
inline constexpr std::size_t kUsageOffset = 0x07;
inline constexpr std::size_t kLengthOffset = 0x08;
inline constexpr std::size_t kCharacteristicsOffset = 0x0B;  ///< of both bytes
inline constexpr std::size_t kSegmentOffset = 0x0D;          ///< two bytes
inline constexpr std::size_t kBusOffset = 0x0F;
inline constexpr std::size_t kDeviceFunctionOffset = 0x10;

/// What is printed beside the slot; empty for none. Throws std::bad_alloc.
inline std::string DesignationOf(const velk::SmbiosStructure& structure) {
    const auto strings = velk::StringsOf(structure);
    const std::size_t number = velk::ReadUInt8(structure.formatted, kDesignationOffset);
    return number != 0 && number <= strings.size() ? std::string(strings[number - 1]) : std::string();
}

}  // namespace velkpci
