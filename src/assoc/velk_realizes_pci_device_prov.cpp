#include "assoc/velk_realizes_pci_device_prov.h"

#include "assoc/object_paths.h"

namespace velk {

CVelkRealizesPCIDeviceList::CVelkRealizesPCIDeviceList() : CDerivedList(PciDeviceList()) {}

bool CVelkRealizesPCIDeviceList::RebuildFrom(const CVelkPCIDeviceList& functions) {
    Clear();
    for (const CVelkPCIDevice& function : functions) {
        // 0 alone is no slot. A number of 80000000h or above, negative in the card's tag, makes a pair here
        // although the card list makes no such card: the pair is the only place where clients see those
        // functions' slots.
        if (function.uiNumber == 0) continue;
        Append({.first = FullCardPath(function.uiNumber), .second = function.objectPath});
    }
    return true;
}

}  // namespace velk
