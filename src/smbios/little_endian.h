#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velk {

// Firmware fields are little-endian at any alignment. A byte outside the span reads as 0.

inline std::uint8_t ReadUInt8(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    return offset < bytes.size() ? bytes[offset] : std::uint8_t{0};
}

inline std::uint16_t ReadUInt16(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    return static_cast<std::uint16_t>(ReadUInt8(bytes, offset) | ReadUInt8(bytes, offset + 1) << 8);
}

inline std::uint32_t ReadUInt32(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    return ReadUInt16(bytes, offset) | static_cast<std::uint32_t>(ReadUInt16(bytes, offset + 2)) << 16;
}

}  // namespace velk
