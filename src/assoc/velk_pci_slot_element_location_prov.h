#pragma once

#include "assoc/association_prov.h"

namespace velk {

/// The PCI slots with their locations, in rising slot-number order: the same slots that the slot and the
/// location class list.
///
/// Both paths are made for every slot number that is tried, found or not, and each path asks WMI. Where the
/// search runs on to 65,536 and beyond (a slot with the ID 0, two with the same) a rebuild takes 131,072
/// queries and more.
class CVelkPCISlotElementLocationList final : public CInstanceList<CVelkAssociation> {
  private:
    bool RebuildList() override;
};

inline constexpr const wchar_t* kPCISlotElementLocationReferences[] = {L"Element", L"PhysicalLocation"};
inline constexpr ProviderClass kPCISlotElementLocationClass = {
    L"CVelkPCISlotElementLocationProv", L"Velk_PCISlotElementLocation", L"VelkPCISlotElementLocationProv",
    kPCISlotElementLocationReferences};

/// Serves Velk_PCISlotElementLocation.
class CVelkPCISlotElementLocationProv final
    : public CAssociationProv<CVelkPCISlotElementLocationList, kPCISlotElementLocationClass> {};

}  // namespace velk
