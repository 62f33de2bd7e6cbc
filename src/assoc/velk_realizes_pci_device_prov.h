#pragma once

#include "assoc/association_prov.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// The cards with the PCI functions on them, a pair per function in a numbered slot, in the functions' order.
class CVelkRealizesPCIDeviceList final : public CDerivedList<CVelkAssociation, CVelkPCIDeviceList> {
  public:
    CVelkRealizesPCIDeviceList();

  private:
    bool RebuildFrom(const CVelkPCIDeviceList& functions) override;
};

inline constexpr const wchar_t* kRealizesPCIDeviceReferences[] = {L"Antecedent", L"Dependent"};
inline constexpr ProviderClass kRealizesPCIDeviceClass = {
    L"CVelkRealizesPCIDeviceProv", L"Velk_RealizesPCIDevice", L"VelkRealizesPCIDeviceProv",
    kRealizesPCIDeviceReferences};

/// Serves Velk_RealizesPCIDevice.
class CVelkRealizesPCIDeviceProv final
    : public CAssociationProv<CVelkRealizesPCIDeviceList, kRealizesPCIDeviceClass> {};

}  // namespace velk
