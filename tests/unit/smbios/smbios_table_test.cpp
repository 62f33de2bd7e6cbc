#include "smbios/smbios_table.h"

#include <gmock/gmock.h>

#include "support/fake_driver.h"
#include "support/hosted/provider_bench.h"
#include "support/made_entry_point.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::Bytes;
using velktest::FakeDriver;
using velktest::RawTableObject;
using velktest::SmbiosBuilder;
using velktest::StandIn;
using velktest::TableOfSlots;

class SmbiosTableTest : public ::testing::Test {
  protected:
    /// What FindStructure gives for a capacity.
    struct Found {
        bool found;
        Bytes formatted;
        std::vector<CString> strings;
    };
    Found Find(std::uint8_t type, std::uint16_t occurrence, std::uint8_t capacity = 0xFF) {
        Found result;
        Bytes buffer(capacity);
        std::uint8_t length = capacity;
        result.found = table.FindStructure(type, occurrence, buffer.data(), length, result.strings);
        buffer.resize(length);
        result.formatted = buffer;
        return result;
    }

    velktest::LeakCheck leakCheck_;
    velktest::Apartment apartment_;
    velktest::FakeWmi wmi;
    SmbiosTable table;
};

/// Memory of the process heap has come to an end: the sizes that were asked for in vain.
std::vector<SIZE_T> g_refused;
void* WINAPI NoHeap(HANDLE, DWORD, SIZE_T size) {
    g_refused.push_back(size);
    return nullptr;
}

// Through the health driver.

class SmbiosTableDriverTest : public SmbiosTableTest {
  protected:
    FakeDriver driver;
};

TEST_F(SmbiosTableDriverTest, ReadsTheTableThatTheEntryPointNames) {
    const Bytes bytes = TableOfSlots({{.id = 3}, {.id = 4, .type = 0x06}});
    driver.PutTable(bytes);
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_TRUE(table.Load());
    EXPECT_TRUE(table.IsLoaded());
    EXPECT_EQ(table.CountPciSlots(), 2u);

    using Read = FakeDriver::Read;
    EXPECT_THAT(driver.reads,
                ElementsAre(Read{0xF0000, 0x10000}, Read{0xE1234, static_cast<std::uint32_t>(bytes.size())}));
    EXPECT_TRUE(driver.plainCalls);
}

TEST_F(SmbiosTableDriverTest, OpensTheDeviceForEachRequestAndClosesItRightAfter) {
    driver.PutTable(TableOfSlots({{}}));
    EXPECT_TRUE(table.Load());
    EXPECT_EQ(driver.opened, 3) << "to see whether it is there, and once for each read";
    EXPECT_TRUE(driver.AllClosed());
}

TEST_F(SmbiosTableDriverTest, APresentDriverIsAuthoritativeAlsoWhenItFails) {
    velktest::ServeSmbios(wmi, TableOfSlots({{}}));
    EXPECT_FALSE(table.Load()) << "no entry point in memory";
    driver.Fail(0xF0000);
    EXPECT_FALSE(table.Load());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_TRUE(wmi.connections.empty());
    EXPECT_TRUE(driver.AllClosed());
}

TEST_F(SmbiosTableDriverTest, AFailingReadOfTheTableFailsTheLoadWithoutAnotherCandidate) {
    driver.PutTable(TableOfSlots({{}}), 0xF0040);
    driver.Put(0xF0080, velktest::EntryPoint({.tableAddress = 0x2000, .tableLength = 6}));
    driver.Fail(0xE1234);
    EXPECT_FALSE(table.Load());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_FALSE(Find(9, 0).found);
    EXPECT_EQ(driver.reads.size(), 2u);
}

TEST_F(SmbiosTableDriverTest, AFailedLoadIsTriedAgainAtTheNextNeed) {
    EXPECT_EQ(table.CountPciSlots(), 0u);
    driver.PutTable(TableOfSlots({{}}));
    EXPECT_EQ(table.CountPciSlots(), 1u);
    const std::size_t reads = driver.reads.size();
    EXPECT_EQ(table.CountPciSlots(), 1u);
    EXPECT_EQ(driver.reads.size(), reads) << "read once, then kept";
}

TEST_F(SmbiosTableDriverTest, ASecondLoadDiscardsTheHeldCopy) {
    driver.PutTable(TableOfSlots({{}, {}}));
    EXPECT_TRUE(table.Load());
    driver.PutTable(TableOfSlots({{}}));
    EXPECT_TRUE(table.Load());
    EXPECT_EQ(table.CountPciSlots(), 1u);

    driver.Fail(0xF0000);
    EXPECT_FALSE(table.Load());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_FALSE(Find(9, 0).found) << "the old copy is gone, not kept beside the failure";
}

