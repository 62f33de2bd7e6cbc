#pragma once

#include "framework/instance_provider.h"
#include "framework/own_list.h"
#include "slots/velk_pci_card_list.h"

namespace velk {

/// Serves Velk_PCICard: an instance per record of the card list.
class CVelkPCICardProv final : private OwnList<CVelkPCICardList>, public CInstanceProvider<CVelkPCICardList> {
  public:
    CVelkPCICardProv();

  private:
    bool KeysMatch(const RequestedKeys& keys, const CVelkPCICard& record) const override;
};

}  // namespace velk
