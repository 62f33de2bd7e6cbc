// What the SMBIOS table holds: its lock, what is done under it, and the memory of its copy.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "smbios/smbios_table.h"
#include "support/hosted/provider_bench.h"
#include "support/smbios_builder.h"
#include "support/usage.h"

namespace velk {
namespace {

using velktest::SmbiosBuilder;
using velktest::StandIn;

class SmbiosTableHoldings : public ::testing::Test {
  protected:
    velktest::LeakCheck leakCheck_;
    velktest::Apartment apartment_;
    velktest::FakeWmi wmi;
    SmbiosTable table;
};

HANDLE g_lock = nullptr;
decltype(&::CreateMutexW) g_createMutex = nullptr;
HANDLE WINAPI RememberLock(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name) {
    return g_lock = g_createMutex(security, owned, name);
}

/// Whether a thread other than the table's present caller could take its lock.
bool LockIsFree() {
    bool free = false;
    std::thread([&] {
        free = ::WaitForSingleObject(g_lock, 0) == WAIT_OBJECT_0;
        if (free) ::ReleaseMutex(g_lock);
    }).join();
    return free;
}

bool g_freeWhileConverting = true;
decltype(&::MultiByteToWideChar) g_convert = nullptr;
int WINAPI LookAtLock(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide, int size) {
    g_freeWhileConverting = LockIsFree();
    return g_convert(codePage, flags, text, length, wide, size);
}

TEST_F(SmbiosTableHoldings, AStructureIsFoundAndConvertedUnderTheLock) {
    const StandIn<decltype(&RememberLock)> create("CreateMutexW", &RememberLock);
    g_createMutex = create.Original<decltype(g_createMutex)>();
    SmbiosTable locked;
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {}, {"text"}).Table());
    locked.Load();

    const StandIn<decltype(&LookAtLock)> look("MultiByteToWideChar", &LookAtLock);
    g_convert = look.Original<decltype(g_convert)>();
    std::uint8_t length = 0;
    std::vector<CString> strings;
    EXPECT_TRUE(locked.FindStructure(9, 0, nullptr, length, strings));
    EXPECT_FALSE(g_freeWhileConverting);
    EXPECT_TRUE(LockIsFree()) << "given back";
}

HANDLE WINAPI RefuseLock(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR) {
    ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

SmbiosTable* g_loadedBeside = nullptr;
std::thread g_loader;
std::atomic<bool> g_isLoaded = false;
bool g_loadedWhileConverting = false;
int WINAPI LoadBeside(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide, int size) {
    if (!g_loader.joinable()) {
        g_loader = std::thread([] {
            const velktest::Apartment apartment;
            g_loadedBeside->Load();
            g_isLoaded = true;
        });
        ::Sleep(200);
        g_loadedWhileConverting = g_isLoaded;
    }
    return g_convert(codePage, flags, text, length, wide, size);
}

TEST_F(SmbiosTableHoldings, AreLockedAlsoWhereTheSystemHasNoMutexForThem) {
    std::optional<SmbiosTable> locked;
    {
        const StandIn refuse("CreateMutexW", &RefuseLock);
        locked.emplace();
    }
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {}, {"text"}).Table());
    ASSERT_TRUE(locked->Load());
    g_loadedBeside = &*locked;
    g_isLoaded = false;
    {
        const StandIn<decltype(&LoadBeside)> load("MultiByteToWideChar", &LoadBeside);
        g_convert = load.Original<decltype(g_convert)>();
        std::uint8_t length = 0;
        std::vector<CString> strings;
        EXPECT_TRUE(locked->FindStructure(9, 0, nullptr, length, strings));
        EXPECT_THAT(strings, testing::ElementsAre(L"", L"text"));
        g_loader.join();
    }
    EXPECT_FALSE(g_loadedWhileConverting);
    EXPECT_TRUE(g_isLoaded) << "given back";
}

int WINAPI MeasureAlone(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide, int size) {
    return size == 0 ? g_convert(codePage, flags, text, length, wide, size) : 0;
}

TEST_F(SmbiosTableHoldings, AStringThatCannotBeConvertedIsEmpty) {
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(9, {}, {"text"}).Table());
    table.Load();

    const StandIn<decltype(&MeasureAlone)> refuse("MultiByteToWideChar", &MeasureAlone);
    g_convert = refuse.Original<decltype(g_convert)>();
    std::uint8_t length = 0;
    std::vector<CString> strings;
    EXPECT_TRUE(table.FindStructure(9, 0, nullptr, length, strings));
    EXPECT_THAT(strings, testing::ElementsAre(L"", L""));
}

TEST_F(SmbiosTableHoldings, MayBeReadWhileAnotherThreadLoads) {
    velktest::ServeSmbios(wmi, velktest::TableOfSlots({{.id = 1}, {.id = 2}}));
    table.Load();
    std::atomic<bool> done = false;
    std::thread reader([&] {
        const velktest::Apartment apartment;
        while (!done) {
            const std::size_t count = table.ReadSlots()->structures.size();
            if (count != 2) ADD_FAILURE() << "a table in the middle of a load: " << count;
        }
    });
    for (int round = 0; round < 200; ++round) table.Load();
    done = true;
    reader.join();
}

constexpr SIZE_T kTableSize = 6;
void* g_tableMemory = nullptr;
const SmbiosTable* g_table = nullptr;
bool g_loadedMeanwhile = false;
bool g_heldMeanwhile = false;
decltype(&::HeapAlloc) g_allocate = nullptr;
void* WINAPI RememberTable(HANDLE heap, DWORD flags, SIZE_T size) {
    void* const memory = g_allocate(heap, flags, size);
    if (size == kTableSize) {
        g_heldMeanwhile = g_tableMemory != nullptr;
        g_tableMemory = memory;
        g_loadedMeanwhile = g_table->IsLoaded();
    }
    return memory;
}

decltype(&::HeapFree) g_free = nullptr;
BOOL WINAPI ForgetTable(HANDLE heap, DWORD flags, LPVOID memory) {
    if (memory == g_tableMemory) g_tableMemory = nullptr;
    return g_free(heap, flags, memory);
}

TEST_F(SmbiosTableHoldings, ALoadGivesUpTheCopyBeforeFirst) {
    g_table = &table;
    const StandIn<decltype(&RememberTable)> allocate("HeapAlloc", &RememberTable);
    g_allocate = allocate.Original<decltype(g_allocate)>();
    const StandIn<decltype(&ForgetTable)> free("HeapFree", &ForgetTable);
    g_free = free.Original<decltype(g_free)>();
    velktest::ServeSmbios(wmi, SmbiosBuilder().Add(1, {}).Table());
    ASSERT_TRUE(table.Load());
    EXPECT_NE(g_tableMemory, nullptr);
    ASSERT_TRUE(table.Load());
    EXPECT_FALSE(g_heldMeanwhile) << "two tables of 64 KiB at once";
    EXPECT_FALSE(g_loadedMeanwhile) << "a table that is being read again is not loaded";
    wmi.Namespace(L"root\\wmi").Answer(velktest::kRawTableQuery, {});
    EXPECT_FALSE(table.Load());
    EXPECT_EQ(g_tableMemory, nullptr);
}

TEST_F(SmbiosTableHoldings, ItsLockIsClosedWithIt) {
    const DWORD before = velktest::Usage::Now().handles;
    for (int round = 0; round < 10; ++round) SmbiosTable().CountPciSlots();
    EXPECT_EQ(velktest::Usage::Now().handles, before);
}

}  // namespace
}  // namespace velk
