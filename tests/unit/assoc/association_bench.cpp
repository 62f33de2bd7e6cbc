#include "assoc/association_bench.h"

#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"
#include "support/hosted/machine_builder.h"

namespace velktest {

namespace {

velk::CString FullPath(const velk::CString& relative) { return L"\\\\WMISERVER\\root\\VKQ:" + relative; }

velk::CString PciObjectPath(const wchar_t* wmiClass, int device) {
    return FullPath(
        velk::FormatText(L"%s.CreationClassName=\"%s\",DeviceID=\"BUS(0)DEV(%d)FN(0)\","
                         L"SystemCreationClassName=\"Velk_WinComputerSystem\","
                         L"SystemName=\"srv01.velkor.test\"",
                         wmiClass, wmiClass, device));
}

velk::CString Escaped(const velk::CString& text) {
    velk::CString escaped;
    for (const wchar_t character : text) {
        if (character == L'"' || character == L'\\') escaped += L'\\';
        escaped += character;
    }
    return escaped;
}

}  // namespace

AssociationBench::AssociationBench()
    : replay_(::GetModuleHandleW(nullptr), MachineNamed(L"srv01.velkor.test")) {
    velk::PciDeviceListObject().Create();
    velk::PciBridgeListObject().Create();
    velk::SmbiosTableObject().Create();
    ServeChassis({kChassis});
}

AssociationBench::~AssociationBench() {
    velk::SmbiosTableObject().Destroy();
    velk::PciBridgeListObject().Destroy();
    velk::PciDeviceListObject().Destroy();
    EXPECT_EQ(replay_.OpenDeviceSets(), 0u);
}

int AssociationBench::AddFunction(DWORD slotNumber) { return AddDevice(L"PCI\\CC_0200", slotNumber); }

int AssociationBench::AddBridge(DWORD slotNumber) { return AddDevice(L"PCI\\CC_0604", slotNumber); }

int AssociationBench::AddDevice(const wchar_t* classId, DWORD slotNumber) {
    const int number = static_cast<int>(machine.devices.size()) + 1;
    const std::wstring location = velk::FormatText(L"PCI bus 0, device %d, function 0", number);
    machine.devices.push_back(
        MakeDevice({.classId = classId, .location = location, .slotNumber = slotNumber}));
    return number;
}

void AssociationBench::ServeChassis(std::initializer_list<const wchar_t*> paths) {
    FakeQueryResult result;
    for (const wchar_t* path : paths) {
        const auto chassis = FakeClassObject::Make();
        chassis->SetText(L"__PATH", path);
        result.objects.push_back(chassis);
    }
    wmi.Namespace(L"root\\VKQ").Answer(L"SELECT * FROM VELK_COMPUTERSYSTEMCHASSIS", result);
}

std::vector<References> AssociationBench::Delivered(const wchar_t* first, const wchar_t* second) const {
    std::vector<References> references;
    for (const auto& instance : ProviderBench::Delivered()) {
        references.emplace_back(instance->Text(first), instance->Text(second));
    }
    return references;
}

velk::CString AssociationBench::FunctionPath(int device) { return PciObjectPath(L"Velk_PCIDevice", device); }

velk::CString AssociationBench::BridgePath(int device) { return PciObjectPath(L"Velk_PCIBridge", device); }

velk::CString AssociationBench::SlotPath(int number) {
    return FullPath(
        velk::FormatText(L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot %d\"", number));
}

velk::CString AssociationBench::CardPath(int number) {
    return FullPath(
        velk::FormatText(L"Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"PCI Card %d\"", number));
}

velk::CString AssociationBench::LocationPath(int number) {
    return FullPath(velk::FormatText(L"Velk_PCISlotLocation.Name=\"PCI Slot %d\",PhysicalPosition=\"%d\"",
                                     number, number));
}

velk::CString AssociationPath(const wchar_t* wmiClass,
                              std::initializer_list<std::pair<const wchar_t*, velk::CString>> keys) {
    velk::CString path = wmiClass;
    wchar_t separator = L'.';
    for (const auto& [name, value] : keys) {
        path += separator;
        path += velk::FormatText(L"%s=\"%s\"", name, Escaped(value));
        separator = L',';
    }
    return path;
}

}  // namespace velktest
