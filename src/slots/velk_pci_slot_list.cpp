#include "slots/velk_pci_slot_list.h"

#include <utility>

#include "pci/velk_pci_bridge_list.h"
#include "slots/slot_kinds.h"
#include "slots/slot_search.h"
#include "slots/slot_texts.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {

CVelkPCISlot MakeSlot(std::uint32_t number, const SystemSlot& structure, bool bridgeReportsNumber) {
    CVelkPCISlot slot;
    slot.tag = SlotTag(number);
    slot.caption = slot.tag;
    slot.description = slot.tag;
    slot.name = SlotName(number);
    slot.elementName = slot.name;
    slot.number = static_cast<std::uint16_t>(number);
    slot.vendorCompatibilityStrings = {CompatibilityText()};

    slot.supportsHotPlug = structure.supportsHotPlug;
    slot.poweredOn = !structure.supportsHotPlug || bridgeReportsNumber;

    slot.connectorPinout = SlotKindText(structure.kind);
    slot.connectorType = {RowOf(structure.kind).connectorType};
    slot.connectorLayout = ConnectorLayoutOfSlot(structure);
    if (structure.kind == SlotKind::kPciExpress) slot.otherTypeDescription = slot.connectorPinout;
    return slot;
}

}  // namespace

bool CVelkPCISlotList::RebuildList() {
    Clear();
    const SystemSlots slots = Smbios().ReadSlots().value_or(SystemSlots{});
    const auto bridgeNumbers = PciBridgeList().SlotNumbers();
    const auto found = FindSlots(slots);
    if (!found) return false;
    for (const auto& [number, structure] : *found) {
        const bool bridgeReportsNumber = bridgeNumbers && bridgeNumbers->contains(number);
        Append(MakeSlot(number, structure, bridgeReportsNumber));
    }
    return true;
}

}  // namespace velk
