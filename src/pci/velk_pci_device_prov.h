#pragma once

#include <span>

#include "framework/instance_provider.h"
#include "pci/velk_pci_device_list.h"

namespace velk {

/// The class's properties in the order in which they are written.
std::span<const PropertyRow<CVelkPCIDevice>> PciDeviceProperties() noexcept;

/// Serves Velk_PCIDevice: an instance per record of the PCI function list.
class CVelkPCIDeviceProv final : public CInstanceProvider<CVelkPCIDeviceList> {
  public:
    CVelkPCIDeviceProv();

  private:
    std::span<const PropertyRow<CVelkPCIDevice>> Properties() const noexcept override {
        return PciDeviceProperties();
    }
    bool KeysMatch(const RequestedKeys& keys, const CVelkPCIDevice& record) const override;
};

}  // namespace velk
