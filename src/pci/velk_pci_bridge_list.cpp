#include "pci/velk_pci_bridge_list.h"

#include <utility>

#include "pci/device_text.h"
#include "pci/pci_scan.h"

namespace velk {

namespace {

constinit ModuleObject<CVelkPCIBridgeList> g_pciBridgeList;

ClassReading ClassifyBridge(std::wstring_view compatibleIds) noexcept {
    constexpr std::uint32_t kBridgeClassCode = 6;
    // Subclasses 00h to 08h are host, ISA, EISA, MCA, PCI-to-PCI, PCMCIA, NuBus, CardBus and RACEway bridges;
    // the class schema's 128 stands for any other.
    constexpr std::uint32_t kKnownSubclasses = 9;
    constexpr std::uint16_t kOtherBridge = 128;

    ClassReading reading;
    const std::size_t classId = compatibleIds.find(kBridgeClassId);
    if (classId == std::wstring_view::npos) return reading;

    std::uint32_t subclass = 0;
    reading.keep =
        ScanHexByte(compatibleIds, classId + kBridgeClassId.size(), subclass) != ScanResult::kEndOfInput;
    reading.classCode = kBridgeClassCode;
    reading.bridgeType = subclass < kKnownSubclasses ? static_cast<std::uint16_t>(subclass) : kOtherBridge;
    return reading;
}

constexpr PciScanKind kBridgeScan = {L"CVelkPCIBridgeList", CVelkPCIBridgeList::kWmiClass, &ClassifyBridge};

}  // namespace

ModuleObject<CVelkPCIBridgeList>& PciBridgeListObject() noexcept { return g_pciBridgeList; }
CVelkPCIBridgeList& PciBridgeList() noexcept { return *g_pciBridgeList.Get(); }

bool CVelkPCIBridgeList::RebuildList() {
    // The records alone: readers of the slot numbers keep the last rebuild's until this one is complete.
    CInstanceList::Clear();
    const auto add = [this](CVelkPCIDevice function, const ClassReading& reading) {
        Append({std::move(function), reading.bridgeType});
    };
    if (!ScanPciFunctions(kBridgeScan, add)) return false;

    auto numbers = std::make_shared<SlotNumberSet>();
    for (const CVelkPCIBridge& bridge : *this) {
        if (bridge.uiNumber > 0) numbers->insert(bridge.uiNumber);
    }
    slotNumbers_.store(std::move(numbers), std::memory_order_release);
    return true;
}

void CVelkPCIBridgeList::Clear() noexcept {
    CInstanceList::Clear();
    slotNumbers_.store(nullptr, std::memory_order_release);
}

}  // namespace velk
