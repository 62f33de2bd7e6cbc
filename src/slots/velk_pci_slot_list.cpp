#include "slots/velk_pci_slot_list.h"

#include <utility>

#include "pci/velk_pci_bridge_list.h"
#include "slots/slot_search.h"
#include "slots/slot_texts.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {

/// CIM ConnectorType.
std::uint16_t ConnectorType(SlotKind kind) noexcept {
    constexpr std::uint16_t kOther = 1;
    constexpr std::uint16_t kPci = 43;
    constexpr std::uint16_t kPci66 = 80;
    constexpr std::uint16_t kPciX = 98;
    switch (kind) {
        case SlotKind::kPciX:
            return kPciX;
        case SlotKind::kPci66:
            return kPci66;
        case SlotKind::kPci:
            return kPci;
        default:
            return kOther;
    }
}

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
    slot.connectorType = {ConnectorType(structure.kind)};
    slot.connectorLayout = ConnectorLayoutOfSlot(structure);
    if (structure.kind == SlotKind::kPciExpress) slot.otherTypeDescription = slot.connectorPinout;
    return slot;
}

}  // namespace

bool CVelkPCISlotList::RebuildList() {
    Clear();
    const SystemSlots slots = Smbios().ReadSlots().value_or(SystemSlots{});
    const auto bridgeNumbers = PciBridgeList().SlotNumbers();
    return ForEachSlot(slots, [&](std::uint32_t number, const SystemSlot& structure) {
        const bool bridgeReportsNumber = bridgeNumbers && bridgeNumbers->contains(number);
        Append(MakeSlot(number, structure, bridgeReportsNumber));
    });
}

}  // namespace velk
