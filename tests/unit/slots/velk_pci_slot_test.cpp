#include <gmock/gmock.h>

#include "common/wbem_status.h"
#include "pci/velk_pci_bridge_list.h"
#include "slots/slots_bench.h"
#include "slots/velk_pci_slot_prov.h"
#include "smbios/smbios_table.h"
#include "support/log_capture.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Number;
using velktest::Numbers;
using velktest::Rebuilt;
using velktest::RecordingSink;
using velktest::SmbiosBuilder;
using velktest::Texts;

class CVelkPCISlotListTest : public velktest::SlotsBench {
  protected:
    std::vector<CString> Tags() {
        std::vector<CString> tags;
        for (const CVelkPCISlot& slot : Rebuilt(list)) tags.push_back(slot.tag);
        return tags;
    }
    CVelkPCISlot Only(const SmbiosBuilder::Slot& slot) {
        ServeSlots({slot});
        const auto records = Rebuilt(list);
        EXPECT_EQ(records.size(), 1u);
        return records.empty() ? CVelkPCISlot{} : records.front();
    }

    CVelkPCISlotList list;
};

TEST_F(CVelkPCISlotListTest, NamesASlotByItsNumber) {
    const CVelkPCISlot slot = Only({.id = 7});
    EXPECT_EQ(slot.tag, L"PCI Slot 7");
    EXPECT_EQ(slot.caption, L"PCI Slot 7");
    EXPECT_EQ(slot.description, L"PCI Slot 7");
    EXPECT_EQ(slot.name, L"PCI Slot 7");
    EXPECT_EQ(slot.elementName, L"PCI Slot 7");
    EXPECT_EQ(slot.number, 7);
    EXPECT_THAT(slot.vendorCompatibilityStrings, ElementsAre(L"VKQ:PCICard"));
}

TEST_F(CVelkPCISlotListTest, ASlotIdHasSixteenBits) {
    const CVelkPCISlot slot = Only({.id = 0xFFFE});
    EXPECT_EQ(slot.tag, L"PCI Slot 65534");
    EXPECT_EQ(slot.number, 0xFFFE);
}

/// A string-table block whose first two texts, 112 and 113, differ; each is its length and its characters.
LPVOID WINAPI LockTranslatedTexts(HGLOBAL) {
    static wchar_t block[1024] = L"\x0006Tag %d\x0007Name %d";
    return block;
}

TEST_F(CVelkPCISlotListTest, TagAndNameAreTranslatedApart) {
    const velktest::StandIn<decltype(&LockTranslatedTexts)> texts("LockResource", &LockTranslatedTexts);
    const CVelkPCISlot named = Only({.id = 7});
    EXPECT_EQ(named.tag, L"Tag 7");
    EXPECT_EQ(named.caption, L"Tag 7");
    EXPECT_EQ(named.description, L"Tag 7");
    EXPECT_EQ(named.name, L"Name 7");
    EXPECT_EQ(named.elementName, L"Name 7");
}

TEST_F(CVelkPCISlotListTest, GapsInSlotIdsAreSkipped) {
    ServeSlots({{.id = 1}, {.id = 2}, {.id = 5}, {.id = 6}});
    EXPECT_THAT(Tags(), ElementsAre(L"PCI Slot 1", L"PCI Slot 2", L"PCI Slot 5", L"PCI Slot 6"));
}

TEST_F(CVelkPCISlotListTest, WithoutATableOrPciSlotsTheListIsAnEmptySuccess) {
    EXPECT_THAT(Rebuilt(list), IsEmpty());
    ServeSlots({{.id = 1, .type = 0x03}});
    EXPECT_THAT(Rebuilt(list), IsEmpty());
}

TEST_F(CVelkPCISlotListTest, MapsTheSlotType) {
    struct Row {
        std::uint8_t type;
        const wchar_t* pinout;
        const wchar_t* other;
        std::uint16_t connectorType;
        std::uint16_t layout;
    };
    for (const Row& row : {Row{0x12, L"PCI-X", L"", 98, 17}, Row{0x0E, L"PCI-66", L"", 80, 16},
                           Row{0x06, L"PCI", L"", 43, 16}, Row{0xA5, L"PCI Express", L"PCI Express", 1, 23},
                           Row{0xB0, L"PCI Express", L"PCI Express", 1, 23}}) {
        const CVelkPCISlot slot = Only({.type = row.type, .width = 0x0D});
        EXPECT_EQ(slot.connectorPinout, row.pinout);
        EXPECT_EQ(slot.otherTypeDescription, row.other);
        EXPECT_THAT(slot.connectorType, ElementsAre(row.connectorType));
        EXPECT_EQ(slot.connectorLayout, row.layout);
    }
}

