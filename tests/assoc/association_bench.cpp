#include "assoc/association_bench.h"

#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"

namespace velktest {

namespace {

velkhost::Machine EmptyServer() {
    velkhost::Machine server;
    server.names.dnsFullyQualified = L"srv01.velkor.test";
    return server;
}

velk::CString FullPath(const velk::CString& relative) { return L"\\\\WMISERVER\\root\\VKQ:" + relative; }

velk::CString PciObjectPath(const wchar_t* wmiClass, int device) {
    return FullPath(
        velk::FormatText(L"%s.CreationClassName=\"%s\",DeviceID=\"BUS(0)DEV(%d)FN(0)\","
                         L"SystemCreationClassName=\"Velk_WinComputerSystem\","
                         L"SystemName=\"srv01.velkor.test\"",
                         wmiClass, wmiClass, device));
}

velk::Variant ByteArray(const std::vector<std::uint8_t>& bytes) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
    for (LONG at = 0; at < static_cast<LONG>(bytes.size()); ++at) {
        std::uint8_t byte = bytes[static_cast<std::size_t>(at)];
        ::SafeArrayPutElement(array.Get(), &at, &byte);
    }
    return velk::Variant::Array(VT_UI1, std::move(array));
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

AssociationBench::AssociationBench() : replay_(::GetModuleHandleW(nullptr), EmptyServer()) {
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
    velkhost::PnpDevice device;
    device.SetTexts(SPDRP_COMPATIBLEIDS, {classId});
    device.SetText(SPDRP_LOCATION_INFORMATION, velk::FormatText(L"PCI bus 0, device %d, function 0", number));
    device.SetText(SPDRP_DEVICEDESC, L"A device");
    device.SetTexts(SPDRP_HARDWAREID, {L"PCI\\VEN_8086&DEV_1234"});
    if (slotNumber != 0) device.SetNumber(SPDRP_UI_NUMBER, slotNumber);
    machine.devices.push_back(device);
    return number;
}

void AssociationBench::ServeSlots(std::initializer_list<Slot> slots) {
    std::vector<std::uint8_t> table;
    for (const Slot& slot : slots) {
        // SMBIOS 7.10: type 9, its length, handle, designation, slot type at 05h, width x8, usage, length,
        // slot ID at 09h, characteristics 1 and 2, segment, bus, device and function; then no strings.
        const std::uint8_t structure[] = {9,
                                          17,
                                          0,
                                          0,
                                          0,
                                          slot.type,
                                          0x0B,
                                          4,
                                          4,
                                          static_cast<std::uint8_t>(slot.id & 0xFF),
                                          static_cast<std::uint8_t>(slot.id >> 8),
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0,
                                          0};
        table.insert(table.end(), std::begin(structure), std::end(structure));
    }
    const auto tables = FakeClassObject::Make();
    tables->Set(L"Size", velk::Variant::SInt32(static_cast<LONG>(table.size())));
    tables->Set(L"SMBiosData", ByteArray(table));
    wmi.Namespace(L"root\\wmi")
        .Answer(L"SELECT SIZE,SMBIOSDATA FROM MSSMBIOS_RAWSMBIOSTABLES", {.objects = {tables}});
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
