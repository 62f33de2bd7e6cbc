#include "slots/slot_search.h"

#include <algorithm>

namespace velk {

namespace {

/// Slot IDs have 16 bits: so many numbers on, the same structure is found.
constexpr std::uint32_t kRound = 0x10000;
constexpr std::uint32_t kFailedCount = 0xFFFFFFFF;

/// Numbers start at 1, so the first to find ID 0 is the last of the round.
std::uint32_t FirstNumberOf(std::uint16_t id) noexcept { return id == 0 ? kRound : id; }

/// What the numbers 1 to 65,536 find, in rising order.
std::vector<NumberedSlot> FirstRound(const SystemSlots& slots) {
    std::vector<NumberedSlot> round;
    round.reserve(slots.structures.size());
    for (const SystemSlot& slot : slots.structures) round.push_back({FirstNumberOf(slot.id), slot});

    // Stable: of structures with one ID the first in table order is found, always.
    std::ranges::stable_sort(round, {}, &NumberedSlot::number);
    const auto haveOneNumber = [](const NumberedSlot& left, const NumberedSlot& right) {
        return left.number == right.number;
    };
    round.erase(std::unique(round.begin(), round.end(), haveOneNumber), round.end());
    return round;
}

}  // namespace

std::optional<std::vector<NumberedSlot>> FindSlots(const SystemSlots& slots) {
    if (slots.pciCount == kFailedCount) return std::nullopt;
    std::vector<NumberedSlot> found = FirstRound(slots);
    const std::size_t ofRound = found.size();
    // Each of the table's PCI slots is one of its structures: a round finds at least one, and 64 KiB of table
    // end the rounds long before the numbers do.
    while (found.size() < slots.pciCount) {
        // What the same place of the round before found.
        NumberedSlot again = found[found.size() - ofRound];
        again.number += kRound;
        found.push_back(again);
    }
    // Structures of other types were found, too, but are not counted: the last PCI slots fall off.
    found.resize(slots.pciCount);
    return found;
}

}  // namespace velk
