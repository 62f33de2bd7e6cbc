#pragma once

#include <numeric>

#include "support/smbios_builder.h"

namespace velktest {

/// What a test says about an entry point.
struct EntryPointFields {
    std::uint8_t length = 0x1F;
    std::uint8_t major = 2;
    std::uint8_t minor = 7;
    std::uint32_t tableAddress = 0;
    std::uint16_t tableLength = 0;
};

/// The 31 bytes of an SMBIOS 2.x entry point with a good checksum.
inline Bytes EntryPoint(const EntryPointFields& fields) {
    Bytes bytes(0x1F);
    bytes[0] = '_', bytes[1] = 'S', bytes[2] = 'M', bytes[3] = '_';
    bytes[5] = fields.length;
    bytes[6] = fields.major;
    bytes[7] = fields.minor;
    for (unsigned at = 0; at < 2; ++at)
        bytes[0x16 + at] = static_cast<std::uint8_t>(fields.tableLength >> 8 * at);
    for (unsigned at = 0; at < 4; ++at)
        bytes[0x18 + at] = static_cast<std::uint8_t>(fields.tableAddress >> 8 * at);
    bytes[4] = static_cast<std::uint8_t>(0x100 - std::accumulate(bytes.begin(), bytes.end(), 0) % 0x100);
    return bytes;
}

}  // namespace velktest
