#pragma once

#include "assoc/association_prov.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// The computer system with every PCI function, then with every PCI bridge. Both lists are refreshed for it:
/// the bridges are there even in a process that was never asked for them.
class CVelkSystemPCIDeviceList final
    : public CDerivedList<CVelkAssociation, CVelkPCIDeviceList, CVelkPCIBridgeList> {
  public:
    CVelkSystemPCIDeviceList();

  private:
    bool RebuildFrom(const CVelkPCIDeviceList& functions, const CVelkPCIBridgeList& bridges) override;
};

inline constexpr const wchar_t* kSystemPCIDeviceReferences[] = {L"PartComponent", L"GroupComponent"};
inline constexpr ProviderClass kSystemPCIDeviceClass = {L"CVelkSystemPCIDeviceProv", L"Velk_SystemPCIDevice",
                                                        L"VelkSystemPCIDeviceProv",
                                                        kSystemPCIDeviceReferences};

/// Serves Velk_SystemPCIDevice.
class CVelkSystemPCIDeviceProv final
    : public CAssociationProv<CVelkSystemPCIDeviceList, kSystemPCIDeviceClass> {};

}  // namespace velk
