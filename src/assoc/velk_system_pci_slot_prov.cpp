#include "assoc/velk_system_pci_slot_prov.h"

#include <optional>

#include "assoc/object_paths.h"
#include "common/computer_system.h"
#include "smbios/smbios_table.h"

namespace velk {

CVelkSystemPCISlotList::CVelkSystemPCISlotList() : CDerivedList(PciDeviceList()) {
    Mutex().SetName(L"CVelkSystemPCISlotList");
}

bool CVelkSystemPCISlotList::RebuildFrom(const CVelkPCIDeviceList&) {
    Clear();
    // A chassis that cannot be had leaves the path empty; the slots are listed all the same.
    CString chassis;
    GetChassisPath(chassis);

    const std::optional<SystemSlots> slots = Smbios().ReadSlots();
    // No table is a failure here, not a machine without slots.
    if (!slots) return false;
    // Numbers up to the count and none above, as if they had no gaps: what clients know of a chassis is at
    // most so many slots, each under its firmware's number. The count is below 65,536, the table being of 64
    // KiB at most.
    for (std::uint32_t number = 1; number <= slots->pciCount; ++number) {
        if (FindSlotId(*slots, static_cast<std::uint16_t>(number)) == nullptr) continue;
        Append({.first = FullSlotPath(number), .second = chassis});
    }
    return true;
}

}  // namespace velk
