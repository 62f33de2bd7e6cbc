#include <gmock/gmock.h>

#include "assoc/association_bench.h"
#include "assoc/velk_pci_card_in_slot_prov.h"
#include "common/wbem_status.h"
#include "smbios/smbios_table.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velktest::References;

class CVelkPCICardInSlotProv : public velktest::AssociationBench {
  protected:
    HRESULT Enumerate() { return AssociationBench::Enumerate(*provider_.Get()); }
    std::vector<References> DeliveredReferences() const { return Delivered(L"Antecedent", L"Dependent"); }
    static References Pair(int number) { return {SlotPath(number), CardPath(number)}; }

  private:
    velk::ComPtr<velk::CVelkPCICardInSlotProv> provider_ =
        Initialized<velk::CVelkPCICardInSlotProv>(L"Velk_PCICardInSlot");
};

TEST_F(CVelkPCICardInSlotProv, PairsEachSlotWithItsCardOnceInTheOrderOfTheFunctions) {
    AddFunction(5);
    AddFunction(2);
    AddFunction(2);
    AddFunction(5);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(5), Pair(2)));
}

TEST_F(CVelkPCICardInSlotProv, TakesSlotNumbersFromOneUpwardAsSignedNumbers) {
    AddFunction(0);
    AddFunction(0x80000000);
    AddFunction(0xFFFFFFFF);
    AddFunction(1);
    AddFunction(0x7FFFFFFF);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1), Pair(0x7FFFFFFF)));
}

TEST_F(CVelkPCICardInSlotProv, BridgesPutNoCardIntoASlot) {
    AddBridge(3);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), IsEmpty());
}

TEST_F(CVelkPCICardInSlotProv, AServerWithoutFunctionsHasNoCardsAndThatIsASuccess) {
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
}

TEST_F(CVelkPCICardInSlotProv, NamesSlotsThatTheFirmwareDoesNotKnowAndNeverAsksIt) {
    ServeSlots({{1}});
    AddFunction(9);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(9)));
    EXPECT_FALSE(velk::Smbios().IsLoaded());
    EXPECT_THAT(wmi.Namespace(L"root\\wmi").queries, IsEmpty());
}

TEST_F(CVelkPCICardInSlotProv, StartsAfreshAtEveryRequest) {
    AddFunction(1);
    Enumerate();
    machine.devices.clear();
    AddFunction(2);
    Enumerate();
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(2)));
}

TEST_F(CVelkPCICardInSlotProv, FailsWhereTheFunctionListFailsAndRecovers) {
    AddFunction(1);
    const velkhost::ComputerNames names = std::exchange(machine.names, {});
    EXPECT_EQ(Enumerate(), velk::kWbemFailed);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses,
                ElementsAre(velktest::RecordingSink::Status{WBEM_STATUS_COMPLETE, velk::kWbemFailed}));
    machine.names = names;
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(), ElementsAre(Pair(1)));
}

TEST_F(CVelkPCICardInSlotProv, PathsBeginWithThreeBackslashesWhereWmiNamesNoServer) {
    wmi.Namespace(L"root\\VKQ").Answer(velktest::kComputerSystemQuery, {});
    AddFunction(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(DeliveredReferences(),
                ElementsAre(References(
                    L"\\\\\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"",
                    L"\\\\\\root\\VKQ:Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"PCI Card 1\"")));
}

velktest::AssociationBench* g_bench = nullptr;
decltype(&::FindResourceExW) g_findResource = nullptr;
/// Renames the WMI server as soon as the text of a slot's tag is asked for.
HRSRC WINAPI RenameServerAtSlotTag(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language) {
    // The string table comes in blocks of 16; the slot's tag is text 112, the card's 104.
    if (name == MAKEINTRESOURCEW(112 / 16 + 1)) g_bench->ServeComputerSystemClass(L"LATER");
    return g_findResource(module, type, name, language);
}

TEST_F(CVelkPCICardInSlotProv, TheCardsPathIsMadeBeforeTheSlots) {
    g_bench = this;
    const velktest::StandIn rename("FindResourceExW", &RenameServerAtSlotTag);
    g_findResource = rename.Original<decltype(g_findResource)>();
    AddFunction(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(
        DeliveredReferences(),
        ElementsAre(References(
            L"\\\\LATER\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"",
            CardPath(1))));
}

TEST_F(CVelkPCICardInSlotProv, TextsMissingFromTheStringTableAreReportedInTheTags) {
    const velktest::NoStringTable noTexts;
    AddFunction(1);
    EXPECT_EQ(Enumerate(), S_OK);
    EXPECT_THAT(
        DeliveredReferences(),
        ElementsAre(References(L"\\\\WMISERVER\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\","
                               L"Tag=\"<String could not be found!>\"",
                               L"\\\\WMISERVER\\root\\VKQ:Velk_PCICard.CreationClassName=\"Velk_PCICard\","
                               L"Tag=\"<String could not be found!>\"")));
}

}  // namespace
