// Velk_PCIDevice and Velk_PCIBridge as a client sees them.

#include <gmock/gmock.h>

#include "common/wbem_status.h"
#include "pci/pci_bench.h"
#include "pci/velk_pci_bridge_prov.h"
#include "pci/velk_pci_device_prov.h"
#include "support/variant_readers.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::FakeClassObject;
using velktest::Function;
using velktest::kNetwork;
using velktest::kPciBridge;
using velktest::Number;
using velktest::Numbers;
using velktest::Texts;

velkhost::PnpDevice Numbered(const wchar_t* compatibleId, DWORD slot) {
    auto device = Function(compatibleId, L"PCI bus 2, device 28, function 1",
                           L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D9&REV_81");
    device.SetText(SPDRP_DEVICEDESC, L"Adapter");
    if (slot != 0) device.SetNumber(SPDRP_UI_NUMBER, slot);
    return device;
}

class CVelkPCIDeviceProvTest : public velktest::PciBench {
  protected:
    ComPtr<CVelkPCIDeviceProv> Provider() { return Initialized<CVelkPCIDeviceProv>(L"Velk_PCIDevice"); }
};

class CVelkPCIBridgeProvTest : public velktest::PciBench {
  protected:
    ComPtr<CVelkPCIBridgeProv> Provider() { return Initialized<CVelkPCIBridgeProv>(L"Velk_PCIBridge"); }
};

TEST_F(CVelkPCIDeviceProvTest, WritesItsPropertiesInOrderAndNoOther) {
    SetDevices({Numbered(kNetwork, 5)});
    const auto provider = Provider();
    ASSERT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(
        Delivered().front()->puts,
        ElementsAre(L"SystemName", L"DeviceID", L"CreationClassName", L"SystemCreationClassName",
                    L"Capabilities", L"CapabilityDescriptions", L"ElementName", L"Name", L"Caption",
                    L"Description", L"VendorID", L"PCIDeviceID", L"RevisionID", L"BusNumber", L"DeviceNumber",
                    L"FunctionNumber", L"SubsystemID", L"SubsystemVendorID", L"ClassCode"));
}

TEST_F(CVelkPCIDeviceProvTest, PublishesTheRecordWithTheTypesOfItsClass) {
    SetDevices({Numbered(kNetwork, 5)});
    const auto provider = Provider();
    ASSERT_EQ(Enumerate(*provider.Get()), S_OK);
    const auto delivered = Delivered();
    const FakeClassObject& object = *delivered.front();
    EXPECT_EQ(object.Text(L"SystemName"), L"srv01.example.net");
    EXPECT_EQ(object.Text(L"DeviceID"), L"BUS(2)DEV(28)FN(1)");
    EXPECT_EQ(object.Text(L"CreationClassName"), L"Velk_PCIDevice");
    EXPECT_EQ(object.Text(L"SystemCreationClassName"), L"Velk_WinComputerSystem");
    EXPECT_THAT(Numbers(object.Find(L"Capabilities")), ElementsAre(11));
    EXPECT_THAT(Texts(object.Find(L"CapabilityDescriptions")), ElementsAre(L"5"));
    EXPECT_EQ(object.Text(L"Name"), L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D9&REV_81");
    EXPECT_EQ(object.Text(L"ElementName"), object.Text(L"Name"));
    EXPECT_EQ(object.Text(L"Caption"), L"Adapter");
    EXPECT_EQ(object.Text(L"Description"), L"Adapter");
    EXPECT_EQ(Number(object.Find(L"VendorID")), 0x8086);
    EXPECT_EQ(Number(object.Find(L"PCIDeviceID")), 0x1521);
    EXPECT_EQ(Number(object.Find(L"RevisionID"), VT_UI1), 0x81);
    EXPECT_EQ(Number(object.Find(L"BusNumber")), 2);
    EXPECT_EQ(Number(object.Find(L"DeviceNumber")), 28);
    EXPECT_EQ(Number(object.Find(L"FunctionNumber")), 1);
    EXPECT_EQ(Number(object.Find(L"SubsystemID")), 0x00A2);
    EXPECT_EQ(Number(object.Find(L"SubsystemVendorID")), 0x15D9);
    EXPECT_EQ(Number(object.Find(L"ClassCode")), 0x02);
}

TEST_F(CVelkPCIDeviceProvTest, AFunctionOutsideNumberedSlotsHasEmptyArraysOfCapabilities) {
    SetDevices({Numbered(kNetwork, 0)});
    const auto provider = Provider();
    ASSERT_EQ(Enumerate(*provider.Get()), S_OK);
    const auto delivered = Delivered();
    EXPECT_THAT(Numbers(delivered.front()->Find(L"Capabilities")), IsEmpty());
    EXPECT_THAT(Texts(delivered.front()->Find(L"CapabilityDescriptions")), IsEmpty());
}

TEST_F(CVelkPCIDeviceProvTest, AnswersThePathsThatItsRecordsCarry) {
    SetDevices({Numbered(kNetwork, 0), Function(kNetwork, L"bus 7, device 0, function 0")});
    const auto provider = Provider();
    Enumerate(*provider.Get());
    const CString path = PciDeviceList().At(1).objectPath;
    ASSERT_EQ(Get(*provider.Get(), path), S_OK);
    EXPECT_EQ(Delivered().front()->Text(L"DeviceID"), L"BUS(7)DEV(0)FN(0)");
}

constexpr wchar_t kKeys[] =
    L"CreationClassName=\"%s\",DeviceID=\"%s\",SystemCreationClassName=\"%s\",SystemName=\"%s\"";

TEST_F(CVelkPCIDeviceProvTest, EachKeyValueMustMatchExactly) {
    SetDevices({Function(kNetwork, L"bus 0, device 1, function 0")});
    const auto provider = Provider();
    const auto get = [&](const wchar_t* creationClass, const wchar_t* device, const wchar_t* systemClass,
                         const wchar_t* system) {
        return Get(*provider.Get(),
                   L"Velk_PCIDevice." + FormatText(kKeys, creationClass, device, systemClass, system));
    };
    constexpr wchar_t kId[] = L"BUS(0)DEV(1)FN(0)";
    constexpr wchar_t kSystem[] = L"Velk_WinComputerSystem";
    constexpr wchar_t kName[] = L"srv01.example.net";
    EXPECT_EQ(get(L"Velk_PCIDevice", kId, kSystem, kName), S_OK);
    EXPECT_EQ(get(L"Velk_PCIDevice", L"bus(0)dev(1)fn(0)", kSystem, kName), kWbemNotFound);
    EXPECT_EQ(get(L"velk_pcidevice", kId, kSystem, kName), kWbemNotFound);
    EXPECT_EQ(get(L"Velk_PCIDevice", kId, L"Velk_ComputerSystem", kName), kWbemNotFound);
    EXPECT_EQ(get(L"Velk_PCIDevice", kId, kSystem, L"SRV01.EXAMPLE.NET"), kWbemNotFound);
}

TEST_F(CVelkPCIDeviceProvTest, KeyNamesMatchInAnyCase) {
    SetDevices({Function(kNetwork, L"bus 0, device 1, function 0")});
    const auto provider = Provider();
    EXPECT_EQ(Get(*provider.Get(),
                  L"velk_pcidevice.deviceid=\"BUS(0)DEV(1)FN(0)\",systemname=\"srv01.example.net\","
                  L"CREATIONCLASSNAME="
                  L"\"Velk_PCIDevice\",systemCreationClassName=\"Velk_WinComputerSystem\""),
              S_OK);
}

TEST_F(CVelkPCIDeviceProvTest, AnyWriteThatFailsIsReportedAsFailed) {
    SetDevices({Numbered(kNetwork, 5)});
    const auto provider = Provider();
    const ComPtr<FakeClassObject> instance = FakeClassObject::Make();
    instance->FailPut(L"VendorID", kWbemOutOfMemory);
    PciDeviceList().RebuildAndStamp();
    EXPECT_EQ(provider->FillInstance(instance.Get(), PciDeviceList().At(0)), kWbemFailed);
    EXPECT_EQ(instance->Text(L"Description"), L"Adapter") << "what was written before stays";
    EXPECT_EQ(instance->Find(L"PCIDeviceID"), nullptr);
}

TEST_F(CVelkPCIDeviceProvTest, WithoutAComputerNameNothingIsWritten) {
    SetDevices({Numbered(kNetwork, 5)});
    const auto provider = Provider();
    PciDeviceList().RebuildAndStamp();
    Machine().names = {};
    const ComPtr<FakeClassObject> instance = FakeClassObject::Make();
    EXPECT_EQ(provider->FillInstance(instance.Get(), PciDeviceList().At(0)), kWbemFailed);
    EXPECT_THAT(instance->puts, IsEmpty());
}

TEST_F(CVelkPCIBridgeProvTest, WritesItsPropertiesInOrderAndNoOther) {
    SetDevices({Numbered(kPciBridge, 5)});
    const auto provider = Provider();
    ASSERT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(Delivered().front()->puts,
                ElementsAre(L"SystemName", L"DeviceID", L"ClassCode", L"CreationClassName",
                            L"SystemCreationClassName", L"Capabilities", L"CapabilityDescriptions",
                            L"ElementName", L"Name", L"Caption", L"Description", L"VendorID", L"PCIDeviceID",
                            L"RevisionID", L"BusNumber", L"DeviceNumber", L"FunctionNumber", L"SubsystemID",
                            L"SubsystemVendorID", L"BridgeType"));
}

TEST_F(CVelkPCIBridgeProvTest, APciToPciBridgeHasClassCodeSixAndBridgeTypeFour) {
    SetDevices({Numbered(kPciBridge, 5)});
    const auto provider = Provider();
    ASSERT_EQ(Enumerate(*provider.Get()), S_OK);
    const auto delivered = Delivered();
    EXPECT_EQ(Number(delivered.front()->Find(L"ClassCode")), 6);
    EXPECT_EQ(Number(delivered.front()->Find(L"BridgeType")), 4);
    EXPECT_EQ(delivered.front()->Text(L"CreationClassName"), L"Velk_PCIBridge");
    EXPECT_THAT(Numbers(delivered.front()->Find(L"Capabilities")), ElementsAre(11));
    EXPECT_THAT(Texts(delivered.front()->Find(L"CapabilityDescriptions")), ElementsAre(L"5"));
}

TEST_F(CVelkPCIBridgeProvTest, AnswersItsOwnPathsAndRefusesThoseOfTheOtherClass) {
    SetDevices({Numbered(kPciBridge, 0)});
    const auto provider = Provider();
    Enumerate(*provider.Get());
    const CString path = PciBridgeList().At(0).objectPath;
    EXPECT_EQ(Get(*provider.Get(), path), S_OK);
    const CString other = L"Velk_PCIDevice." + FormatText(kKeys, L"Velk_PCIDevice", L"BUS(2)DEV(28)FN(1)",
                                                          L"Velk_WinComputerSystem", L"srv01.example.net");
    EXPECT_EQ(Get(*provider.Get(), other), kWbemInvalidParameter);
    EXPECT_TRUE(sink->statuses.empty());
}

}  // namespace
}  // namespace velk
