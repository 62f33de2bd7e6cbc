#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>

#include "common/handle.h"
#include "common/mutex.h"
#include "common/platform.h"
#include "support/child_process.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"
#include "support/waiting.h"

namespace velktest {

/// Runs a function on a thread of its own, to its end.
template <class Function>
void OnAnotherThread(Function function) {
    const auto run = [](void* argument) -> DWORD {
        (*static_cast<Function*>(argument))();
        return 0;
    };
    const velk::UniqueHandle thread(::CreateThread(nullptr, 0, run, &function, 0, nullptr));
    ASSERT_TRUE(BecomesSignalled(thread.Get()));
}

/// Lets every wait without a limit fail; the log's own, which has one, goes on working. One at a time.
class FailingWaits {
  public:
    FailingWaits() {
        count_ = 0;
        real_ = redirect_.Original<decltype(&::WaitForSingleObject)>();
    }
    static int Count() { return count_; }

  private:
    static DWORD WINAPI Wait(HANDLE object, DWORD timeout) {
        if (timeout != INFINITE) return real_(object, timeout);
        ++count_;
        ::SetLastError(ERROR_ACCESS_DENIED);
        return WAIT_FAILED;
    }

    static inline std::atomic<int> count_ = 0;
    static inline decltype(&::WaitForSingleObject) real_ = &::WaitForSingleObject;
    StandIn<decltype(&Wait)> redirect_{"WaitForSingleObject", &Wait};
};

/// Locks that report to a legacy log of the test's own.
class CMutexTest : public ::testing::Test {
  protected:
    static constexpr char kErrorLine[] =
        " [03/07/2026 09:05:02:004] [Error] - Mutex::CreateSemaphore(Mutex) failed.  Last error:  ";

    CMutexTest() {
        registry_.SetText(kLegacyLogKey, L"LOGFILENAME", temp_.Path(L"legacy.log"));
        mutex_.emplace();
    }

    std::string Written() const { return ReadBytes(temp_.Path(L"legacy.log")); }
    static std::string ErrorLine(DWORD error) { return kErrorLine + std::to_string(error) + "\r\n"; }
    static velk::UniqueHandle OpenMutex(const wchar_t* name) {
        return velk::UniqueHandle(::OpenMutexW(MUTEX_ALL_ACCESS, FALSE, name));
    }

    RegistryFixture registry_;
    TempFolder temp_;
    FixedLocalTime time_;
    std::optional<velk::CMutex> mutex_;
};

}  // namespace velktest
