#pragma once

#include "framework/instance_list.h"
#include "pci/velk_pci_device_list.h"
#include "slots/velk_pci_card.h"

namespace velk {

/// The adapter cards, told from the PCI functions: all functions in a numbered slot are one card. In the
/// order in which the slot numbers first occur in the PCI function list, which is refreshed on the way.
class CVelkPCICardList final : public CDerivedList<CVelkPCICard, CVelkPCIDeviceList> {
  public:
    static constexpr const wchar_t* kWmiClass = L"Velk_PCICard";

    CVelkPCICardList();

  private:
    bool RebuildFrom(const CVelkPCIDeviceList& functions) override;
};

}  // namespace velk
