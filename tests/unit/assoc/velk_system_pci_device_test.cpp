#include <gmock/gmock.h>

#include "assoc/association_bench.h"
#include "assoc/velk_system_pci_device_prov.h"
#include "common/wbem_status.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using velktest::kComputerSystem;
using velktest::References;

class CVelkSystemPCIDeviceProv : public velktest::AssociationBench {
  protected:
    HRESULT Enumerate() { return AssociationBench::Enumerate(*provider_.Get()); }
    HRESULT Get(const velk::CString& path) { return AssociationBench::Get(*provider_.Get(), path); }
    std::vector<References> DeliveredReferences() const {
        return Delivered(L"PartComponent", L"GroupComponent");
    }

  private:
    velk::ComPtr<velk::CVelkSystemPCIDeviceProv> provider_ =
        Initialized<velk::CVelkSystemPCIDeviceProv>(L"Velk_SystemPCIDevice");
};

TEST_F(CVelkSystemPCIDeviceProv, TenFunctionsAndTwoBridgesThatNobodyAskedForBeforeMakeTwelve) {
    std::vector<References> expected;
    for (int count = 0; count < 5; ++count)
        expected.emplace_back(FunctionPath(AddFunction()), kComputerSystem);
    const int firstBridge = AddBridge();
    for (int count = 0; count < 5; ++count)
        expected.emplace_back(FunctionPath(AddFunction()), kComputerSystem);
    expected.emplace_back(BridgePath(firstBridge), kComputerSystem);
    expected.emplace_back(BridgePath(AddBridge()), kComputerSystem);
    ASSERT_FALSE(velk::PciBridgeList().Succeeded());

    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_EQ(DeliveredReferences(), expected);
}

TEST_F(CVelkSystemPCIDeviceProv, AnEmptyServerIsASuccess) {
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
}

TEST_F(CVelkSystemPCIDeviceProv, BothListsAreReadAfreshAtEveryRequest) {
    AddFunction();
    AddBridge();
    Enumerate();
    machine.devices.clear();
    const int bridge = AddBridge();
    const int function = AddFunction();
    Enumerate();
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(FunctionPath(function), kComputerSystem),
                                                   References(BridgePath(bridge), kComputerSystem)));
}

TEST_F(CVelkSystemPCIDeviceProv, TellsTheSlotsWhichOfThemHaveABridge) {
    AddBridge(3);
    EXPECT_EQ(velk::PciBridgeList().SlotNumbers(), nullptr);
    Enumerate();
    ASSERT_NE(velk::PciBridgeList().SlotNumbers(), nullptr);
    EXPECT_THAT(*velk::PciBridgeList().SlotNumbers(), ElementsAre(3U));
}

TEST_F(CVelkSystemPCIDeviceProv, FailsWhereTheFunctionListFails) {
    const int function = AddFunction();
    const velkhost::ComputerNames names = std::exchange(machine.names, {});
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses,
                ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, velk::kWbemFailed}));
    machine.names = names;
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(FunctionPath(function), kComputerSystem)));
}

TEST_F(CVelkSystemPCIDeviceProv, FailsWhereTheBridgeListFails) {
    // Without a function the function list does not need the computer's name; the bridge list does.
    AddBridge();
    machine.names = {};
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_TRUE(velk::PciDeviceList().Succeeded());
    EXPECT_FALSE(velk::PciBridgeList().Succeeded());
    EXPECT_EQ(Get(velktest::AssociationPath(L"Velk_SystemPCIDevice", {{L"PartComponent", L"any"}})),
              velk::kWbemNotFound);
}

TEST_F(CVelkSystemPCIDeviceProv, WithoutTheComputerSystemsClassTheGroupIsEmptyAndTheServerUnnamed) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    AddFunction();
    AddBridge();
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(),
                ElementsAre(Pair(StartsWith(L"\\\\\\root\\VKQ:Velk_PCIDevice."), L""),
                            Pair(StartsWith(L"\\\\\\root\\VKQ:Velk_PCIBridge."), L"")));
}

TEST_F(CVelkSystemPCIDeviceProv, WithTheComputerSystemsClassTwiceTheGroupIsEmpty) {
    const auto systemClass = velktest::FakeClassObject::Make();
    systemClass->SetText(L"__SERVER", L"WMISERVER");
    systemClass->SetText(L"__PATH", L"\\\\WMISERVER\\root\\VKQ:Velk_WinComputerSystem");
    wmi.Namespace(L"root\\VKQ")
        .Answer(velktest::kComputerSystemQuery, {.objects = {systemClass, systemClass}});
    const int function = AddFunction();
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(FunctionPath(function), L"")));
}

TEST_F(CVelkSystemPCIDeviceProv, WithAComputerSystemClassOfUnknownPathTheGroupIsEmpty) {
    const auto systemClass = velktest::FakeClassObject::Make();
    systemClass->SetText(L"__SERVER", L"WMISERVER");
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {.objects = {systemClass}});
    const int function = AddFunction();
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(References(FunctionPath(function), L"")));
}

TEST_F(CVelkSystemPCIDeviceProv, AnInstanceWithAnEmptyGroupIsFoundByIt) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    AddFunction();
    Enumerate();
    ASSERT_EQ(DeliveredReferences().size(), 1u);
    const References there = DeliveredReferences()[0];
    EXPECT_EQ(Get(velktest::AssociationPath(L"Velk_SystemPCIDevice",
                                            {{L"GroupComponent", L""}, {L"PartComponent", there.first}})),
              S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(there));
}

TEST_F(CVelkSystemPCIDeviceProv, NeverAsksTheFirmware) {
    AddFunction(1);
    Enumerate();
    EXPECT_FALSE(velk::Smbios().IsLoaded());
    EXPECT_THAT(DeliveredReferences(), Each(Pair(testing::_, kComputerSystem)));
}

}  // namespace