TEST_F(CVelkPCISlotListTest, ModernSlotTypesAreSlotsWhileTheSettingIsOn) {
    ServeSlots({{.id = 1, .type = 0xB6, .width = 0x0D},    // generation 3 x16
                {.id = 2, .type = 0xB7},                   // reserved
                {.id = 3, .type = 0xBC, .width = 0x0B},    // generation 4 x8
                {.id = 4, .type = 0xC6, .width = 0x0A},    // a drive bay
                {.id = 5, .type = 0xC4, .width = 0x0C}});  // generation 6, x12
    EXPECT_THAT(Tags(), IsEmpty());

    SetModernSlotTypes(1);
    // The reserved type has the second number: as always, it takes the place of a later slot.
    EXPECT_THAT(Tags(), ElementsAre(L"PCI Slot 1", L"PCI Slot 2", L"PCI Slot 3"));
    const auto records = Rebuilt(list);
    EXPECT_EQ(records[0].connectorPinout, L"PCI Express");
    EXPECT_EQ(records[0].otherTypeDescription, L"PCI Express");
    EXPECT_THAT(records[0].connectorType, ElementsAre(1));
    EXPECT_EQ(records[0].connectorLayout, 23);
    EXPECT_EQ(records[1].connectorPinout, L"");
    EXPECT_EQ(records[1].otherTypeDescription, L"");
    EXPECT_EQ(records[1].connectorLayout, 0);
    EXPECT_EQ(records[2].connectorLayout, 22);
    ServeSlots({{.id = 5, .type = 0xC4, .width = 0x0C}});
    EXPECT_EQ(Rebuilt(list).at(0).connectorLayout, 18);

    SetModernSlotTypes(0);
    EXPECT_THAT(Tags(), IsEmpty());
}

TEST_F(CVelkPCISlotListTest, AnX12SlotIsPlainPciExpress) {
    EXPECT_EQ(Only({.width = 0x0C}).connectorLayout, 18);
}

TEST_F(CVelkPCISlotListTest, AMatchingStructureOfAnotherTypeIsPublishedToo) {
    ServeSlots({{.id = 1, .type = 0x03}, {.id = 2}});
    const auto records = Rebuilt(list);
    ASSERT_EQ(records.size(), 1u) << "as many as there are PCI slots";
    EXPECT_EQ(records[0].tag, L"PCI Slot 1");
    EXPECT_THAT(records[0].connectorType, ElementsAre(1));
    EXPECT_EQ(records[0].connectorLayout, 0);
    EXPECT_EQ(records[0].connectorPinout, L"");
    EXPECT_EQ(records[0].otherTypeDescription, L"");
}

int g_waits = 0;
decltype(&::WaitForSingleObject) g_realWait = nullptr;
DWORD WINAPI CountWait(HANDLE object, DWORD timeout) {
    ++g_waits;
    return g_realWait(object, timeout);
}

TEST_F(CVelkPCISlotListTest, AZeroSlotIdIsFoundAt65536WithoutAskingForTheNumbersBelow) {
    ServeSlots({{.id = 0}, {.id = 1}, {.id = 1}});
    g_waits = 0;
    const velktest::StandIn wait("WaitForSingleObject", &CountWait);
    g_realWait = wait.Original<decltype(&::WaitForSingleObject)>();
    const auto records = Rebuilt(list);
    EXPECT_GT(g_waits, 0) << "each look into the table takes its lock";
    EXPECT_LT(g_waits, 100);
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].tag, L"PCI Slot 65536");
    EXPECT_EQ(records[1].number, 0) << "the number has 16 bits, the tag has not";
    EXPECT_EQ(records[2].tag, L"PCI Slot 65537");
    EXPECT_EQ(records[2].number, 1);
}

