#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace velk {

/// Where the structure table lies in physical memory, from an SMBIOS 2.x entry point.
struct SmbiosEntryPoint {
    std::uint32_t tableAddress = 0;
    std::uint16_t tableLength = 0;  ///< bytes
};

/// The first valid 2.1 or later entry point ("_SM_") that starts on a 16-byte boundary of a piece of memory.
/// An entry point of length 0 is not asked for its checksum: there is firmware that leaves both unset.
std::optional<SmbiosEntryPoint> FindEntryPoint(std::span<const std::uint8_t> memory) noexcept;

}  // namespace velk
