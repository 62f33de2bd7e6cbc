#pragma once

#include "common/module_object.h"
#include "framework/instance_list.h"
#include "pci/velk_pci_device.h"

namespace velk {

/// The server's PCI functions other than bridges, one list for the whole module, in the order of the Plug and
/// Play database: neither sorted nor freed of duplicates.
class CVelkPCIDeviceList final : public CInstanceList<CVelkPCIDevice> {
  public:
    static constexpr const wchar_t* kWmiClass = L"Velk_PCIDevice";

  private:
    bool RebuildList() override;
};

/// Where the module's one list lives: for the module's load and unload code.
ModuleObject<CVelkPCIDeviceList>& PciDeviceListObject() noexcept;

/// The module's one list. It exists for as long as the module is loaded.
CVelkPCIDeviceList& PciDeviceList() noexcept;

}  // namespace velk
