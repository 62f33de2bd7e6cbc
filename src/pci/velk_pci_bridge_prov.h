#pragma once

#include "framework/instance_provider.h"
#include "pci/velk_pci_bridge_list.h"

namespace velk {

/// Serves Velk_PCIBridge: an instance per record of the PCI bridge list.
class CVelkPCIBridgeProv final : public CInstanceProvider<CVelkPCIBridgeList> {
  public:
    CVelkPCIBridgeProv();

  private:
    bool KeysMatch(const RequestedKeys& keys, const CVelkPCIBridge& record) const override;
};

}  // namespace velk
