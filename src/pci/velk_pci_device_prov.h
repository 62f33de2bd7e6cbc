#pragma once

#include "framework/instance_provider.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// Serves Velk_PCIDevice: an instance per record of the PCI function list.
class CVelkPCIDeviceProv final : public CInstanceProvider<CVelkPCIDeviceList> {
  public:
    CVelkPCIDeviceProv();

  private:
    bool KeysMatch(const RequestedKeys& keys, const CVelkPCIDevice& record) const override;
};

}  // namespace velk
