#pragma once

#include "assoc/association_prov.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// The slots that hold cards, each with its card, in the order in which the PCI functions first name them. A
/// function in a numbered slot is all that it takes: the firmware's own slots are not consulted.
class CVelkPCICardInSlotList final : public CDerivedList<CVelkAssociation, CVelkPCIDeviceList> {
  public:
    CVelkPCICardInSlotList();

  private:
    bool RebuildFrom(const CVelkPCIDeviceList& functions) override;
};

inline constexpr const wchar_t* kPCICardInSlotReferences[] = {L"Antecedent", L"Dependent"};
inline constexpr ProviderClass kPCICardInSlotClass = {L"CVelkPCICardInSlotProv", L"Velk_PCICardInSlot",
                                                      L"VelkPCICardInSlotProv", kPCICardInSlotReferences};

/// Serves Velk_PCICardInSlot.
class CVelkPCICardInSlotProv final : public CAssociationProv<CVelkPCICardInSlotList, kPCICardInSlotClass> {};

}  // namespace velk
