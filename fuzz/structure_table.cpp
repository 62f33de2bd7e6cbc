#include "smbios/structure_table.h"

#include <algorithm>

#include "fuzz/input.h"

using velkfuzz::LiesInside;
using velkfuzz::Require;

// Every view lies in the table, the structures follow one another without a gap, and the search by type and
// place finds exactly what the walk meets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto table = velkfuzz::Bytes(data, size);
    std::size_t occurrences[256] = {};
    std::size_t position = 0;

    velk::StructureWalk walk(table);
    while (const auto structure = walk.Next()) {
        Require(LiesInside(table, structure->formatted), "the formatted area lies in the table");
        Require(LiesInside(table, structure->stringSet), "the strings lie in the table");
        Require(structure->type == table[position], "a structure starts where the one before it ends");
        const std::size_t left = size - position;
        const std::size_t announced = left > 1 ? table[position + 1] : 0;
        Require(structure->formatted.size() == std::min(announced, left),
                "the length byte is taken at its word, up to the table's end");

        const std::size_t length = structure->formatted.size() + structure->stringSet.size();
        Require(length >= std::min<std::size_t>(left, 2) && length <= left,
                "every step advances within the table");
        for (const std::string_view text : StringsOf(*structure)) {
            Require(!text.empty() && text.find('\0') == text.npos, "a string is not empty and has no zero");
            Require(LiesInside(structure->stringSet, text), "a string lies in its structure");
        }

        std::size_t& occurrence = occurrences[structure->type];
        // Quadratic: the first places tell enough.
        if (occurrence < 8) {
            const auto found = velk::FindStructureOfType(table, structure->type, occurrence);
            const bool same = found && found->formatted.size() == structure->formatted.size() &&
                              found->stringSet.data() == structure->stringSet.data();
            Require(same, "the search finds what the walk meets");
        }
        ++occurrence;
        position += length;
    }
    // Of a type that is not there the search finds none, of another no more than there are.
    bool isAbsentTried = false;
    for (std::size_t type = 0; type < 256; ++type) {
        if (occurrences[type] == 0 && std::exchange(isAbsentTried, true)) continue;
        const auto found =
            velk::FindStructureOfType(table, static_cast<std::uint8_t>(type), occurrences[type]);
        Require(!found, "the search finds no more than the walk meets");
    }
    Require(position == size, "the table's end alone ends the walk");
    Require(!walk.Next(), "the end stays the end");
    return 0;
}
