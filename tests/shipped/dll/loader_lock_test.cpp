// What hangs with a load of the DLL that waits for the log's mutex: every other load in the process. The wait
// is wanted, since the first line tells that a host took up the DLL.

#include <gtest/gtest.h>

#include "common/handle.h"
#include "common/legacy_log.h"
#include "common/log_paths.h"
#include "support/child_process.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "support/waiting.h"

namespace {

using velk::UniqueHandle;

UniqueHandle MakeEvent() { return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)); }

/// Loads and unloads a library on a thread of its own, once it is told to. The thread is there from the
/// start: it could not begin under the loader lock.
class Loader {
  public:
    explicit Loader(const wchar_t* library)
        : library_(library), thread_(::CreateThread(nullptr, 0, Run, this, 0, nullptr)) {
        EXPECT_TRUE(velktest::BecomesSignalled(ready_.Get()));
    }
    ~Loader() {
        ::SetEvent(go_.Get());
        EXPECT_TRUE(velktest::BecomesSignalled(thread_.Get()));
    }
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    void Start() const { ::SetEvent(go_.Get()); }
    bool HasLoaded(DWORD patience) const {
        return ::WaitForSingleObject(loaded_.Get(), patience) == WAIT_OBJECT_0;
    }

  private:
    static DWORD WINAPI Run(void* argument) {
        const auto& self = *static_cast<const Loader*>(argument);
        ::SetEvent(self.ready_.Get());
        ::WaitForSingleObject(self.go_.Get(), INFINITE);
        const velk::UniqueLibrary library(::LoadLibraryW(self.library_));
        if (library) ::SetEvent(self.loaded_.Get());
        return 0;
    }

    const wchar_t* library_;
    UniqueHandle ready_ = MakeEvent();
    UniqueHandle go_ = MakeEvent();
    UniqueHandle loaded_ = MakeEvent();
    UniqueHandle thread_;
};

constexpr DWORD kMoment = 500;  // milliseconds: long enough for a load that does not wait

/// Whether nobody has the file open: it can be opened for this process alone.
bool IsClosed(const velk::CString& file) {
    return static_cast<bool>(
        velk::UniqueFile(::CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
}

TEST(LoaderLock, ALoadThatWaitsForTheLogHoldsUpEveryOtherLoadAndNothingElse) {
    velktest::RegistryFixture registry;
    const velktest::TempFolder folder;
    registry.SetText(velktest::kCommonLogKey, L"LogFolder", folder.Path());
    registry.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", folder.Path(L"legacy.log"));
    const velk::CString log = folder.Path(L"VelkWBEMServer");
    const UniqueHandle mutex(
        ::CreateMutexW(nullptr, FALSE, (L"Global\\" + velk::PathAsObjectName(log)).c_str()));
    ASSERT_TRUE(mutex);

    const Loader ours(L"VelkWmiPci.dll");
    const Loader unrelated(L"avifil32.dll");
    {
        // As somebody does who was stopped in the middle of a line, or who made the name first.
        const velk::KernelMutexGuard held(mutex.Get());
        ours.Start();
        EXPECT_FALSE(ours.HasLoaded(kMoment));
        unrelated.Start();
        EXPECT_FALSE(unrelated.HasLoaded(kMoment)) << "the loader lock is held";

        EXPECT_TRUE(IsClosed(log + L".log")) << "other processes may write, delete and rename it";
        velk::CLegacyLog legacy;
        EXPECT_EQ(legacy.Configure(), DWORD{ERROR_SUCCESS});
        EXPECT_EQ(legacy.ErrorLevel1(L"written at once"), DWORD{ERROR_SUCCESS}) << "its semaphore is free";
        for (const wchar_t* name : {L"VelkPCIDeviceProv", L"VelkPCISlotLocationProv",
                                    L"VelkSystemPCIDeviceProv", L"CVelkSystemPCIDeviceList"}) {
            const velk::CString lock = velk::FormatText(L"Global\\wmi_%s", name);
            EXPECT_FALSE(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, lock.c_str()))) << "not even made";
        }
    }
    EXPECT_TRUE(ours.HasLoaded(velktest::Patience()));
    EXPECT_TRUE(unrelated.HasLoaded(velktest::Patience()));
}

}  // namespace
