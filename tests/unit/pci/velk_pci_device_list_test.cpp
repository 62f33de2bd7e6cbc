#include "pci/velk_pci_device_list.h"

#include <gmock/gmock.h>

#include "pci/pci_bench.h"
#include "support/log_capture.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Function;
using velktest::kNetwork;
using velktest::kPciBridge;
using velktest::StandIn;

class CVelkPCIDeviceListTest : public velktest::PciBench {
  protected:
    std::vector<CVelkPCIDevice> Rebuilt() {
        EXPECT_NE(PciDeviceList().RebuildAndStamp(), 0u);
        return {PciDeviceList().begin(), PciDeviceList().end()};
    }
    CVelkPCIDevice Only(velkhost::PnpDevice device) {
        SetDevices({std::move(device)});
        const auto records = Rebuilt();
        EXPECT_EQ(records.size(), 1u);
        return records.empty() ? CVelkPCIDevice{} : records.front();
    }
    std::vector<CString> Ids() {
        std::vector<CString> ids;
        for (const CVelkPCIDevice& record : Rebuilt()) ids.push_back(record.deviceId);
        return ids;
    }
};

TEST_F(CVelkPCIDeviceListTest, ReadsEveryFieldOfAFunction) {
    auto device = Function(kNetwork, L"PCI bus 2, device 0, function 1",
                           L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D9&REV_01");
    device.SetText(SPDRP_DEVICEDESC, L"Gigabit adapter");
    device.SetNumber(SPDRP_UI_NUMBER, 5);
    const CVelkPCIDevice record = Only(device);

    EXPECT_EQ(record.deviceId, L"BUS(2)DEV(0)FN(1)");
    EXPECT_EQ(record.vendorId, 0x8086);
    EXPECT_EQ(record.pciDeviceId, 0x1521);
    EXPECT_EQ(record.revisionId, 0x01);
    EXPECT_EQ(record.subsystemVendorId, 0x15D9);
    EXPECT_EQ(record.subsystemId, 0x00A2);
    EXPECT_EQ(record.description, L"Gigabit adapter");
    EXPECT_EQ(record.elementName, L"PCI\\VEN_8086&DEV_1521&SUBSYS_00A215D9&REV_01")
        << "the first hardware ID";
    EXPECT_EQ(record.name, record.elementName);
    EXPECT_EQ(record.busNumber, 2u);
    EXPECT_EQ(record.deviceNumber, 0u);
    EXPECT_EQ(record.functionNumber, 1u);
    EXPECT_EQ(record.uiNumber, 5u);
    EXPECT_EQ(record.classCode, 0x02u);
    EXPECT_EQ(record.objectPath,
              L"\\\\WMISERVER\\root\\VKQ:Velk_PCIDevice.CreationClassName=\"Velk_PCIDevice\",DeviceID=\"BUS("
              L"2)DEV(0)FN("
              L"1)\",SystemCreationClassName=\"Velk_WinComputerSystem\",SystemName=\"srv01.example.net\"");
}

TEST_F(CVelkPCIDeviceListTest, AMachineWithoutDevicesIsAnEmptySuccess) {
    EXPECT_THAT(Rebuilt(), IsEmpty());
    EXPECT_TRUE(PciDeviceList().Succeeded());
}

TEST_F(CVelkPCIDeviceListTest, BridgesAreAbsent) {
    SetDevices({Function(L"PCI\\CC_0600", L"bus 0, device 0, function 0"),
                Function(L"PCI\\CC_0604", L"bus 0, device 1, function 0"),
                Function(kNetwork, L"bus 1, device 0, function 0")});
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(1)DEV(0)FN(0)"));
}

TEST_F(CVelkPCIDeviceListTest, ABridgeIdBehindAnotherClassKeepsTheDeviceOut) {
    auto device = Function(kNetwork, L"bus 0, device 0, function 0");
    device.SetTexts(SPDRP_COMPATIBLEIDS, {L"PCI\\CC_0200", L"PCI\\CC_0604"});
    SetDevices({device});
    EXPECT_THAT(Rebuilt(), IsEmpty());
}

TEST_F(CVelkPCIDeviceListTest, TheClassCodeIsThatOfTheFirstClassId) {
    auto device = Function(kNetwork, L"bus 0, device 0, function 0");
    device.SetTexts(SPDRP_COMPATIBLEIDS,
                    {L"PCI\\VEN_8086&DEV_1521", L"PCI\\VEN_8086&CC_0C0330", L"PCI\\CC_020000"});
    EXPECT_EQ(Only(device).classCode, 0x0Cu);
}

TEST_F(CVelkPCIDeviceListTest, WithoutAClassIdTheClassCodeIsZero) {
    EXPECT_EQ(Only(Function(L"PCI\\VEN_8086", L"bus 0, device 0, function 0")).classCode, 0u);
    EXPECT_EQ(Only(Function(L"", L"bus 0, device 0, function 0")).classCode, 0u);
}

TEST_F(CVelkPCIDeviceListTest, AClassIdThatIsNoNumberIsZeroAndOneThatIsCutOffLeavesTheDeviceOut) {
    EXPECT_EQ(Only(Function(L"PCI\\CC_XY", L"bus 0, device 0, function 0")).classCode, 0u);
    SetDevices({Function(L"PCI\\CC_", L"bus 0, device 0, function 0")});
    EXPECT_THAT(Rebuilt(), IsEmpty());
}

TEST_F(CVelkPCIDeviceListTest, AHardwareIdWithoutSubsystemAndRevisionKeepsZeros) {
    const CVelkPCIDevice record =
        Only(Function(kNetwork, L"bus 0, device 0, function 0", L"PCI\\VEN_8086&DEV_1234"));
    EXPECT_EQ(record.vendorId, 0x8086);
    EXPECT_EQ(record.pciDeviceId, 0x1234);
    EXPECT_EQ(record.subsystemId, 0);
    EXPECT_EQ(record.subsystemVendorId, 0);
    EXPECT_EQ(record.revisionId, 0);
}

TEST_F(CVelkPCIDeviceListTest, NumbersOfOneDeviceDoNotLeakIntoTheNext) {
    auto rich = Function(kNetwork, L"bus 1, device 0, function 0");
    rich.SetNumber(SPDRP_UI_NUMBER, 4);
    SetDevices({rich, Function(L"PCI\\VEN_1", L"bus 2, device 0, function 0", L"PCI\\VEN_8086&DEV_1234")});
    const auto records = Rebuilt();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].uiNumber, 0u);
    EXPECT_EQ(records[1].classCode, 0u);
    EXPECT_EQ(records[1].revisionId, 0u);
}

