#pragma once

#include "framework/instance_list.h"
#include "slots/velk_pci_slot_location.h"

namespace velk {

/// A location for each PCI slot, in rising slot-number order: exactly the slots of the slot list.
class CVelkPCISlotLocationList final : public CInstanceList<CVelkPCISlotLocation> {
  public:
    static constexpr const wchar_t* kWmiClass = L"Velk_PCISlotLocation";

  private:
    bool RebuildList() override;
};

}  // namespace velk
