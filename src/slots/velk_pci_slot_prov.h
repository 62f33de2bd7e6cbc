#pragma once

#include "framework/instance_provider.h"
#include "framework/own_list.h"
#include "slots/velk_pci_slot_list.h"

namespace velk {

/// Serves Velk_PCISlot: an instance per record of the slot list.
class CVelkPCISlotProv final : private OwnList<CVelkPCISlotList>, public CInstanceProvider<CVelkPCISlotList> {
  public:
    CVelkPCISlotProv();

  private:
    bool KeysMatch(const RequestedKeys& keys, const CVelkPCISlot& record) const override;
};

}  // namespace velk
