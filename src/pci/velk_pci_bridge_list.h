#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>

#include "common/module_object.h"
#include "framework/instance_list.h"
#include "pci/velk_pci_device.h"

namespace velk {

/// The server's PCI bridge functions (base class 06h), one list for the whole module: the function list's
/// procedure with the opposite filter.
class CVelkPCIBridgeList final : public CInstanceList<CVelkPCIBridge> {
  public:
    static constexpr const wchar_t* kWmiClass = L"Velk_PCIBridge";

    using SlotNumberSet = std::set<std::uint32_t>;

    /// The slot numbers (UI numbers above 0) of the bridges that the last rebuild in this process found; null
    /// before the first rebuild and after a failed one. May be called without the list's lock: each rebuild
    /// publishes a new set that never changes afterwards. Null rather than an empty set: to forget the
    /// numbers must not take memory, which may be what the rebuild failed for.
    std::shared_ptr<const SlotNumberSet> SlotNumbers() const noexcept {
        return slotNumbers_.load(std::memory_order_acquire);
    }

  private:
    bool RebuildList() override;
    void Clear() noexcept override;

    std::atomic<std::shared_ptr<const SlotNumberSet>> slotNumbers_;
};

/// Where the module's one list lives: for the module's load and unload code.
ModuleObject<CVelkPCIBridgeList>& PciBridgeListObject() noexcept;

/// The module's one list. It exists for as long as the module is loaded.
CVelkPCIBridgeList& PciBridgeList() noexcept;

}  // namespace velk
