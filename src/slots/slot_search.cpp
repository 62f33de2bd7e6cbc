#include "slots/slot_search.h"

#include <algorithm>
#include <limits>

namespace velk {

namespace {

/// Slot IDs have 16 bits: so many numbers on, the same structure is found.
constexpr std::uint32_t kRound = 0x10000;
constexpr std::uint32_t kFailedCount = 0xFFFFFFFF;

/// Numbers start at 1, so the first to find ID 0 is the last of the round.
std::uint32_t FirstNumberOf(std::uint16_t id) noexcept { return id == 0 ? kRound : id; }

}  // namespace

SlotSearch::SlotSearch(const SystemSlots& slots)
    : wanted_(slots.pciCount), valid_(slots.pciCount != kFailedCount) {
    if (!valid_) return;
    round_.reserve(slots.structures.size());
    for (const SystemSlot& slot : slots.structures) round_.push_back({FirstNumberOf(slot.id), slot});

    // Stable: of structures with one ID the first in table order is found, always.
    std::ranges::stable_sort(round_, {}, &NumberedSlot::number);
    const auto repeated = std::unique(
        round_.begin(), round_.end(),
        [](const NumberedSlot& left, const NumberedSlot& right) { return left.number == right.number; });
    round_.erase(repeated, round_.end());
}

std::optional<NumberedSlot> SlotSearch::Next() noexcept {
    if (wanted_ == 0 || round_.empty()) return std::nullopt;
    NumberedSlot found = round_[next_];
    const std::uint64_t number = base_ + found.number;
    if (number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    found.number = static_cast<std::uint32_t>(number);

    --wanted_;
    if (++next_ == round_.size()) {
        next_ = 0;
        base_ += kRound;
    }
    return found;
}

}  // namespace velk
