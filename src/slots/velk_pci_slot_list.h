#pragma once

#include "framework/instance_list.h"
#include "slots/velk_pci_slot.h"

namespace velk {

/// The PCI slots that the firmware describes, in rising number order. No table is an empty list and a
/// success.
///
/// Whether a hot-plug slot is powered is told from the slot numbers of the bridge list as its last rebuild in
/// this process left them, for a request about bridges or about what belongs to the computer system: that
/// list is neither locked nor rebuilt for it, and before the first rebuild every hot-plug slot reads as not
/// powered.
class CVelkPCISlotList final : public CInstanceList<CVelkPCISlot> {
  public:
    static constexpr const wchar_t* kWmiClass = L"Velk_PCISlot";

  private:
    bool RebuildList() override;
};

}  // namespace velk
