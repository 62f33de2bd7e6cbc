#pragma once

#include "assoc/association_prov.h"

namespace velk {

/// The chassis with its PCI slots. Slot numbers are taken to run from 1 to the number of PCI slots without a
/// gap: unlike the slots themselves, a slot whose number is above their count is not listed.
///
/// Refreshing it refreshes the PCI function list too, from which it takes nothing: it has always failed where
/// that list fails.
class CVelkSystemPCISlotList final : public CInstanceList<CVelkAssociation> {
  public:
    CVelkSystemPCISlotList();

  private:
    bool RebuildList() override;
};

/// Serves Velk_SystemPCISlot.
class CVelkSystemPCISlotProv final : public CAssociationProv<CVelkSystemPCISlotList> {
  public:
    CVelkSystemPCISlotProv();
};

}  // namespace velk
