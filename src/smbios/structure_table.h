#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace velk {

/// One structure of an SMBIOS structure table. The spans are views into the table.
struct SmbiosStructure {
    std::uint8_t type = 0;
    /// The formatted area, header included, as long as the structure's length byte says: with broken firmware
    /// shorter than a header, and of a last structure no more than the table's end leaves of it.
    std::span<const std::uint8_t> formatted;
    /// Everything from the end of the formatted area up to and including the double zero that ends the
    /// structure, or up to the table's end where that is missing.
    std::span<const std::uint8_t> stringSet;
};

/// Walks a structure table from its start to its end. Firmware tables may be broken in any way: no byte
/// outside the span is read, and every step advances.
///
/// The table's length alone ends the walk, and clips the last structure. The end-of-table structure (type
/// 127) is a structure like any other, and a length byte below that of a header (4) is taken at its word: an
/// even number of zeros between two structures does not hide the second, an odd one takes its first byte. A
/// length byte behind the end counts as 0.
class StructureWalk {
  public:
    explicit StructureWalk(std::span<const std::uint8_t> table) noexcept : rest_(table) {}

    /// The next structure; none at the end.
    std::optional<SmbiosStructure> Next() noexcept;

  private:
    std::span<const std::uint8_t> rest_;
};

/// The structure of a type that has the given 0-based place among those of its type.
std::optional<SmbiosStructure> FindStructureOfType(std::span<const std::uint8_t> table, std::uint8_t type,
                                                   std::size_t occurrence) noexcept;

/// The strings of a structure in their order, without their zeros: string number k is element k - 1. A string
/// that the table's end cuts off is left out. Throws std::bad_alloc.
std::vector<std::string_view> StringsOf(const SmbiosStructure& structure);

}  // namespace velk
