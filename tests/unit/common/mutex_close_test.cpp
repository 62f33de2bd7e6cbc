// What the locks close when they are destroyed.

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "common/common_log.h"
#include "common/handle.h"
#include "common/mutex.h"
#include "common/mutex_fixture.h"
#include "common/text.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

using velktest::CMutexTest;
using velktest::StandIn;

static_assert(std::has_virtual_destructor_v<CMutex>);

TEST_F(CMutexTest, DestructorClosesTheHandle) {
    mutex_->SetName(L"VelkTestProv");
    mutex_->Create();
    mutex_.reset();
    EXPECT_FALSE(OpenMutex(L"Global\\wmi_VelkTestProv"));
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
