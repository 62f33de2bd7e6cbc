#pragma once

#include "assoc/association_prov.h"

namespace velk {

/// The slots that hold cards, each with its card, in the order in which the PCI functions first name them. A
/// function in a numbered slot is all that it takes: the firmware's own slots are not consulted.
class CVelkPCICardInSlotList final : public CInstanceList<CVelkAssociation> {
  public:
    CVelkPCICardInSlotList();

  private:
    bool RebuildList() override;
};

/// Serves Velk_PCICardInSlot.
class CVelkPCICardInSlotProv final : public CAssociationProv<CVelkPCICardInSlotList> {
  public:
    CVelkPCICardInSlotProv();
};

}  // namespace velk
