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

/// Which slot numbers a machine has. All classes that list slots agree by this one search:
///
/// Numbers are tried from 1 upward until as many structures were found as the table has PCI slots. A number
/// finds the first slot structure, of whatever slot type, whose ID equals its low 16 bits, so gaps in the IDs
/// are skipped. Where an ID is 0 or repeated, the numbers below 65,536 do not find as many as were counted,
/// and the search goes on: 65,536 finds ID 0, and above it the structures are found once more, under numbers
/// that tell them apart.
///
/// The search always ends: a table with a PCI slot has a structure to find, and 65,536 numbers on it is found
/// again.
class SlotSearch {
  public:
    /// Throws std::bad_alloc.
    explicit SlotSearch(const SystemSlots& slots);

    /// Whether there is a search at all: not for the count 0xFFFFFFFF, which stands for a failed count.
    bool IsValid() const noexcept { return valid_; }

    /// The next number that finds a structure; numbers in between are misses.
    std::optional<NumberedSlot> Next() noexcept;

  private:
    std::vector<NumberedSlot> round_;  ///< what the numbers 1 to 65,536 find, in rising order
    std::size_t next_ = 0;             ///< place in the round
    std::uint64_t base_ = 0;           ///< numbers tried in the rounds before this one
    std::uint32_t wanted_ = 0;         ///< structures that are still to be found
    bool valid_ = true;
};

/// Calls visit(number, slot) for each number found. False when there is no count to search by.
template <class Visitor>
bool ForEachSlot(const SystemSlots& slots, Visitor&& visit) {
    SlotSearch search(slots);
    while (const std::optional<NumberedSlot> found = search.Next()) visit(found->number, found->slot);
    return search.IsValid();
}

/// Calls bool visit(number, const SystemSlot* slot) for each number tried: the slot is null where the number
/// finds no structure, and false from the visitor ends the search as failed. False also when there is no
/// count to search by.
template <class Visitor>
bool ForEachCandidate(const SystemSlots& slots, Visitor&& visit) {
    SlotSearch search(slots);
    std::uint32_t number = 1;
    while (const std::optional<NumberedSlot> found = search.Next()) {
        for (; number < found->number; ++number) {
            if (!visit(number, static_cast<const SystemSlot*>(nullptr))) return false;
        }
        if (!visit(number, &found->slot)) return false;
        ++number;
    }
    return search.IsValid();
}

}  // namespace velk
