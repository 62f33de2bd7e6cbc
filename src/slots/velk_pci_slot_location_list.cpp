#include "slots/velk_pci_slot_location_list.h"

#include "slots/slot_search.h"
#include "slots/slot_texts.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {

CVelkPCISlotLocation MakeLocation(std::uint32_t slotNumber) {
    CVelkPCISlotLocation location;
    location.name = SlotTag(slotNumber);
    location.elementName = location.name;
    location.caption = location.name;
    location.elementLocationTag = location.name;
    location.description = LocationDescription(slotNumber);
    location.physicalPosition = SlotPosition(slotNumber);
    return location;
}

}  // namespace

bool CVelkPCISlotLocationList::RebuildList() {
    Clear();
    const SystemSlots slots = Smbios().ReadSlots().value_or(SystemSlots{});
    const auto found = FindSlots(slots);
    if (!found) return false;
    for (const NumberedSlot& slot : *found) Append(MakeLocation(slot.number));
    return true;
}

}  // namespace velk
