#include "common/function_log.h"

#include <gtest/gtest.h>

#include <new>

#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

class FunctionLogTest : public ::testing::Test {
  protected:
    FunctionLogTest() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", temp_.Path());
        registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 2);
    }
    ~FunctionLogTest() override { CommonLogObject().Destroy(); }

    CString Written() const { return velktest::ReadWide(temp_.Path(L"Base.log")); }

    velktest::RegistryFixture registry_;
    velktest::TempFolder temp_;
    velktest::FixedLocalTime time_;
};

TEST_F(FunctionLogTest, IsSilentWithoutLog) {
    EXPECT_EQ(CommonLog(), nullptr);
    FunctionLog(L"Class", L"Method").Error(L"lost");
    EXPECT_FALSE(velktest::FileExists(temp_.Path(L"Base.log")));
}

TEST_F(FunctionLogTest, IsSilentBeforeInit) {
    CommonLogObject().Create();
    FunctionLog(L"Class", L"Method").Error(L"lost");
    CommonLog()->LogInit(L"Base", L"Module");
    EXPECT_EQ(Written().find(L"lost"), CString::npos);
}

TEST_F(FunctionLogTest, JoinsClassAndMethodWithTwoColons) {
    CommonLogObject().Create().LogInit(L"Base", L"Module");
    velktest::WriteBytes(temp_.Path(L"Base.log"), "");
    const FunctionLog log(L"Class", L"Method");
    log.Verbose(L"Entering");
    log.Information(L"Returning %d instances", 3);
    log.Error(L"Cannot return instances");
    EXPECT_EQ(Written(),
              L"03/07/2026 09:05:02.004 [Verbose] Module!Class::Method| Entering\r\n"
              L"03/07/2026 09:05:02.004 [Information] Module!Class::Method| Returning 3 instances\r\n"
              L"03/07/2026 09:05:02.004 [Error] Module!Class::Method| Cannot return instances\r\n");
}

TEST_F(FunctionLogTest, KeepsTheLastError) {
    CommonLogObject().Create().LogInit(L"Base", L"Module");
    ::SetLastError(4711);
    FunctionLog(L"Class", L"Method").Error(L"e");
    EXPECT_EQ(::GetLastError(), 4711U);
}

int* theWaits = nullptr;
DWORD WINAPI CountWait(HANDLE handle, DWORD milliseconds) {
    ++*theWaits;
    return ::WaitForSingleObjectEx(handle, milliseconds, FALSE);
}

void WINAPI Throw(SYSTEMTIME*) { throw std::bad_alloc(); }

TEST_F(FunctionLogTest, SwallowsExceptionsAndReleasesTheMutex) {
    CommonLogObject().Create().LogInit(L"Base", L"Module");
    {
        // Stands for any step of writing that runs out of memory.
        const velktest::StandIn time("GetLocalTime", &Throw);
        FunctionLog(L"Class", L"Method").Error(L"lost");
    }
    // A mutex still held by this thread could be released once more.
    EXPECT_FALSE(::ReleaseMutex(CommonLog()->LocalMutex()));
}

TEST_F(FunctionLogTest, ALineThatTheLevelKeepsBackDoesNotQueueBehindOthers) {
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 3);
    CommonLogObject().Create().LogInit(L"Base", L"Module");
    int waits = 0;
    theWaits = &waits;
    {
        const velktest::StandIn wait("WaitForSingleObject", &CountWait);
        FunctionLog(L"Class", L"Method").Verbose(L"kept back");
        EXPECT_EQ(waits, 0);
        FunctionLog(L"Class", L"Method").Information(L"written");
        EXPECT_GT(waits, 0);
    }
    EXPECT_EQ(Written(), L"03/07/2026 09:05:02.004 [Information] Module!Class::Method| written\r\n");
}

struct Waiter {
    HANDLE started;
    static DWORD WINAPI Run(void* self) {
        ::SetEvent(static_cast<Waiter*>(self)->started);
        FunctionLog(L"Class", L"Method").Error(L"e");
        return 0;
    }
};

TEST_F(FunctionLogTest, WaitsForTheLogsMutex) {
    CommonLogObject().Create().LogInit(L"Base", L"Module");
    const UniqueHandle started(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    Waiter waiter{started.Get()};
    ::WaitForSingleObject(CommonLog()->LocalMutex(), INFINITE);
    const UniqueHandle thread(::CreateThread(nullptr, 0, &Waiter::Run, &waiter, 0, nullptr));
    ::WaitForSingleObject(started.Get(), INFINITE);
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), 100), DWORD{WAIT_TIMEOUT});
    ::ReleaseMutex(CommonLog()->LocalMutex());
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), 60000), DWORD{WAIT_OBJECT_0});
    EXPECT_NE(Written().find(L"Class::Method| e"), CString::npos);
}

}  // namespace
}  // namespace velk