TEST_F(CVelkPCISlotListTest, ASlotWithoutHotPlugIsAlwaysPowered) {
    const CVelkPCISlot slot = Only({.hotPlug = false});
    EXPECT_FALSE(slot.supportsHotPlug);
    EXPECT_TRUE(slot.poweredOn);
}

TEST_F(CVelkPCISlotListTest, AHotPlugSlotIsPoweredWhenABridgeReportsItsNumber) {
    ServeSlots({{.id = 3, .hotPlug = true}, {.id = 4, .hotPlug = true}});
    AddBridge(3);
    AddFunction(4);  // not a bridge: does not count
    EXPECT_NE(PciBridgeList().RebuildAndStamp(), 0u);
    const auto records = Rebuilt(list);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].supportsHotPlug);
    EXPECT_TRUE(records[0].poweredOn);
    EXPECT_TRUE(records[1].supportsHotPlug);
    EXPECT_FALSE(records[1].poweredOn);
}

TEST_F(CVelkPCISlotListTest, TheBridgesNumberCountsInAllItsBits) {
    ServeSlots({{.id = 0x103, .hotPlug = true}, {.id = 0x204, .hotPlug = true}});
    AddBridge(0x103);
    AddBridge(4);
    EXPECT_NE(PciBridgeList().RebuildAndStamp(), 0u);
    const auto records = Rebuilt(list);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].poweredOn);
    EXPECT_FALSE(records[1].poweredOn);
}

TEST_F(CVelkPCISlotListTest, BeforeTheFirstBridgeEnumerationNoHotPlugSlotIsPowered) {
    AddBridge(3);
    EXPECT_FALSE(Only({.id = 3, .hotPlug = true}).poweredOn);
    EXPECT_EQ(PciBridgeList().Count(), 0u) << "the slot list does not enumerate bridges itself";
}

/// Holds the bridge list's lock from setting the first of two events until the second is set.
DWORD WINAPI HoldBridgeList(void* parameter) {
    auto* const events = static_cast<HANDLE*>(parameter);
    const CMutexLock lock(PciBridgeList().Mutex());
    ::SetEvent(events[0]);
    ::WaitForSingleObject(events[1], 60000);
    return 0;
}

