#include "common/mutex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

#include "common/common_log.h"
#include "support/child_process.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

using velktest::BecomesSignalled;
using velktest::OpenSharedEvent;
using velktest::StandIn;

constexpr char kErrorLine[] =
    " [03/07/2026 09:05:02:004] [Error] - Mutex::CreateSemaphore(Mutex) failed.  Last error:  ";

/// Locks that report to a legacy log of the test's own.
class CMutexTest : public ::testing::Test {
  protected:
    CMutexTest() {
        registry_.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", temp_.Path(L"legacy.log"));
        mutex_.emplace();
    }

    std::string Written() const { return velktest::ReadBytes(temp_.Path(L"legacy.log")); }
    static std::string ErrorLine(DWORD error) { return kErrorLine + std::to_string(error) + "\r\n"; }
    static UniqueHandle OpenMutex(const wchar_t* name) {
        return UniqueHandle(::OpenMutexW(MUTEX_ALL_ACCESS, FALSE, name));
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder temp_;
    velktest::FixedLocalTime time_;
    std::optional<CMutex> mutex_;
};

static_assert(std::has_virtual_destructor_v<CMutex>);

/// Runs a function on a thread of its own, to its end.
template <class Function>
void OnAnotherThread(Function function) {
    const auto run = [](void* argument) -> DWORD {
        (*static_cast<Function*>(argument))();
        return 0;
    };
    const UniqueHandle thread(::CreateThread(nullptr, 0, run, &function, 0, nullptr));
    ASSERT_TRUE(BecomesSignalled(thread.Get()));
}

DWORD TryToTake(HANDLE mutex) {
    DWORD result = WAIT_FAILED;
    OnAnotherThread([&] {
        result = ::WaitForSingleObject(mutex, 0);
        if (result == WAIT_OBJECT_0) ::ReleaseMutex(mutex);
    });
    return result;
}

TEST_F(CMutexTest, IsMadeAtTheFirstLockUnderItsGlobalName) {
    mutex_->SetName(L"VelkTestProv");
    EXPECT_FALSE(OpenMutex(L"Global\\wmi_VelkTestProv")) << "SetName does not make it";
    mutex_->Lock();
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkTestProv");
    ASSERT_TRUE(opened);
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_TIMEOUT});
    mutex_->Unlock();
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, CreateMakesItUnownedAndOnce) {
    mutex_->SetName(L"VelkTestProv");
    EXPECT_TRUE(mutex_->Create());
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkTestProv");
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
    mutex_->SetName(L"VelkOtherProv");
    EXPECT_TRUE(mutex_->Create());
    EXPECT_FALSE(OpenMutex(L"Global\\wmi_VelkOtherProv"));
}

TEST_F(CMutexTest, DestructorClosesTheHandle) {
    mutex_->SetName(L"VelkTestProv");
    mutex_->Create();
    mutex_.reset();
    EXPECT_FALSE(OpenMutex(L"Global\\wmi_VelkTestProv"));
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, IsRecursive) {
    mutex_->SetName(L"VelkTestProv");
    mutex_->Lock();
    mutex_->Lock();
    mutex_->Unlock();
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkTestProv");
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_TIMEOUT});
    mutex_->Unlock();
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
}

TEST_F(CMutexTest, GuardHoldsItFromConstructionToDestruction) {
    mutex_->SetName(L"VelkTestProv");
    mutex_->Create();
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkTestProv");
    {
        const CMutexLock lock(*mutex_);
        EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_TIMEOUT});
    }
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
}

TEST_F(CMutexTest, UnnamedOnesAreIndependent) {
    CMutex other;
    mutex_->Lock();
    OnAnotherThread([&] {
        other.Lock();
        other.Unlock();
    });
    mutex_->Unlock();
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, UnnamedOneExcludesOtherThreads) {
    struct {
        CMutex* mutex;
        int count;
    } shared = {&*mutex_, 0};
    const auto run = [](void* argument) -> DWORD {
        auto& counted = *static_cast<decltype(shared)*>(argument);
        for (int i = 0; i < 200; ++i) {
            const CMutexLock lock(*counted.mutex);
            const int seen = counted.count;
            ::SwitchToThread();
            counted.count = seen + 1;
        }
        return 0;
    };
    {
        const UniqueHandle first(::CreateThread(nullptr, 0, run, &shared, 0, nullptr));
        const UniqueHandle second(::CreateThread(nullptr, 0, run, &shared, 0, nullptr));
        ASSERT_TRUE(BecomesSignalled(first.Get()));
        ASSERT_TRUE(BecomesSignalled(second.Get()));
    }
    EXPECT_EQ(shared.count, 400);
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, UnlockOfANeverLockedOneDoesNothing) {
    mutex_->Unlock();
    EXPECT_EQ(Written(), "");
}

