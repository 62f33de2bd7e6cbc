#include "assoc/velk_pci_card_in_slot_prov.h"

#include <set>
#include <utility>

#include "assoc/object_paths.h"

namespace velk {

CVelkPCICardInSlotList::CVelkPCICardInSlotList() : CDerivedList(PciDeviceList()) {}

bool CVelkPCICardInSlotList::RebuildFrom(const CVelkPCIDeviceList& functions) {
    Clear();
    std::set<std::uint32_t> seen;
    for (const CVelkPCIDevice& function : functions) {
        const std::uint32_t number = function.uiNumber;
        // Signed: 80000000h and above are no slot numbers either, and the card list makes no card for them.
        if (static_cast<std::int32_t>(number) < 1 || !seen.insert(number).second) continue;
        // Each path is a query of its own, in this order although the slot is the first of the two.
        CString card = FullCardPath(number);
        Append({.first = FullSlotPath(number), .second = std::move(card)});
    }
    return true;
}

}  // namespace velk