TEST_F(CVelkPCISlotListTest, DoesNotWaitForTheBridgeList) {
    ServeSlots({{.id = 1}});
    const UniqueHandle held(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle release(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    HANDLE events[] = {held.Get(), release.Get()};
    const UniqueHandle holder(::CreateThread(nullptr, 0, HoldBridgeList, events, 0, nullptr));
    ::WaitForSingleObject(held.Get(), INFINITE);
    EXPECT_EQ(Rebuilt(list).size(), 1u);
    EXPECT_EQ(::WaitForSingleObject(holder.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "still holding it";
    ::SetEvent(release.Get());
    ::WaitForSingleObject(holder.Get(), INFINITE);
}

TEST_F(CVelkPCISlotListTest, LoadsTheTableWhenItIsNeeded) {
    velktest::ServeSmbios(wmi, velktest::TableOfSlots({{.id = 1}}));
    EXPECT_FALSE(Smbios().IsLoaded());
    EXPECT_EQ(Rebuilt(list).size(), 1u);
    EXPECT_TRUE(Smbios().IsLoaded());
}

class CVelkPCISlotProvTest : public velktest::SlotsBench {
  protected:
    ComPtr<CVelkPCISlotProv> Provider() { return Initialized<CVelkPCISlotProv>(L"Velk_PCISlot"); }
};

TEST_F(CVelkPCISlotProvTest, WritesThePropertiesInTheirOrder) {
    ServeSlots({{.id = 3, .type = 0xA5, .width = 0x0D, .hotPlug = true}});
    const auto provider = Provider();
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemNoError);
    ASSERT_EQ(Delivered().size(), 1u);
    const auto& slot = *Delivered()[0];
    EXPECT_THAT(slot.puts, ElementsAre(L"CreationClassName", L"Name", L"ElementName", L"Tag", L"Number",
                                       L"Caption", L"Description", L"ConnectorPinout", L"ConnectorLayout",
                                       L"ConnectorType", L"OtherTypeDescription", L"SupportsHotPlug",
                                       L"PoweredOn", L"VendorCompatibilityStrings"));
    EXPECT_EQ(slot.Text(L"CreationClassName"), L"Velk_PCISlot");
    EXPECT_EQ(slot.Text(L"Tag"), L"PCI Slot 3");
    EXPECT_EQ(slot.Text(L"Name"), L"PCI Slot 3");
    EXPECT_EQ(Number(slot.Find(L"Number")), 3);
    EXPECT_EQ(Number(slot.Find(L"ConnectorLayout")), 23);
    EXPECT_THAT(Numbers(slot.Find(L"ConnectorType")), ElementsAre(1));
    EXPECT_EQ(slot.Text(L"ConnectorPinout"), L"PCI Express");
    EXPECT_EQ(slot.Text(L"OtherTypeDescription"), L"PCI Express");
    EXPECT_EQ(Number(slot.Find(L"SupportsHotPlug"), VT_BOOL), 1);
    EXPECT_EQ(Number(slot.Find(L"PoweredOn"), VT_BOOL), 0);
    EXPECT_THAT(Texts(slot.Find(L"VendorCompatibilityStrings")), ElementsAre(L"VKQ:PCICard"));
}

TEST_F(CVelkPCISlotProvTest, LeavesAnEmptyOtherTypeDescriptionUnset) {
    ServeSlots({{.id = 1, .type = 0x06}});
    const auto provider = Provider();
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemNoError);
    ASSERT_EQ(Delivered().size(), 1u);
    EXPECT_EQ(Delivered()[0]->Find(L"OtherTypeDescription"), nullptr);
    EXPECT_NE(Delivered()[0]->Find(L"PoweredOn"), nullptr);
}

TEST_F(CVelkPCISlotProvTest, AFailingWriteFailsTheFill) {
    ServeSlots({{.id = 1}});
    const auto provider = Provider();
    const auto instance = velktest::FakeClassObject::Make();
    instance->FailPut(L"Tag", E_ACCESSDENIED);
    EXPECT_EQ(provider->FillInstance(instance.Get(), CVelkPCISlot{}), kWbemFailed);
    EXPECT_THAT(instance->puts, ElementsAre(L"CreationClassName", L"Name", L"ElementName"));
}

TEST_F(CVelkPCISlotProvTest, AnEnumerationWithoutSlotsIndicatesNothing) {
    const auto provider = Provider();
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemNoError);
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(RecordingSink::Status{0, kWbemNoError}));
}

TEST_F(CVelkPCISlotProvTest, FindsASlotByItsTagAlone) {
    ServeSlots({{.id = 1}, {.id = 2}});
    const auto provider = Provider();
    for (const wchar_t* path : {L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 2\"",
                                L"Velk_PCISlot.CreationClassName=\"anything\",Tag=\"PCI Slot 2\"",
                                L"velk_pcislot.tag=\"PCI Slot 2\""}) {
        EXPECT_EQ(Get(*provider.Get(), path), kWbemNoError) << path;
        ASSERT_EQ(Delivered().size(), 1u);
        EXPECT_EQ(Number(Delivered()[0]->Find(L"Number")), 2);
    }
}

TEST_F(CVelkPCISlotProvTest, TheTagIsComparedExactly) {
    ServeSlots({{.id = 1}});
    const auto provider = Provider();
    for (const wchar_t* path : {L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"pci slot 1\"",
                                L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 2\"",
                                L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\""}) {
        EXPECT_EQ(Get(*provider.Get(), path), kWbemNotFound) << path;
        EXPECT_THAT(sink->statuses, IsEmpty());
    }
}

TEST_F(CVelkPCISlotProvTest, LogsUnderItsOwnName) {
    ServeSlots({{.id = 1}, {.id = 2}});
    const auto provider = Provider();
    const velktest::LogCapture log;
    Enumerate(*provider.Get());
    EXPECT_THAT(log.Lines(), Contains(::testing::HasSubstr(L"CVelkPCISlotProv::CreateInstanceEnumAsync")));
    EXPECT_THAT(log.Lines(), Contains(::testing::HasSubstr(L"CVelkPCISlotProv::FillInstance")));
    EXPECT_THAT(log.Lines(), Contains(::testing::HasSubstr(L"Returning 2 instances")));
}

}  // namespace
}  // namespace velk