int closes = 0;
decltype(&::CloseHandle) realCloseHandle = nullptr;
BOOL WINAPI CountClose(HANDLE handle) {
    ++closes;
    return realCloseHandle(handle);
}

TEST_F(CMutexTest, DestroyingANeverLockedOneClosesNoMutexAndWritesNothing) {
    const StandIn close("CloseHandle", &CountClose);
    realCloseHandle = close.Original<decltype(&::CloseHandle)>();
    closes = 0;
    mutex_.reset();
    EXPECT_EQ(closes, 1) << "the semaphore of its log";
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, UnlockByANonOwnerWritesTheErrorLine) {
    mutex_->Lock();
    OnAnotherThread([&] { mutex_->Unlock(); });
    EXPECT_EQ(Written(), ErrorLine(ERROR_NOT_OWNER));
    mutex_->Unlock();
    EXPECT_EQ(Written(), ErrorLine(ERROR_NOT_OWNER));
}

TEST_F(CMutexTest, MutexThatCannotBeMadeWritesTheErrorLineAndDoesNotWait) {
    // An event of the same name.
    const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, L"Global\\wmi_VelkTestProv"));
    mutex_->SetName(L"VelkTestProv");
    EXPECT_FALSE(mutex_->Create());
    EXPECT_EQ(Written(), ErrorLine(ERROR_INVALID_HANDLE));
    mutex_->Lock();
    mutex_->Unlock();
    EXPECT_EQ(Written(), ErrorLine(ERROR_INVALID_HANDLE) + ErrorLine(ERROR_INVALID_HANDLE));
}

TEST_F(CMutexTest, AbandonedOneIsReportedAndHeld) {
    mutex_->SetName(L"VelkTestProv");
    mutex_->Create();
    OnAnotherThread([&] { mutex_->Lock(); });  // the thread ends with the lock
    mutex_->Lock();
    EXPECT_EQ(Written().substr(0, sizeof kErrorLine - 1), kErrorLine);
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkTestProv");
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_TIMEOUT}) << "the caller holds it";
    const std::string written = Written();
    mutex_->Unlock();
    EXPECT_EQ(Written(), written);
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
}

decltype(&::WaitForSingleObject) realWait = nullptr;
DWORD WINAPI FailToWait(HANDLE object, DWORD timeout) {
    // The log's own wait, which has a limit, goes on working.
    if (timeout != INFINITE) return realWait(object, timeout);
    ::SetLastError(ERROR_ACCESS_DENIED);
    return WAIT_FAILED;
}

TEST_F(CMutexTest, FailedWaitWritesTheErrorLine) {
    {
        const StandIn wait("WaitForSingleObject", &FailToWait);
        realWait = wait.Original<decltype(&::WaitForSingleObject)>();
        mutex_->Lock();
    }
    EXPECT_EQ(Written(), ErrorLine(ERROR_ACCESS_DENIED));
}

BOOL WINAPI FailFirstClose(HANDLE handle) {
    if (++closes > 1) return realCloseHandle(handle);
    realCloseHandle(handle);
    ::SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

TEST_F(CMutexTest, FailedCloseWritesTheErrorLine) {
    mutex_->Create();
    {
        const StandIn close("CloseHandle", &FailFirstClose);
        realCloseHandle = close.Original<decltype(&::CloseHandle)>();
        closes = 0;
        mutex_.reset();
    }
    EXPECT_EQ(Written(), ErrorLine(ERROR_INVALID_HANDLE));
}

TEST_F(CMutexTest, LegacyLogThatCannotBeOpenedCostsTheLineOnly) {
    const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, L"Global\\wmi_VelkTestProv"));
    registry_.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", temp_.Path(L"missing\\legacy.log"));
    CMutex silent;
    silent.SetName(L"VelkTestProv");
    silent.Lock();
    silent.Unlock();
    EXPECT_EQ(Written(), "");
}

constexpr wchar_t kChildHolds[] = L"velk-mutex-child-holds";
constexpr wchar_t kChildMayGo[] = L"velk-mutex-child-may-go";

TEST(MutexContender, DISABLED_HoldsTheNamedLock) {
    CMutex mutex;
    mutex.SetName(L"VelkContendedProv");
    const CMutexLock lock(mutex);
    const UniqueHandle holds = OpenSharedEvent(kChildHolds);
    const UniqueHandle mayGo = OpenSharedEvent(kChildMayGo);
    ::SetEvent(holds.Get());
    ASSERT_TRUE(BecomesSignalled(mayGo.Get()));
}

