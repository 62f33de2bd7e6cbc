#pragma once

#include "assoc/association_prov.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// The chassis with its PCI slots: the numbers from 1 to the count of PCI slots that a slot structure of any
/// type has. Unlike among the slots themselves, one whose number is above the count is not listed.
///
/// Refreshing it refreshes the PCI function list too, from which it takes nothing: of a server whose
/// functions cannot be read it says nothing either.
class CVelkSystemPCISlotList final : public CDerivedList<CVelkAssociation, CVelkPCIDeviceList> {
  public:
    CVelkSystemPCISlotList();

  private:
    bool RebuildFrom(const CVelkPCIDeviceList& functions) override;
};

inline constexpr const wchar_t* kSystemPCISlotReferences[] = {L"PartComponent", L"GroupComponent"};
inline constexpr ProviderClass kSystemPCISlotClass = {L"CVelkSystemPCISlotProv", L"Velk_SystemPCISlot",
                                                      L"VelkSystemPCISlotProv", kSystemPCISlotReferences};

/// Serves Velk_SystemPCISlot.
class CVelkSystemPCISlotProv final : public CAssociationProv<CVelkSystemPCISlotList, kSystemPCISlotClass> {};

}  // namespace velk
