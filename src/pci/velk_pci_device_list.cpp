#include "pci/velk_pci_device_list.h"

#include <utility>

#include "pci/device_text.h"
#include "pci/pci_scan.h"

namespace velk {

namespace {

constinit ModuleObject<CVelkPCIDeviceList> g_pciDeviceList;

// Any bridge ID anywhere keeps the function out, also behind a first ID of another class.
ClassReading ClassifyDevice(std::wstring_view compatibleIds) noexcept {
    constexpr std::wstring_view kClassId = L"CC_";
    ClassReading reading;
    if (compatibleIds.find(kBridgeClassId) != std::wstring_view::npos) return reading;

    const std::size_t classId = compatibleIds.find(kClassId);
    reading.keep =
        classId == std::wstring_view::npos ||
        ScanHexByte(compatibleIds, classId + kClassId.size(), reading.classCode) != ScanResult::kEndOfInput;
    return reading;
}

constexpr PciScanKind kDeviceScan = {L"CVelkPCIDeviceList", CVelkPCIDeviceList::kWmiClass, &ClassifyDevice};

}  // namespace

ModuleObject<CVelkPCIDeviceList>& PciDeviceListObject() noexcept { return g_pciDeviceList; }
CVelkPCIDeviceList& PciDeviceList() noexcept { return *g_pciDeviceList.Get(); }

bool CVelkPCIDeviceList::RebuildList() {
    Clear();
    return ScanPciFunctions(
        kDeviceScan, [this](CVelkPCIDevice function, const ClassReading&) { Append(std::move(function)); });
}

}  // namespace velk
