#include "assoc/velk_system_pci_device_prov.h"

#include "common/computer_system.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

namespace {

constexpr const wchar_t* kReferences[] = {L"PartComponent", L"GroupComponent"};
constexpr ProviderClass kProviderClass = {L"CVelkSystemPCIDeviceProv", L"Velk_SystemPCIDevice",
                                          L"VelkSystemPCIDeviceProv", kReferences, false};

}  // namespace

CVelkSystemPCIDeviceList::CVelkSystemPCIDeviceList() : CInstanceList({&PciDeviceList(), &PciBridgeList()}) {
    Mutex().SetName(L"CVelkSystemPCIDeviceList");
}

bool CVelkSystemPCIDeviceList::RebuildList() {
    Clear();
    // A computer system that cannot be had leaves the path empty; its parts are listed all the same.
    CString computerSystem;
    GetComputerSystemPath(computerSystem);
    for (const CVelkPCIDevice& function : PciDeviceList()) Append({function.objectPath, computerSystem});
    for (const CVelkPCIBridge& bridge : PciBridgeList()) Append({bridge.objectPath, computerSystem});
    return true;
}

CVelkSystemPCIDeviceProv::CVelkSystemPCIDeviceProv() : CAssociationProv(kProviderClass) {}

}  // namespace velk
