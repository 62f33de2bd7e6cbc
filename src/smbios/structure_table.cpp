#include "smbios/structure_table.h"

#include <algorithm>

#include "smbios/little_endian.h"

namespace velk {

namespace {

/// Length up to and including the first two zeros in a row; all of it when there are none.
std::size_t LengthOfStringSet(std::span<const std::uint8_t> bytes) noexcept {
    const auto doubleZero = std::adjacent_find(bytes.begin(), bytes.end(),
                                               [](auto left, auto right) { return (left | right) == 0; });
    if (doubleZero == bytes.end()) return bytes.size();
    return static_cast<std::size_t>(doubleZero - bytes.begin()) + 2;
}

}  // namespace

std::optional<SmbiosStructure> StructureWalk::Next() noexcept {
    if (rest_.empty()) return std::nullopt;
    SmbiosStructure structure;
    structure.type = rest_[0];
    structure.formatted = rest_.first(std::min<std::size_t>(ReadUInt8(rest_, 1), rest_.size()));

    const std::span<const std::uint8_t> behind = rest_.subspan(structure.formatted.size());
    structure.stringSet = behind.first(LengthOfStringSet(behind));
    rest_ = behind.subspan(structure.stringSet.size());
    return structure;
}

std::optional<SmbiosStructure> FindStructureOfType(std::span<const std::uint8_t> table, std::uint8_t type,
                                                   std::size_t occurrence) noexcept {
    StructureWalk walk(table);
    while (const std::optional<SmbiosStructure> structure = walk.Next()) {
        if (structure->type != type) continue;
        if (occurrence == 0) return structure;
        --occurrence;
    }
    return std::nullopt;
}

std::vector<std::string_view> StringsOf(const SmbiosStructure& structure) {
    std::vector<std::string_view> strings;
    auto begin = structure.stringSet.begin();
    const auto end = structure.stringSet.end();
    for (;;) {
        const auto zero = std::find(begin, end, std::uint8_t{0});
        if (zero == begin || zero == end) return strings;
        strings.emplace_back(reinterpret_cast<const char*>(&*begin), static_cast<std::size_t>(zero - begin));
        begin = zero + 1;
    }
}

}  // namespace velk
