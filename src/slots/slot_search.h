#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "smbios/system_slot.h"

namespace velk {

/// A slot number that the search came upon, and the structure that carries it.
struct NumberedSlot {
    std::uint32_t number = 0;
    SystemSlot slot;
};

/// Which slot numbers a machine has: the slots, their locations and the association of the two agree by this
/// one search. (Only the association of the chassis with its slots has a simpler rule, in its own list.)
///
/// Numbers are tried from 1 upward until as many structures were found as the table has PCI slots. A number
/// finds the first slot structure, of whatever slot type, whose ID equals its low 16 bits, so gaps in the IDs
/// are skipped. There are always as many results as the table has PCI slots: a structure of another type
/// whose ID comes first takes the place of a later one. Where an ID is 0 or repeated, the numbers below
/// 65,536 do not find as many as were counted, and the search goes on: 65,536 finds ID 0, and above it the
/// structures are found once more, under numbers that tell them apart.
///
/// The search always ends: a table with a PCI slot has a structure to find, and 65,536 numbers on it is found
/// again. Numbers that are not in the result are misses.
///
/// Nothing for the count 0xFFFFFFFF, which stands for a failed count. Throws std::bad_alloc.
std::optional<std::vector<NumberedSlot>> FindSlots(const SystemSlots& slots);

}  // namespace velk
