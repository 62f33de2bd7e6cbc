#pragma once

#include "assoc/association_prov.h"

namespace velk {

/// The cards with the PCI functions on them, a pair per function in a numbered slot, in the functions' order.
class CVelkRealizesPCIDeviceList final : public CInstanceList<CVelkAssociation> {
  public:
    CVelkRealizesPCIDeviceList();

  private:
    bool RebuildList() override;
};

/// Serves Velk_RealizesPCIDevice.
class CVelkRealizesPCIDeviceProv final : public CAssociationProv<CVelkRealizesPCIDeviceList> {
  public:
    CVelkRealizesPCIDeviceProv();
};

}  // namespace velk
