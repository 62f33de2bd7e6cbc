#include "tool/view/report/chassis_plan.h"

#include <algorithm>
#include <tuple>

#include "tool/view/object_view.h"

namespace velkpci {
namespace {

void SortByNumber(const Inventory& inventory, std::vector<std::size_t>& slots) {
    std::ranges::stable_sort(slots, {}, [&](std::size_t index) {
        const Slot& slot = inventory.slots[index];
        return std::tuple(!slot.number.has_value(), slot.number.value_or(0));
    });
}

}  // namespace

std::vector<SlotGroup> GroupSlots(const Inventory& inventory) {
    std::vector<SlotGroup> groups;
    for (const Chassis& chassis : inventory.chassis)
        groups.push_back({&chassis, ShortName(*chassis.instance), chassis.slots, chassis.missingSlots});
    SlotGroup outside{nullptr, groups.empty() ? "Slots" : "Slots that no chassis names", {}, {}};
    for (std::size_t i = 0; i < inventory.slots.size(); ++i) {
        if (!inventory.slots[i].inChassis) outside.slots.push_back(i);
    }
    if (!outside.slots.empty()) groups.push_back(std::move(outside));
    for (SlotGroup& group : groups) SortByNumber(inventory, group.slots);
    return groups;
}

Occupancy OccupancyOf(const Inventory& inventory, const Slot& slot) {
    if (!slot.cards.empty()) return Occupancy::kOccupied;
    const bool isTold = slot.missingCards.empty() && WasRead(inventory, L"Velk_PCICardInSlot") &&
                        WasRead(inventory, L"Velk_PCICard");
    return isTold ? Occupancy::kEmpty : Occupancy::kUnknown;
}

std::vector<std::size_t> CardsOutsideSlots(const Inventory& inventory) {
    std::vector<std::size_t> cards;
    for (std::size_t i = 0; i < inventory.cards.size(); ++i) {
        if (inventory.cards[i].slots.empty()) cards.push_back(i);
    }
    return cards;
}

std::string KindOf(const Slot& slot) {
    if (slot.kind.empty()) {
        const bool isKnown = slot.layout.value.value_or(0) != 0 && !slot.layout.name.empty();
        return isKnown ? slot.layout.name : "unknown kind";
    }
    return slot.lanes ? slot.kind + " x" + std::to_string(*slot.lanes) : slot.kind;
}

const char* PowerOf(const Slot& slot) { return slot.powered ? "powered" : "not powered"; }

std::string SlotCounts(const Inventory& inventory) {
    if (!WasRead(inventory, L"Velk_PCISlot") && inventory.slots.empty()) return "slots not known";
    const auto with = [&](Occupancy occupancy) {
        return std::ranges::count_if(
            inventory.slots, [&](const Slot& slot) { return OccupancyOf(inventory, slot) == occupancy; });
    };
    const std::string slots = Counted(inventory.slots.size(), "slot");
    if (inventory.slots.empty() || with(Occupancy::kUnknown) != 0) return slots;
    return slots + ", " + std::to_string(with(Occupancy::kOccupied)) + " with a card";
}

std::string FunctionCounts(const Inventory& inventory) {
    const auto bridges = std::ranges::count_if(inventory.functions, &Function::isBridge);
    if (!WasRead(inventory, L"Velk_PCIDevice")) return "functions not known";
    const std::string functions = Counted(inventory.functions.size(), "function");
    if (!WasRead(inventory, L"Velk_PCIBridge")) return functions + ", bridges not known";
    return bridges == 0 ? functions : functions + ", " + std::to_string(bridges) + " of them bridges";
}

}  // namespace velkpci
