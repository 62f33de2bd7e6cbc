#include "assoc/velk_system_pci_device_prov.h"

#include "common/computer_system.h"

namespace velk {

CVelkSystemPCIDeviceList::CVelkSystemPCIDeviceList() : CDerivedList(PciDeviceList(), PciBridgeList()) {
    Mutex().SetName(L"CVelkSystemPCIDeviceList");
}

bool CVelkSystemPCIDeviceList::RebuildFrom(const CVelkPCIDeviceList& functions,
                                           const CVelkPCIBridgeList& bridges) {
    Clear();
    // A computer system that cannot be had leaves the path empty; its parts are listed all the same.
    CString computerSystem;
    GetComputerSystemPath(computerSystem);
    for (const CVelkPCIDevice& function : functions)
        Append({.first = function.objectPath, .second = computerSystem});
    for (const CVelkPCIBridge& bridge : bridges)
        Append({.first = bridge.objectPath, .second = computerSystem});
    return true;
}

}  // namespace velk
