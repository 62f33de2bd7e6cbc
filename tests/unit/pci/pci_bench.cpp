#include "pci/pci_bench.h"

namespace velktest {

PciBench::PciBench() : replay_(::GetModuleHandleW(nullptr), MachineNamed(L"srv01.example.net")) {
    velk::PciDeviceListObject().Create();
    velk::PciBridgeListObject().Create();
}

PciBench::~PciBench() {
    velk::PciBridgeListObject().Destroy();
    velk::PciDeviceListObject().Destroy();
    EXPECT_EQ(replay_.OpenDeviceSets(), 0u);
}

}  // namespace velktest
