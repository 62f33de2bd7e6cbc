#include "assoc/velk_pci_slot_element_location_prov.h"

#include <utility>

#include "assoc/object_paths.h"
#include "slots/slot_search.h"
#include "smbios/smbios_table.h"

namespace velk {

bool CVelkPCISlotElementLocationList::RebuildList() {
    Clear();
    const SystemSlots slots = Smbios().ReadSlots().value_or(SystemSlots{});
    const auto found = FindSlots(slots);
    if (!found) return false;
    std::uint32_t number = 1;
    for (const NumberedSlot& slot : *found) {
        for (;; ++number) {
            // Before anything is known of the slot: a path that cannot be made fails the list, also under a
            // number that no slot has.
            CString element = FullSlotPath(number);
            CString location = FullLocationPath(number);
            if (element.empty() || location.empty()) return false;
            if (number < slot.number) continue;
            Append({.first = std::move(element), .second = std::move(location)});
            break;
        }
        ++number;
    }
    return true;
}

}  // namespace velk
