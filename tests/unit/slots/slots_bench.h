#pragma once

#include <vector>

#include "host/machine/machine_replay.h"
#include "support/hosted/provider_bench.h"
#include "support/smbios_builder.h"
#include "support/variant_readers.h"

namespace velktest {

/// A machine named srv01.velkor.test with an SMBIOS table, PCI functions and bridges, before the module-wide
/// lists. Empty at first.
class SlotsBench : public ProviderBench {
  protected:
    SlotsBench();
    ~SlotsBench() override;

    /// Puts a function or a bridge into the Plug and Play database; 0 = without a slot number.
    void AddFunction(DWORD slotNumber) { AddDevice(L"PCI\\CC_020000", slotNumber); }
    void AddBridge(DWORD slotNumber) { AddDevice(L"PCI\\CC_060400", slotNumber); }

    /// Lets the machine have this table from now on, and none other read before.
    void ServeTable(const Bytes& table);
    void ServeSlots(const std::vector<SmbiosBuilder::Slot>& slots) { ServeTable(TableOfSlots(slots)); }

    /// What an administrator set about the slot types of modern servers.
    void SetModernSlotTypes(DWORD value) {
        Machine().settings.emplace()[L"ModernSlotTypes"] = velkhost::RegistryValue::Number(value);
    }

    velkhost::Machine& Machine() { return replay_.Current(); }

  private:
    void AddDevice(const wchar_t* classId, DWORD slotNumber);

    velkhost::MachineReplay replay_;
};

/// The records of a list after a rebuild.
template <class List>
std::vector<typename List::Record> Rebuilt(List& list) {
    EXPECT_NE(list.RebuildAndStamp(), 0u);
    return {list.begin(), list.end()};
}

}  // namespace velktest
