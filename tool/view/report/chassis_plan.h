#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tool/inventory/counted.h"
#include "tool/inventory/inventory.h"

namespace velkpci {

// What a picture of a machine shows and in which order, for the page and the drawing alike.

/// Whether a slot holds a card. Not known: the classes that would tell it failed, or a reference leads
/// nowhere.
enum class Occupancy { kEmpty, kOccupied, kUnknown };

/// Slots that are drawn in one frame.
struct SlotGroup {
    const Chassis* chassis = nullptr;  ///< null: slots that no chassis names
    std::string title;
    std::vector<std::size_t> slots;         ///< by number; those without one last
    std::vector<std::string> missingSlots;  ///< paths that lead to no instance
};

/// The chassis, then the slots that none of them names. Chassis without slots are there, too.
std::vector<SlotGroup> GroupSlots(const Inventory& inventory);

Occupancy OccupancyOf(const Inventory& inventory, const Slot& slot);

/// Cards in slots that the firmware does not describe.
std::vector<std::size_t> CardsOutsideSlots(const Inventory& inventory);

/// "PCI Express x16", "PCI-X", "unknown kind".
std::string KindOf(const Slot& slot);
/// "powered", "not powered".
const char* PowerOf(const Slot& slot);
/// "6 slots, 4 with a card"; without the second half where that is not known. "slots not known" where their
/// class failed.
std::string SlotCounts(const Inventory& inventory);
/// "32 functions, 12 of them bridges", or what of it is not known.
std::string FunctionCounts(const Inventory& inventory);

}  // namespace velkpci
