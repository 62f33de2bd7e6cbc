#include "common/mutex.h"

#include <gtest/gtest.h>

#include <string>

#include "common/handle.h"
#include "common/mutex_fixture.h"
#include "support/child_process.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using velktest::BecomesSignalled;
using velktest::CMutexTest;
using velktest::OnAnotherThread;
using velktest::OpenSharedEvent;
using velktest::StandIn;

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

TEST_F(CMutexTest, FailedWaitWritesTheErrorLine) {
    {
        const velktest::FailingWaits failing;
        mutex_->Lock();
    }
    EXPECT_EQ(Written(), ErrorLine(ERROR_ACCESS_DENIED));
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
    const UniqueHandle opened = OpenMutex(L"Global\\wmi_VelkContendedProv");
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_TIMEOUT}) << "the caller holds it";
    mutex_->Unlock();
    EXPECT_EQ(TryToTake(opened.Get()), DWORD{WAIT_OBJECT_0});
}

}  // namespace
}  // namespace velk
