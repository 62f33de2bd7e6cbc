#include "slots/slots_bench.h"

#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"
#include "support/hosted/machine_builder.h"

namespace velktest {

SlotsBench::SlotsBench() : replay_(::GetModuleHandleW(nullptr), MachineNamed(L"srv01.velkor.test")) {
    velk::PciDeviceListObject().Create();
    velk::PciBridgeListObject().Create();
    velk::SmbiosTableObject().Create();
}

SlotsBench::~SlotsBench() {
    velk::SmbiosTableObject().Destroy();
    velk::PciBridgeListObject().Destroy();
    velk::PciDeviceListObject().Destroy();
}

void SlotsBench::ServeTable(const Bytes& table) {
    ServeSmbios(wmi, table);
    EXPECT_TRUE(velk::Smbios().Load());
}

void SlotsBench::AddDevice(const wchar_t* classId, DWORD slotNumber) {
    Machine().devices.push_back(MakeDevice({.classId = classId, .slotNumber = slotNumber}));
}

}  // namespace velktest