TEST_F(SmbiosTableDriverTest, WithoutMemoryTheLoadFails) {
    driver.PutTable(TableOfSlots({{}}));
    g_refused.clear();
    const StandIn<decltype(&NoHeap)> noHeap("HeapAlloc", &NoHeap);
    EXPECT_FALSE(table.Load());
    EXPECT_THAT(g_refused, ElementsAre(0x10000));
}

TEST_F(SmbiosTableDriverTest, ReadsPhysicalMemoryByOneRequest) {
    driver.Put(0x1000, {1, 2, 3, 4});
    Bytes read(3);
    EXPECT_TRUE(SmbiosTable::ReadPhysical(0x1001, 3, read.data()));
    EXPECT_THAT(read, ElementsAre(2, 3, 4));
    driver.Fail(0x2000);
    EXPECT_FALSE(SmbiosTable::ReadPhysical(0x2000, 3, read.data()));
    driver.present = false;
    EXPECT_FALSE(SmbiosTable::ReadPhysical(0x1001, 3, read.data()));
    EXPECT_TRUE(driver.AllClosed());
}

// Through WMI.

TEST_F(SmbiosTableTest, WithoutTheDriverReadsTheTableOfWmi) {
    velktest::ServeSmbios(wmi, TableOfSlots({{.id = 3}, {.id = 4}}));
    EXPECT_TRUE(table.Load());
    EXPECT_TRUE(table.IsLoaded());
    EXPECT_EQ(table.CountPciSlots(), 2u);
    EXPECT_THAT(wmi.connections, ElementsAre(L"root\\wmi"));
    const auto& calls = wmi.Namespace(L"root\\wmi").nextCalls;
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front().timeout, 30000);
}

TEST_F(SmbiosTableTest, WithoutAnySourceNothingIsLoadedAndNothingFound) {
    EXPECT_FALSE(Find(9, 0).found) << "never loaded";
    EXPECT_FALSE(table.Load());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_EQ(table.CountPciSlots(), 0u);
    EXPECT_FALSE(table.ReadSlots()) << "no table is not a table without slots";
}

TEST_F(SmbiosTableTest, TwoInstancesOrNoneLoadNothing) {
    const auto object = RawTableObject(6, SmbiosBuilder().Add(1, {}).Table());
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {object, object}});
    EXPECT_FALSE(table.Load());
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {});
    EXPECT_FALSE(table.Load());
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.status = E_FAIL, .objects = {object}});
    EXPECT_FALSE(table.Load());
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {object}});
    EXPECT_TRUE(table.Load()) << "the same object alone is good";
}

TEST_F(SmbiosTableTest, AMissingOrZeroSizeLoadsNothing) {
    const auto object = RawTableObject(0, SmbiosBuilder().Add(1, {}).Table());
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {object}});
    EXPECT_FALSE(table.Load());
    object->Set(L"Size", {});
    EXPECT_FALSE(table.Load());
    object->FailGet(L"Size", E_FAIL);
    EXPECT_FALSE(table.Load());
}

TEST_F(SmbiosTableTest, UnreadableTableBytesLoadNothing) {
    const auto object = RawTableObject(6, SmbiosBuilder().Add(9, {}).Table());
    object->FailGet(L"SMBiosData", E_FAIL);
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {object}});
    EXPECT_FALSE(table.Load());
    EXPECT_FALSE(table.IsLoaded());
    EXPECT_FALSE(Find(9, 0).found);
    object->FailGet(L"SMBiosData", S_OK);
    EXPECT_TRUE(table.Load()) << "the next load replaces it";
    EXPECT_TRUE(Find(9, 0).found);
}

TEST_F(SmbiosTableTest, TheSizeSaysHowManyBytesTheTableHas) {
    const Bytes two = SmbiosBuilder().Add(9, {}).Add(9, {}).Table();
    const auto half = RawTableObject(static_cast<LONG>(two.size() / 2), two);
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {half}});
    EXPECT_TRUE(table.Load());
    EXPECT_EQ(table.ReadSlots()->structures.size(), 1u) << "bytes beyond the size are dropped";

    const auto more = RawTableObject(static_cast<LONG>(two.size() + 100), two);
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {more}});
    EXPECT_TRUE(table.Load());
    EXPECT_EQ(table.ReadSlots()->structures.size(), 2u) << "missing bytes are zero";
}

