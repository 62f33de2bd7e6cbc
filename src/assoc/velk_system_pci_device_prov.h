#pragma once

#include "assoc/association_prov.h"

namespace velk {

/// The computer system with every PCI function, then with every PCI bridge. Both lists are refreshed for it:
/// the bridges are there even in a process that was never asked for them.
class CVelkSystemPCIDeviceList final : public CInstanceList<CVelkAssociation> {
  public:
    CVelkSystemPCIDeviceList();

  private:
    bool RebuildList() override;
};

/// Serves Velk_SystemPCIDevice.
class CVelkSystemPCIDeviceProv final : public CAssociationProv<CVelkSystemPCIDeviceList> {
  public:
    CVelkSystemPCIDeviceProv();
};

}  // namespace velk