class CVelkPCIDeviceListNeeds : public CVelkPCIDeviceListTest, public ::testing::WithParamInterface<DWORD> {};

TEST_P(CVelkPCIDeviceListNeeds, ThisPropertyAndLeavesOutADeviceWithoutIt) {
    auto lacking = Function(kNetwork, L"bus 0, device 1, function 0");
    lacking.properties.erase(GetParam());
    SetDevices({lacking, Function(kNetwork, L"bus 0, device 2, function 0")});
    velktest::LogCapture log;
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(0)DEV(2)FN(0)"));
    EXPECT_THAT(log.Lines(), IsEmpty()) << "it is left out without a word";
}

TEST_P(CVelkPCIDeviceListNeeds, ThisPropertyToFitIts2048Bytes) {
    auto large = Function(kNetwork, L"bus 0, device 1, function 0");
    auto& property = large.properties[GetParam()];
    // Still the same texts, with zeros behind them.
    property.bytes.resize(2048, 0);
    SetDevices({large});
    EXPECT_EQ(Rebuilt().size(), 1u);
    property.bytes.resize(2050, 0);
    SetDevices({large});
    EXPECT_EQ(Rebuilt().size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(CVelkPCIDeviceList, CVelkPCIDeviceListNeeds,
                         ::testing::Values(SPDRP_COMPATIBLEIDS, SPDRP_LOCATION_INFORMATION, SPDRP_DEVICEDESC,
                                           SPDRP_HARDWAREID));

TEST_F(CVelkPCIDeviceListTest, APropertyThatFillsItsBufferWithoutATerminatorEndsThere) {
    auto device = Function(kNetwork, L"bus 0, device 1, function 0");
    auto& description = device.properties[SPDRP_DEVICEDESC];
    description.bytes.assign(2048, 0x41);
    EXPECT_EQ(Only(device).description, CString(1024, L'\x4141'));
}

TEST_F(CVelkPCIDeviceListTest, AnEmptyHardwareIdLeavesTheDeviceOut) {
    SetDevices({Function(kNetwork, L"bus 0, device 1, function 0", L"")});
    EXPECT_THAT(Rebuilt(), IsEmpty());
}

TEST_F(CVelkPCIDeviceListTest, AForeignHardwareIdIsListedWithoutNumbers) {
    const CVelkPCIDevice record = Only(Function(kNetwork, L"bus 0, device 1, function 0", L"*PNP0A08"));
    EXPECT_EQ(record.vendorId, 0);
    EXPECT_EQ(record.name, L"*PNP0A08");
}

TEST_F(CVelkPCIDeviceListTest, TheUiNumberIsTakenAsItComes) {
    auto device = Function(kNetwork, L"bus 0, device 1, function 0");
    device.SetNumber(SPDRP_UI_NUMBER, 0xFFFFFFFF);
    EXPECT_EQ(Only(device).uiNumber, 0xFFFFFFFFu);
}

TEST_F(CVelkPCIDeviceListTest, KeepsTheOrderOfTheDatabaseAndItsDuplicates) {
    SetDevices({Function(kNetwork, L"bus 9, device 0, function 0"),
                Function(kNetwork, L"bus 1, device 0, function 0"),
                Function(kNetwork, L"bus 9, device 0, function 0")});
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(9)DEV(0)FN(0)", L"BUS(1)DEV(0)FN(0)", L"BUS(9)DEV(0)FN(0)"));
}

TEST_F(CVelkPCIDeviceListTest, ReadsTheLocationPathWhereTheTextIsInAnotherLanguage) {
    auto device = Function(kNetwork, L"PCI-Bus 0, Ger\x00e4t 28, Funktion 1");
    device.SetTexts(SPDRP_LOCATION_PATHS, {L"PCIROOT(0)#PCI(1C01)", L"ACPI(_SB_)#ACPI(PC00)"});
    device.SetNumber(SPDRP_BUSNUMBER, 0x103);
    EXPECT_EQ(Only(device).deviceId, L"BUS(3)DEV(28)FN(1)") << "the bus is the number's low byte";
}

TEST_F(CVelkPCIDeviceListTest, BehindABridgeTheLocationPathGivesTheElementNearestTheRoot) {
    auto device = Function(kNetwork, L"PCI-Bus 5, Ger\x00e4t 0, Funktion 1");
    device.SetTexts(SPDRP_LOCATION_PATHS, {L"PCIROOT(0)#PCI(1C00)#PCI(0001)"});
    device.SetNumber(SPDRP_BUSNUMBER, 5);
    EXPECT_EQ(Only(device).deviceId, L"BUS(5)DEV(28)FN(0)");
}

TEST_F(CVelkPCIDeviceListTest, ADeviceThatDoesNotTellItsPlaceTakesItsPredecessors) {
    SetDevices({Function(kNetwork, L"bus 4, device 5, function 6"), Function(kNetwork, L"somewhere")});
    velktest::LogCapture log;
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(4)DEV(5)FN(6)", L"BUS(4)DEV(5)FN(6)"));
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Information] CVelkPCIDeviceList::RebuildList| Could not parse Device Paths"));
}

TEST_F(CVelkPCIDeviceListTest, WithoutALocationTextTheBusIsTheBusNumberWhateverThePathSays) {
    for (const wchar_t* path : {L"", L"PCIROOT(0)#PCI(", L"PCIROOT(0)#ACPI(PC00)"}) {
        auto placeless = Function(kNetwork, L"somewhere");
        placeless.SetTexts(SPDRP_LOCATION_PATHS, {path});
        placeless.SetNumber(SPDRP_BUSNUMBER, 0x109);
        SetDevices({Function(kNetwork, L"bus 4, device 5, function 6"), placeless});
        EXPECT_THAT(Ids(), ElementsAre(L"BUS(4)DEV(5)FN(6)", L"BUS(9)DEV(5)FN(6)")) << path;
    }
}

TEST_F(CVelkPCIDeviceListTest, ABusNumberThatCannotBeReadLeavesTheBusAsItStands) {
    auto placed = Function(kNetwork, L"somewhere");
    placed.SetTexts(SPDRP_LOCATION_PATHS, {L"PCIROOT(0)#PCI(1C01)"});
    SetDevices({Function(kNetwork, L"bus 4, device 5, function 6"), placed});
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(4)DEV(5)FN(6)", L"BUS(4)DEV(28)FN(1)"));
}

TEST_F(CVelkPCIDeviceListTest, ALocationTextThatSucceedsKeepsItsBusBesideTheBusNumber) {
    auto device = Function(kNetwork, L"bus 4, device 5, function 6");
    device.SetNumber(SPDRP_BUSNUMBER, 9);
    EXPECT_EQ(Only(device).deviceId, L"BUS(4)DEV(5)FN(6)");
}

TEST_F(CVelkPCIDeviceListTest, TheFirstDeviceOfARebuildStartsFromZero) {
    SetDevices({Function(kNetwork, L"bus 4, device 5, function 6")});
    Rebuilt();
    SetDevices({Function(kNetwork, L"somewhere")});
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(0)DEV(0)FN(0)"));
}

TEST_F(CVelkPCIDeviceListTest, PartsOfALocationTextThatFailsStay) {
    auto partial = Function(kNetwork, L"bus 7, device 3");
    SetDevices({Function(kNetwork, L"bus 4, device 5, function 6"), partial});
    EXPECT_THAT(Ids(), ElementsAre(L"BUS(4)DEV(5)FN(6)", L"BUS(7)DEV(3)FN(6)"));
}

HDEVINFO WINAPI NoDevices(const GUID*, PCWSTR, HWND, DWORD) { return INVALID_HANDLE_VALUE; }

HDEVINFO g_destroyed = nullptr;
BOOL WINAPI RecordDestroyed(HDEVINFO set) {
    g_destroyed = set;
    return FALSE;
}

TEST_F(CVelkPCIDeviceListTest, FailsWhenThereIsNoDeviceSetAndDestroysTheInvalidOneAllTheSame) {
    SetDevices({Function(kNetwork, L"bus 1, device 0, function 0")});
    Rebuilt();
    const StandIn<decltype(&NoDevices)> noDevices("SetupDiGetClassDevsW", &NoDevices);
    const StandIn<decltype(&RecordDestroyed)> destroy("SetupDiDestroyDeviceInfoList", &RecordDestroyed);
    EXPECT_EQ(PciDeviceList().RebuildAndStamp(), 0u);
    EXPECT_EQ(PciDeviceList().Count(), 0u);
    EXPECT_EQ(g_destroyed, INVALID_HANDLE_VALUE);
}

DWORD g_flags = 0;
CString g_enumerator;
HDEVINFO WINAPI RecordRequest(const GUID* setupClass, PCWSTR enumerator, HWND, DWORD flags) {
    g_flags = flags;
    g_enumerator = setupClass == nullptr ? enumerator : L"a setup class";
    return INVALID_HANDLE_VALUE;
}

TEST_F(CVelkPCIDeviceListTest, AsksForPresentPciDevicesOfEverySetupClass) {
    const StandIn<decltype(&RecordRequest)> record("SetupDiGetClassDevsW", &RecordRequest);
    PciDeviceList().RebuildAndStamp();
    EXPECT_EQ(g_enumerator, L"PCI");
    EXPECT_EQ(g_flags, static_cast<DWORD>(DIGCF_PRESENT | DIGCF_ALLCLASSES));
}

TEST_F(CVelkPCIDeviceListTest, FailsAsAWholeWithoutAComputerName) {
    SetDevices({Function(kNetwork, L"bus 1, device 0, function 0")});
    Machine().names = {};
    EXPECT_EQ(PciDeviceList().RebuildAndStamp(), 0u);
    EXPECT_EQ(PciDeviceList().Count(), 0u);
}

TEST_F(CVelkPCIDeviceListTest, AMachineWithoutDevicesNeedsNoComputerName) {
    Machine().names = {};
    EXPECT_EQ(PciDeviceList().RebuildAndStamp(), 2u);
}

// What the C runtime answers when it cannot format, and then cannot tell how long the text is.
int FormatNothing(wchar_t*, std::size_t, const wchar_t*, va_list) { return -1; }
int MeasureNothing(const wchar_t*, va_list) { return -1; }

TEST_F(CVelkPCIDeviceListTest, FailsAsAWholeWithoutAnObjectPath) {
    SetDevices({Function(kNetwork, L"bus 1, device 0, function 0")});
    {
        const StandIn format("_vsnwprintf", &FormatNothing);
        const StandIn measure("_vscwprintf", &MeasureNothing);
        EXPECT_EQ(PciDeviceList().RebuildAndStamp(), 0u);
        EXPECT_EQ(PciDeviceList().Count(), 0u);
    }
    EXPECT_EQ(Rebuilt().size(), 1u);
}

TEST_F(CVelkPCIDeviceListTest, WithoutTheSuitesClassPathsHaveNoServer) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    const CString path = Only(Function(kNetwork, L"bus 1, device 0, function 0")).objectPath;
    EXPECT_EQ(path.substr(0, 27), L"\\\\\\root\\VKQ:Velk_PCIDevice.");
}

}  // namespace
}  // namespace velk
