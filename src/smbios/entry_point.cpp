#include "smbios/entry_point.h"

#include <cstring>
#include <numeric>

#include "smbios/little_endian.h"

namespace velk {

namespace {

// SMBIOS 5.2.1: byte offsets from the anchor.
constexpr std::size_t kLengthOffset = 0x05;
constexpr std::size_t kMajorVersionOffset = 0x06;
constexpr std::size_t kMinorVersionOffset = 0x07;
constexpr std::size_t kTableLengthOffset = 0x16;
constexpr std::size_t kTableAddressOffset = 0x18;
constexpr std::size_t kEntryPointSize = 0x1F;

constexpr std::size_t kGrid = 16;
constexpr char kAnchor[4] = {'_', 'S', 'M', '_'};
constexpr int kOldestVersion = 0x201;

/// `bytes` reaches from the anchor to the end of the memory at hand.
bool IsValid(std::span<const std::uint8_t> bytes) noexcept {
    if (std::memcmp(bytes.data(), kAnchor, sizeof kAnchor) != 0) return false;

    const std::size_t length = bytes[kLengthOffset];
    if (length > bytes.size()) return false;
    const auto summed = bytes.first(length);
    if (std::accumulate(summed.begin(), summed.end(), 0U) % 256 != 0) return false;

    return bytes[kMajorVersionOffset] * 256 + bytes[kMinorVersionOffset] >= kOldestVersion;
}

}  // namespace

std::optional<SmbiosEntryPoint> FindEntryPoint(std::span<const std::uint8_t> memory) noexcept {
    for (; memory.size() >= kEntryPointSize; memory = memory.subspan(kGrid)) {
        if (!IsValid(memory)) continue;
        return SmbiosEntryPoint{ReadUInt32(memory, kTableAddressOffset),
                                ReadUInt16(memory, kTableLengthOffset)};
    }
    return std::nullopt;
}

}  // namespace velk
