#include "pci/pci_bench.h"

namespace velktest {

velkhost::PnpDevice Function(const std::wstring& compatibleId, const std::wstring& location,
                             const std::wstring& hardwareId) {
    velkhost::PnpDevice device;
    device.instanceId = hardwareId + L"\\0";
    device.SetTexts(SPDRP_COMPATIBLEIDS, {compatibleId});
    device.SetText(SPDRP_LOCATION_INFORMATION, location);
    device.SetText(SPDRP_DEVICEDESC, L"A device");
    device.SetTexts(SPDRP_HARDWAREID, {hardwareId, hardwareId + L"&second"});
    return device;
}

namespace {

velkhost::Machine NamedMachine() {
    velkhost::Machine machine;
    machine.names.dnsFullyQualified = L"srv01.example.net";
    return machine;
}

}  // namespace

PciBench::PciBench() : replay_(::GetModuleHandleW(nullptr), NamedMachine()) {
    velk::PciDeviceListObject().Create();
    velk::PciBridgeListObject().Create();
}

PciBench::~PciBench() {
    velk::PciBridgeListObject().Destroy();
    velk::PciDeviceListObject().Destroy();
    EXPECT_EQ(replay_.OpenDeviceSets(), 0u);
}

}  // namespace velktest
