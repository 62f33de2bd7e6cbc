#include "assoc/velk_pci_slot_element_location_prov.h"

#include <utility>

#include "assoc/object_paths.h"
#include "slots/slot_search.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {

constexpr const wchar_t* kReferences[] = {L"Element", L"PhysicalLocation"};
constexpr ProviderClass kProviderClass = {L"CVelkPCISlotElementLocationProv", L"Velk_PCISlotElementLocation",
                                          L"VelkPCISlotElementLocationProv", kReferences, false};

}  // namespace

bool CVelkPCISlotElementLocationList::RebuildList() {
    Clear();
    const SystemSlots slots = Smbios().ReadSlots().value_or(SystemSlots{});
    return ForEachCandidate(slots, [this](std::uint32_t number, const SystemSlot* slot) {
        // Before anything is known of the slot: a path that cannot be made fails the list, also under a
        // number that no slot has.
        CString element = FullSlotPath(number);
        CString location = FullLocationPath(number);
        if (element.empty() || location.empty()) return false;
        if (slot != nullptr) Append({std::move(element), std::move(location)});
        return true;
    });
}

CVelkPCISlotElementLocationProv::CVelkPCISlotElementLocationProv() : CAssociationProv(kProviderClass) {}

}  // namespace velk
