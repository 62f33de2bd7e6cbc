#include <gmock/gmock.h>

#include "common/wbem_status.h"
#include "slots/slots_bench.h"
#include "slots/velk_pci_card_prov.h"
#include "smbios/smbios_table.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using velktest::Number;
using velktest::Rebuilt;
using velktest::Texts;

class CVelkPCICardListTest : public velktest::SlotsBench {
  protected:
    /// Tag and bus layout of each card.
    std::vector<std::pair<CString, int>> Cards() {
        std::vector<std::pair<CString, int>> cards;
        for (const CVelkPCICard& card : Rebuilt(list)) cards.emplace_back(card.tag, card.busLayout);
        return cards;
    }
    int LayoutOf(std::uint8_t type, std::uint8_t width) {
        ServeSlots({{.id = 1, .type = type, .width = width}});
        Machine().devices.clear();
        AddFunction(1);
        return Cards().at(0).second;
    }

    CVelkPCICardList list;
};

TEST_F(CVelkPCICardListTest, NamesACardByItsSlot) {
    AddFunction(3);
    const auto cards = Rebuilt(list);
    ASSERT_EQ(cards.size(), 1u);
    EXPECT_EQ(cards[0].tag, L"PCI Card 3");
    EXPECT_EQ(cards[0].caption, L"PCI Card 3");
    EXPECT_EQ(cards[0].name, L"PCI Card 3");
    EXPECT_EQ(cards[0].description, L"PCI Card 3");
    EXPECT_EQ(cards[0].elementName, L"PCI Card 3");
    EXPECT_THAT(cards[0].vendorCompatibilityStrings, ElementsAre(L"VKQ:PCICard"));
    EXPECT_EQ(cards[0].packageType, 9);
    EXPECT_FALSE(cards[0].hostingBoard);
}

TEST_F(CVelkPCICardListTest, AllFunctionsInASlotAreOneCardInOrderOfFirstOccurrence) {
    for (const DWORD slot : {5u, 3u, 5u, 0u, 3u, 1u}) AddFunction(slot);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 5", 0), Pair(L"PCI Card 3", 0), Pair(L"PCI Card 1", 0)));
}

TEST_F(CVelkPCICardListTest, NumbersBelowOneMakeNoCard) {
    for (const DWORD slot : {0u, 0x80000000u, 0xFFFFFFFFu}) AddFunction(slot);
    EXPECT_THAT(Cards(), IsEmpty());
    AddFunction(0x7FFFFFFF);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 2147483647", 0)));
}

TEST_F(CVelkPCICardListTest, BridgesMakeNoCard) {
    AddBridge(2);
    EXPECT_THAT(Cards(), IsEmpty());
}

TEST_F(CVelkPCICardListTest, TheBusLayoutFollowsTheSlotsStructure) {
    EXPECT_EQ(LayoutOf(0x12, 0x05), 17);
    EXPECT_EQ(LayoutOf(0x0E, 0x05), 16);
    EXPECT_EQ(LayoutOf(0x06, 0x05), 16);
    EXPECT_EQ(LayoutOf(0xA5, 0x0B), 22) << "x8";
    EXPECT_EQ(LayoutOf(0xA5, 0x0C), 17) << "x12";
    EXPECT_EQ(LayoutOf(0x03, 0x05), 0);
    EXPECT_EQ(LayoutOf(0xB1, 0x0D), 0) << "a known slot of an unlisted type is unknown, not the card before";
}

TEST_F(CVelkPCICardListTest, ModernSlotTypesHaveABusLayoutWhileTheSettingIsOn) {
    SetModernSlotTypes(1);
    EXPECT_EQ(LayoutOf(0xB1, 0x0D), 23);
    EXPECT_EQ(LayoutOf(0xB7, 0x0D), 0) << "reserved";
    EXPECT_EQ(LayoutOf(0xBD, 0x0D), 23);
    EXPECT_EQ(LayoutOf(0xC3, 0x0C), 17) << "x12";
    EXPECT_EQ(LayoutOf(0xC4, 0x0A), 21);
    EXPECT_EQ(LayoutOf(0xC5, 0x0A), 0) << "a drive bay";
    SetModernSlotTypes(0);
    EXPECT_EQ(LayoutOf(0xBD, 0x0D), 0);
}

TEST_F(CVelkPCICardListTest, ASlotWithoutStructureTakesThePreviousCardsLayout) {
    ServeSlots({{.id = 2, .width = 0x0A}, {.id = 4, .width = 0x08}});
    for (const DWORD slot : {7u, 2u, 8u, 4u, 9u}) AddFunction(slot);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 7", 0), Pair(L"PCI Card 2", 21), Pair(L"PCI Card 8", 21),
                                     Pair(L"PCI Card 4", 19), Pair(L"PCI Card 9", 19)));
    EXPECT_THAT(Cards().at(0), Pair(L"PCI Card 7", 0)) << "nor does a rebuild take over from the one before";
}

TEST_F(CVelkPCICardListTest, TheFirstStructureWithTheNumberDecides) {
    ServeSlots({{.id = 1, .type = 0x06}, {.id = 1, .type = 0x12}});
    AddFunction(1);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 1", 16)));
}

TEST_F(CVelkPCICardListTest, ANumberBeyondSixteenBitsMatchesNoStructure) {
    ServeSlots({{.id = 1, .type = 0x06}});
    AddFunction(0x10001);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 65537", 0)));
}