TEST_F(CMutexTest, TwoProcessesExcludeEachOtherByName) {
    const UniqueHandle holds = OpenSharedEvent(kChildHolds);
    const UniqueHandle mayGo = OpenSharedEvent(kChildMayGo);
    velktest::ChildProcess child(L"MutexContender.DISABLED_HoldsTheNamedLock");
    ASSERT_TRUE(BecomesSignalled(holds.Get()));

    // Another class's lock is free.
    CMutex other;
    other.SetName(L"VelkOtherProv");
    other.Lock();
    other.Unlock();

    mutex_->SetName(L"VelkContendedProv");
    const UniqueHandle locked(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    struct {
        CMutex* mutex;
        HANDLE locked;
    } shared = {&*mutex_, locked.Get()};
    const auto run = [](void* argument) -> DWORD {
        auto& waiter = *static_cast<decltype(shared)*>(argument);
        const CMutexLock lock(*waiter.mutex);
        ::SetEvent(waiter.locked);
        return 0;
    };
    const UniqueHandle thread(::CreateThread(nullptr, 0, run, &shared, 0, nullptr));
    EXPECT_EQ(::WaitForSingleObject(locked.Get(), 300), DWORD{WAIT_TIMEOUT});
    ::SetEvent(mayGo.Get());
    EXPECT_TRUE(BecomesSignalled(locked.Get()));
    EXPECT_TRUE(BecomesSignalled(thread.Get()));
    EXPECT_EQ(child.Wait(), 0U);
    EXPECT_EQ(Written(), "");
}

TEST(MutexContender, DISABLED_DiesWithTheNamedLock) {
    CMutex mutex;
    mutex.SetName(L"VelkContendedProv");
    mutex.Lock();
    ::SetEvent(OpenSharedEvent(kChildHolds).Get());
    ::TerminateProcess(::GetCurrentProcess(), 77);
}

TEST_F(CMutexTest, LockOfADeadProcessIsReportedAndHeld) {
    const UniqueHandle holds = OpenSharedEvent(kChildHolds);
    mutex_->SetName(L"VelkContendedProv");
    // Made here first, so that it outlives the other process.
    ASSERT_TRUE(mutex_->Create());
    velktest::ChildProcess child(L"MutexContender.DISABLED_DiesWithTheNamedLock");
    ASSERT_TRUE(BecomesSignalled(holds.Get()));
    EXPECT_EQ(child.Wait(), 77U);
    mutex_->Lock();
    EXPECT_EQ(Written().substr(0, sizeof kErrorLine - 1), kErrorLine);
    mutex_->Unlock();
}

class CCommonMutexTest : public ::testing::Test {
  protected:
    CCommonMutexTest() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", temp_.Path());
        CommonLogObject().Create().LogInit(L"Base", L"Module");
    }
    ~CCommonMutexTest() override { CommonLogObject().Destroy(); }
    CString Written() const { return velktest::ReadWide(temp_.Path(L"Base.log")); }

    velktest::RegistryFixture registry_;
    velktest::TempFolder temp_;
    velktest::FixedLocalTime time_;
};

TEST_F(CCommonMutexTest, ProcessWideOneHasNoHandleAndDoesNothing) {
    const StandIn close("CloseHandle", &CountClose);
    realCloseHandle = close.Original<decltype(&::CloseHandle)>();
    closes = 0;
    CommonMutexObject().Create();
    EXPECT_NE(CommonMutexObject().Get(), nullptr);
    CommonMutexObject().Destroy();
    EXPECT_EQ(closes, 0);
    EXPECT_EQ(Written(), L"");
}

TEST_F(CCommonMutexTest, DestructorClosesItsHandle) {
    { CCommonMutex mutex(::CreateMutexW(nullptr, FALSE, L"velk-common-mutex"), L"velk-common-mutex"); }
    EXPECT_EQ(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, L"velk-common-mutex")).Get(), nullptr);
    EXPECT_EQ(Written(), L"");
}

TEST_F(CCommonMutexTest, FailedCloseIsLogged) {
    { CCommonMutex mutex(reinterpret_cast<HANDLE>(std::uintptr_t{0xBAD0}), L""); }
    EXPECT_EQ(Written(),
              L"03/07/2026 09:05:02.004 [Error] Module!CCommonMutex::~CCommonMutex| CloseHandle failed, "
              L"error=0x00000006.\r\n");
}

}  // namespace
}  // namespace velk
