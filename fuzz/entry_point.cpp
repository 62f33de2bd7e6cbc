#include "smbios/entry_point.h"

#include <numeric>

#include "fuzz/input.h"

using velkfuzz::Require;

// The first place on the grid with an anchor, a checksum and a version that make it an entry point is found,
// and nothing else is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kGrid = 16;
    constexpr std::size_t kEntryPointSize = 31;
    const auto memory = velkfuzz::Bytes(data, size);
    const auto found = velk::FindEntryPoint(memory);

    for (std::size_t at = 0; at + kEntryPointSize <= size; at += kGrid) {
        const auto rest = memory.subspan(at);
        const bool anchored = rest[0] == '_' && rest[1] == 'S' && rest[2] == 'M' && rest[3] == '_';
        if (!anchored || rest[5] > rest.size()) continue;
        const auto own = rest.first(rest[5]);
        if (std::accumulate(own.begin(), own.end(), 0u) % 256 != 0) continue;
        if (rest[6] < 2 || (rest[6] == 2 && rest[7] < 1)) continue;

        Require(found.has_value(), "a valid entry point is found");
        Require(found->tableLength == (rest[0x16] | rest[0x17] << 8), "the table's length is read");
        const auto address = static_cast<std::uint32_t>(rest[0x18] | rest[0x19] << 8 | rest[0x1A] << 16) |
                             static_cast<std::uint32_t>(rest[0x1B]) << 24;
        Require(found->tableAddress == address, "the table's address is read");
        return 0;
    }
    Require(!found, "nothing but a valid entry point is found");
    return 0;
}