TEST_F(CVelkPCICardListTest, TheLargestSlotIdMatchesItsNumber) {
    ServeSlots({{.id = 0xFFFF, .type = 0x06}});
    AddFunction(0xFFFF);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 65535", 16)));
}

TEST_F(CVelkPCICardListTest, ReadsTheTableOnlyForACard) {
    velktest::ServeSmbios(wmi, velktest::TableOfSlots({{.id = 1}}));
    AddFunction(0);
    EXPECT_THAT(Cards(), IsEmpty());
    EXPECT_FALSE(Smbios().IsLoaded());
    AddFunction(1);
    EXPECT_THAT(Cards(), ElementsAre(Pair(L"PCI Card 1", 23)));
    EXPECT_TRUE(Smbios().IsLoaded());
}

TEST_F(CVelkPCICardListTest, EachNewCardAsksForTheTableAgainWhileNoneIsLoaded) {
    const auto& queries = wmi.Namespace(L"root\\wmi").queries;
    for (const DWORD slot : {1u, 2u, 2u, 0x10001u}) AddFunction(slot);
    EXPECT_EQ(Cards().size(), 3u);
    EXPECT_EQ(queries.size(), 3u) << "one load for each card, none of which succeeds";

    velktest::ServeSmbios(wmi, velktest::TableOfSlots({{.id = 1}, {.id = 2}}));
    EXPECT_EQ(Cards().size(), 3u);
    EXPECT_EQ(queries.size(), 4u) << "once loaded, the table is kept";
}

TEST_F(CVelkPCICardListTest, FailsWhenTheFunctionListFails) {
    AddFunction(1);
    EXPECT_EQ(Rebuilt(list).size(), 1u);
    Machine().names = {};
    EXPECT_EQ(list.RebuildAndStamp(), 0u);
    Machine().names.netbios = L"SRV01";
    EXPECT_EQ(list.RebuildAndStamp(), 2u);
    EXPECT_EQ(list.Count(), 1u);
}

class CVelkPCICardProvTest : public velktest::SlotsBench {
  protected:
    ComPtr<CVelkPCICardProv> Provider() { return Initialized<CVelkPCICardProv>(L"Velk_PCICard"); }
};

TEST_F(CVelkPCICardProvTest, WritesThePropertiesInTheirOrder) {
    ServeSlots({{.id = 3, .width = 0x0B}});
    AddFunction(3);
    const auto provider = Provider();
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemNoError);
    ASSERT_EQ(Delivered().size(), 1u);
    const auto& card = *Delivered()[0];
    EXPECT_THAT(card.puts,
                ElementsAre(L"CreationClassName", L"Tag", L"Caption", L"Name", L"Description", L"ElementName",
                            L"VendorCompatibilityStrings", L"PackageType", L"HostingBoard", L"BusLayout"));
    EXPECT_EQ(card.Text(L"CreationClassName"), L"Velk_PCICard");
    EXPECT_EQ(card.Text(L"Tag"), L"PCI Card 3");
    EXPECT_EQ(card.Text(L"ElementName"), L"PCI Card 3");
    EXPECT_THAT(Texts(card.Find(L"VendorCompatibilityStrings")), ElementsAre(L"VKQ:PCICard"));
    EXPECT_EQ(Number(card.Find(L"PackageType")), 9);
    EXPECT_EQ(Number(card.Find(L"HostingBoard"), VT_BOOL), 0);
    EXPECT_EQ(Number(card.Find(L"BusLayout")), 22);
}

TEST_F(CVelkPCICardProvTest, AFailingWriteFailsTheFill) {
    const auto provider = Provider();
    const auto instance = velktest::FakeClassObject::Make();
    instance->FailPut(L"Caption", E_ACCESSDENIED);
    EXPECT_EQ(provider->FillInstance(instance.Get(), CVelkPCICard{}), kWbemFailed);
    EXPECT_THAT(instance->puts, ElementsAre(L"CreationClassName", L"Tag"));
}

TEST_F(CVelkPCICardProvTest, FindsACardByBothKeysExactly) {
    AddFunction(3);
    const auto provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"PCI Card 3\""),
              kWbemNoError);
    ASSERT_EQ(Delivered().size(), 1u);
    EXPECT_EQ(Delivered()[0]->Text(L"Tag"), L"PCI Card 3");
    EXPECT_EQ(Get(*provider.Get(), L"Velk_PCICard.creationclassname=\"Velk_PCICard\",TAG=\"PCI Card 3\""),
              kWbemNoError);
    for (const wchar_t* path : {L"Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"pci card 3\"",
                                L"Velk_PCICard.CreationClassName=\"velk_pcicard\",Tag=\"PCI Card 3\"",
                                L"Velk_PCICard.Tag=\"PCI Card 3\"",
                                L"Velk_PCICard.CreationClassName=\"Velk_PCICard\",Tag=\"PCI Card 4\""}) {
        EXPECT_EQ(Get(*provider.Get(), path), kWbemNotFound) << path;
    }
}

TEST_F(CVelkPCICardProvTest, AFailedRebuildReachesTheSinkAsFailure) {
    AddFunction(3);
    const auto provider = Provider();
    Machine().names = {};
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(velktest::RecordingSink::Status{0, kWbemFailed}));
}

}  // namespace
}  // namespace velk
