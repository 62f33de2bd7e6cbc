// The lock of the SMBIOS table: what is done under it, and that it goes with the table.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "smbios/smbios_table.h"
#include "support/provider_bench.h"
#include "support/smbios_builder.h"
#include "support/usage.h"

namespace velk {
namespace {

using velktest::SmbiosBuilder;
using velktest::StandIn;

class SmbiosTableLock : public ::testing::Test {
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

TEST_F(SmbiosTableLock, AStructureIsFoundAndConvertedUnderTheLock) {
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

TEST_F(SmbiosTableLock, MayBeReadWhileAnotherThreadLoads) {
    velktest::ServeSmbios(wmi, TableOfSlots({{.id = 1}, {.id = 2}}));
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

TEST_F(SmbiosTableLock, ItsLockIsClosedWithIt) {
    const DWORD before = velktest::Usage::Now().handles;
    for (int round = 0; round < 10; ++round) SmbiosTable().CountPciSlots();
    EXPECT_EQ(velktest::Usage::Now().handles, before);
}

}  // namespace
}  // namespace velk