TEST_F(SmbiosTableTest, TheLengthIsKeptInSixteenBits) {
    Bytes large = SmbiosBuilder().Add(9, {}).Add(9, {}).Table();
    const auto object = RawTableObject(static_cast<LONG>(0x10000 + large.size() / 2), large);
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {.objects = {object}});
    EXPECT_TRUE(table.Load());
    EXPECT_EQ(table.ReadSlots()->structures.size(), 1u);
}

TEST_F(SmbiosTableTest, WithoutMemoryForTheTableTheLoadFails) {
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(1, {}).Table());
    g_refused.clear();
    const StandIn<decltype(&NoHeap)> noHeap("HeapAlloc", &NoHeap);
    EXPECT_FALSE(table.Load());
    EXPECT_THAT(g_refused, ElementsAre(6));
}

// What the table answers, whatever its source.

TEST_F(SmbiosTableTest, FindsAStructureWithItsStrings) {
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(1, {}, {"other"}).Add(9, {0xAB}, {"Slot 1", "x"}).Table());
    table.Load();
    const Found found = Find(9, 0);
    EXPECT_TRUE(found.found);
    EXPECT_THAT(found.formatted, ElementsAre(9, 5, 1, 0, 0xAB));
    EXPECT_THAT(found.strings, ElementsAre(L"", L"Slot 1", L"x")) << "string numbers index the list";
    EXPECT_FALSE(Find(9, 1).found);
    EXPECT_FALSE(Find(2, 0).found);
}

TEST_F(SmbiosTableTest, AStructureWithoutStringsHasTheEmptyOneAlone) {
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {}).Table());
    table.Load();
    Found found;
    found.strings = {L"left", L"over"};
    std::uint8_t length = 4;
    Bytes buffer(4);
    EXPECT_TRUE(table.FindStructure(9, 0, buffer.data(), length, found.strings));
    EXPECT_THAT(found.strings, ElementsAre(L""));
}

TEST_F(SmbiosTableTest, CopiesNoMoreThanThereIsRoomForAndReportsHowMuch) {
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {1, 2, 3, 4}).Table());
    table.Load();
    EXPECT_THAT(Find(9, 0, 6).formatted, ElementsAre(9, 8, 0, 0, 1, 2));
    EXPECT_THAT(Find(9, 0, 8).formatted, ElementsAre(9, 8, 0, 0, 1, 2, 3, 4));
    EXPECT_EQ(Find(9, 0, 17).formatted.size(), 8u);
    EXPECT_EQ(Find(9, 0, 0).formatted.size(), 0u);
}

TEST_F(SmbiosTableTest, StringsComeFromTheThreadsAnsiCodePage) {
    // Windows-1252, the code page of the test machines' locale.
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {}, {"Gr\xFC\xDF"}).Table());
    table.Load();
    EXPECT_THAT(Find(9, 0).strings, ElementsAre(L"", L"Gr\u00FC\u00DF"));
}

TEST_F(SmbiosTableTest, CountsPciSlotTypesAlone) {
    const auto count = [&](std::uint8_t type) {
        velktest::ServeSmbios(wmi, TableOfSlots({{.type = type}}));
        table.Load();
        return table.CountPciSlots();
    };
    for (const std::uint8_t type : Bytes{0x06, 0x0E, 0x12, 0xA5, 0xAA, 0xB0}) EXPECT_EQ(count(type), 1u);
    for (const std::uint8_t type : Bytes{0x01, 0x03, 0xA4, 0xB1}) EXPECT_EQ(count(type), 0u);
}

TEST_F(SmbiosTableTest, ALastSlotThatTheTablesEndCutsOffIsCountedAndDecodedFromWhatIsThere) {
    Bytes bytes = SmbiosBuilder().AddSlot({.id = 1}).AddSlot({.id = 0x0203}).Table();
    // Behind the slot type, the width and the low byte of the ID.
    bytes.resize(17 + 2 + 10);
    velktest::ServeSmbios(wmi, bytes);
    table.Load();
    EXPECT_EQ(table.CountPciSlots(), 2u);
    const Found last = Find(9, 1);
    EXPECT_TRUE(last.found);
    EXPECT_EQ(last.formatted, Bytes(bytes.end() - 10, bytes.end()));
    EXPECT_THAT(last.strings, ElementsAre(L""));
}

TEST_F(SmbiosTableTest, CountingLoadsTheTable) {
    velktest::ServeSmbios(wmi, TableOfSlots({{}, {}}));
    EXPECT_EQ(table.CountPciSlots(), 2u);
    EXPECT_TRUE(table.IsLoaded());
}

}  // namespace
}  // namespace velk
