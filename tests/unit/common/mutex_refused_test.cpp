// What a lock still does when the system refuses its kernel mutex.

#include <gtest/gtest.h>

#include <atomic>

#include "common/handle.h"
#include "common/mutex.h"
#include "common/mutex_fixture.h"
#include "support/child_process.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using velktest::BecomesSignalled;
using velktest::CMutexTest;
using velktest::OnAnotherThread;
using velktest::StandIn;

constexpr wchar_t kName[] = L"VelkTestProv";
constexpr wchar_t kFullName[] = L"Global\\wmi_VelkTestProv";

UniqueHandle MakeEvent() { return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)); }

/// The name in the hands of somebody who made another kind of object of it.
UniqueHandle TakeNameWithAnEvent() { return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, kFullName)); }

/// Takes a lock on a thread of its own, and gives it back when told to.
class Holder {
  public:
    explicit Holder(CMutex& mutex)
        : mutex_(mutex), thread_(::CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}
    ~Holder() {
        LetGo();
        BecomesSignalled(thread_.Get());
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    bool Holds(DWORD patience = 60000) const {
        return ::WaitForSingleObject(holds_.Get(), patience) == WAIT_OBJECT_0;
    }
    void LetGo() const { ::SetEvent(mayGo_.Get()); }

  private:
    static DWORD WINAPI Run(void* argument) {
        const auto& self = *static_cast<const Holder*>(argument);
        const CMutexLock lock(self.mutex_);
        ::SetEvent(self.holds_.Get());
        BecomesSignalled(self.mayGo_.Get());
        return 0;
    }

    CMutex& mutex_;
    UniqueHandle holds_ = MakeEvent();
    UniqueHandle mayGo_ = MakeEvent();
    UniqueHandle thread_;
};

/// Milliseconds: long enough for a thread that does not wait.
constexpr DWORD kMoment = 200;

/// Two threads take it in turn, and neither sees the other inside.
void ExpectExclusion(CMutex& mutex) {
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    struct {
        CMutex& mutex;
        std::atomic<int>&inside, &most;
    } shared = {mutex, inside, most};
    const auto run = [](void* argument) -> DWORD {
        auto& [lock, now, highest] = *static_cast<decltype(shared)*>(argument);
        for (int round = 0; round < 20; ++round) {
            const CMutexLock held(lock);
            if (const int seen = ++now; seen > highest) highest = seen;
            ::Sleep(1);
            --now;
        }
        return 0;
    };
    {
        const UniqueHandle first(::CreateThread(nullptr, 0, run, &shared, 0, nullptr));
        const UniqueHandle second(::CreateThread(nullptr, 0, run, &shared, 0, nullptr));
        ASSERT_TRUE(BecomesSignalled(first.Get()));
        ASSERT_TRUE(BecomesSignalled(second.Get()));
    }
    EXPECT_EQ(most, 1);
}

TEST_F(CMutexTest, ThreadsExcludeEachOtherThoughTheNameIsAnotherObjects) {
    const UniqueHandle event = TakeNameWithAnEvent();
    mutex_->SetName(kName);
    ExpectExclusion(*mutex_);
    EXPECT_EQ(Written().substr(0, ErrorLine(ERROR_INVALID_HANDLE).size()), ErrorLine(ERROR_INVALID_HANDLE));
}

HANDLE WINAPI DenyMutex(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

TEST_F(CMutexTest, ThreadsExcludeEachOtherThoughAccessIsDenied) {
    const StandIn create("CreateMutexW", &DenyMutex);
    mutex_->SetName(kName);
    ExpectExclusion(*mutex_);
    EXPECT_EQ(Written().substr(0, ErrorLine(ERROR_ACCESS_DENIED).size()), ErrorLine(ERROR_ACCESS_DENIED));
}

TEST_F(CMutexTest, ThreadsExcludeEachOtherThoughAnUnnamedOneCannotBeMade) {
    const StandIn create("CreateMutexW", &DenyMutex);
    ExpectExclusion(*mutex_);
}

TEST_F(CMutexTest, ThreadsExcludeEachOtherThoughTheWaitFails) {
    const velktest::FailingWaits failing;
    ExpectExclusion(*mutex_);
    EXPECT_GT(failing.Count(), 0);
}

TEST_F(CMutexTest, WithoutItsMutexItIsRecursiveAllTheSame) {
    const UniqueHandle event = TakeNameWithAnEvent();
    mutex_->SetName(kName);
    mutex_->Lock();
    mutex_->Lock();
    mutex_->Unlock();
    {
        const Holder other(*mutex_);
        EXPECT_FALSE(other.Holds(kMoment)) << "given back once too early";
        mutex_->Unlock();
        EXPECT_TRUE(other.Holds());
    }
}

TEST_F(CMutexTest, WithoutItsMutexUnlockByANonOwnerReleasesNothing) {
    const UniqueHandle event = TakeNameWithAnEvent();
    mutex_->SetName(kName);
    mutex_->Lock();
    OnAnotherThread([&] { mutex_->Unlock(); });
    {
        const Holder other(*mutex_);
        EXPECT_FALSE(other.Holds(kMoment));
        mutex_->Unlock();
        EXPECT_TRUE(other.Holds());
    }
}

TEST_F(CMutexTest, AThreadThatGoesOnWithoutTheMutexExcludesOneThatGotIt) {
    UniqueHandle event = TakeNameWithAnEvent();
    mutex_->SetName(kName);
    mutex_->Lock();
    event.Reset();
    const Holder other(*mutex_);
    EXPECT_FALSE(other.Holds(kMoment));
    // The other one has the mutex by now, and waits for this thread: it must not wait for the other one.
    mutex_->Lock();
    mutex_->Unlock();
    EXPECT_FALSE(other.Holds(kMoment));
    mutex_->Unlock();
    EXPECT_TRUE(other.Holds());
}

TEST_F(CMutexTest, AThreadMayGoFromOneLockToAnotherOfItsNameWhileOthersWaitForThat) {
    CMutex second;
    mutex_->SetName(kName);
    second.SetName(kName);
    mutex_->Lock();
    {
        const Holder other(second);
        EXPECT_FALSE(other.Holds(kMoment)) << "one name is one lock";
        second.Lock();
        second.Unlock();
        mutex_->Unlock();
        EXPECT_TRUE(other.Holds());
    }
    EXPECT_EQ(Written(), "");
}

TEST_F(CMutexTest, AnAbandonedOneExcludesTheThreadsBehindItToo) {
    mutex_->SetName(kName);
    OnAnotherThread([&] {
        mutex_->Lock();
        mutex_->Lock();  // the thread ends with the lock, held twice
    });
    ExpectExclusion(*mutex_);
    mutex_->Lock();
    {
        const Holder other(*mutex_);
        EXPECT_FALSE(other.Holds(kMoment));
        mutex_->Unlock();
        EXPECT_TRUE(other.Holds());
    }
}

}  // namespace
}  // namespace velk
