#include "assoc/velk_realizes_pci_device_prov.h"

#include "assoc/object_paths.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

namespace {

constexpr const wchar_t* kReferences[] = {L"Antecedent", L"Dependent"};
constexpr ProviderClass kProviderClass = {L"CVelkRealizesPCIDeviceProv", L"Velk_RealizesPCIDevice",
                                          L"VelkRealizesPCIDeviceProv", kReferences, false};

}  // namespace

CVelkRealizesPCIDeviceList::CVelkRealizesPCIDeviceList() : CInstanceList({&PciDeviceList()}) {}

bool CVelkRealizesPCIDeviceList::RebuildList() {
    Clear();
    for (const CVelkPCIDevice& function : PciDeviceList()) {
        // 0 alone is no slot. A number of 80000000h or above, negative in the card's tag, makes a pair here
        // although the card list makes no such card: clients have always been told of those functions.
        if (function.uiNumber == 0) continue;
        Append({FullCardPath(function.uiNumber), function.objectPath});
    }
    return true;
}

CVelkRealizesPCIDeviceProv::CVelkRealizesPCIDeviceProv() : CAssociationProv(kProviderClass) {}

}  // namespace velk
