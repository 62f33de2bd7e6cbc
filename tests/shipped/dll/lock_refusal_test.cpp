// What Windows does to a lock that Wine never does: it refuses. The default security of a mutex comes from
// whoever made it, and opening asks for every right; and any user may give a name to another kind of object.

#include <gmock/gmock.h>

#include <atomic>
#include <cwchar>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

#include "host/import_redirect.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using testing::HasSubstr;
using velk::ComPtr;
using velktest::Answer;
using velktest::AnswerSink;
using velktest::HostedDll;

constexpr int kThreads = 6;
constexpr int kRounds = 15;

/// Counts the threads that are at one place at once.
class Gathering {
  public:
    void Pass() {
        const int now = ++inside_;
        for (int most = most_; now > most && !most_.compare_exchange_weak(most, now);) continue;
        ::Sleep(1);
        --inside_;
    }
    int Most() const { return most_; }

  private:
    std::atomic<int> inside_ = 0;
    std::atomic<int> most_ = 0;
};

/// A client's sink that notes how many threads deliver at once. A provider delivers from its cache.
class CrowdedSink final : public velktest::FakeUnknown<IWbemObjectSink, IID_IWbemObjectSink> {
  public:
    static ComPtr<CrowdedSink> Make(Gathering& gathering) { return ComPtr(new CrowdedSink(gathering)); }

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override {
        gathering_.Pass();
        return answer_->Indicate(count, objects);
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text,
                                        IWbemClassObject* object) override {
        return answer_->SetStatus(flags, result, text, object);
    }
    const Answer& Finish(HRESULT returned) { return answer_->Finish(returned); }

  private:
    explicit CrowdedSink(Gathering& gathering) : gathering_(gathering) {}

    Gathering& gathering_;
    ComPtr<AnswerSink> answer_ = AnswerSink::Make();
};

Answer Enumerate(IWbemServices& provider, Gathering& gathering) {
    const auto sink = CrowdedSink::Make(gathering);
    return sink->Finish(provider.CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()));
}

/// Threads of the multi-threaded apartment, as WMI's are, run to their end.
void RunThreads(const std::function<void(int)>& body) {
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&body, number] {
            const velktest::Apartment apartment;
            body(number);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

decltype(&::CreateMutexW) createMutexBelow = nullptr;

/// As Windows does where the mutex is there and its owner's alone.
HANDLE WINAPI DenyNamedMutex(SECURITY_ATTRIBUTES* security, BOOL owned, const wchar_t* name) {
    if (name == nullptr) return createMutexBelow(security, owned, name);
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

/// No handles are left.
HANDLE WINAPI DenyEveryMutex(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) {
    ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

class LockRefusal : public testing::Test {
  protected:
    LockRefusal() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        registry_.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", folder_.Path(L"legacy.log"));
        dll_.emplace(velktest::LoadSampleMachine("tower-with-gaps"));
    }

    /// Another kind of object of a lock's name, which everybody may make.
    static velk::UniqueHandle TakeName(const wchar_t* lock) {
        const velk::CString name = velk::FormatText(L"Global\\wmi_%s", lock);
        return velk::UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    }
    velkhost::ImportRedirect RedirectCreateMutex(decltype(&::CreateMutexW) standIn) {
        velkhost::ImportRedirect redirect(dll_->Module(), "CreateMutexW", reinterpret_cast<void*>(standIn));
        createMutexBelow = redirect.Original<decltype(&::CreateMutexW)>();
        return redirect;
    }

    /// Several threads ask one provider for all instances and for one of them, and each of them is answered
    /// as if it were alone.
    void ExpectOneThreadAtATime(const wchar_t* className, int rounds = kRounds) {
        const auto provider = dll_->MakeProvider(className);
        Gathering gathering;
        const Answer expected = Enumerate(*provider, gathering);
        ASSERT_FALSE(expected.texts.empty());
        std::atomic<int> wrong = 0;
        RunThreads([&](int number) {
            for (int round = 0; round < rounds; ++round) {
                if (Enumerate(*provider, gathering) != expected) ++wrong;
                const std::size_t index = static_cast<std::size_t>(number + round) % expected.paths.size();
                const Answer got = velktest::Get(*provider, expected.paths[index]);
                if (got.texts != std::vector{expected.texts[index]}) ++wrong;
            }
        });
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(gathering.Most(), 1) << "threads that delivered from the cache at once";
    }

    void ExpectReported(DWORD error) const {
        EXPECT_THAT(velktest::ReadBytes(folder_.Path(L"legacy.log")),
                    HasSubstr("Mutex::CreateSemaphore(Mutex) failed.  Last error:  " + std::to_string(error) +
                              "\r\n"));
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    std::optional<HostedDll> dll_;
};

TEST_F(LockRefusal, SlotLocationsWhoseNameIsAnotherObjectsAreServedByOneThreadAtATime) {
    const auto event = TakeName(L"VelkPCISlotLocationProv");
    ExpectOneThreadAtATime(L"Velk_PCISlotLocation");
    ExpectReported(ERROR_INVALID_HANDLE);
}

TEST_F(LockRefusal, SlotLocationsWhoseMutexIsDeniedAreServedByOneThreadAtATime) {
    const auto denied = RedirectCreateMutex(&DenyNamedMutex);
    ExpectOneThreadAtATime(L"Velk_PCISlotLocation");
    ExpectReported(ERROR_ACCESS_DENIED);
}

TEST_F(LockRefusal, SystemDevicesWhoseNamesAreOtherObjectsAreServedByOneThreadAtATime) {
    const auto provider = TakeName(L"VelkSystemPCIDeviceProv");
    const auto list = TakeName(L"CVelkSystemPCIDeviceList");
    ExpectOneThreadAtATime(L"Velk_SystemPCIDevice");
    ExpectReported(ERROR_INVALID_HANDLE);
}

TEST_F(LockRefusal, SystemDevicesWhoseMutexesAreDeniedAreServedByOneThreadAtATime) {
    const auto denied = RedirectCreateMutex(&DenyNamedMutex);
    ExpectOneThreadAtATime(L"Velk_SystemPCIDevice");
    ExpectReported(ERROR_ACCESS_DENIED);
}

TEST_F(LockRefusal, EveryOtherClassIsServedByOneThreadAtATimeToo) {
    const auto denied = RedirectCreateMutex(&DenyNamedMutex);
    for (const velktest::ServedClass& served : dll_->Host().Classes()) {
        SCOPED_TRACE(testing::PrintToString(served.name));
        if (served.name != L"Velk_PCISlotLocation" && served.name != L"Velk_SystemPCIDevice")
            ExpectOneThreadAtATime(served.name.c_str(), 4);
    }
}

Gathering* inTheDeviceDatabase = nullptr;
decltype(&::SetupDiGetClassDevsW) getClassDevsBelow = nullptr;
HDEVINFO WINAPI WatchedGetClassDevs(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags) {
    inTheDeviceDatabase->Pass();
    return getClassDevsBelow(setupClass, enumerator, parent, flags);
}

// The function list is the module's one, and its lock has no name: what is left when there are no handles.
TEST_F(LockRefusal, TheFunctionListIsRebuiltByOneThreadAtATimeWithoutAnyMutex) {
    std::vector<ComPtr<IWbemServices>> providers;
    for (const wchar_t* name : {L"Velk_PCIDevice", L"Velk_PCICard", L"Velk_PCICardInSlot"})
        providers.push_back(dll_->MakeProvider(name));
    const auto denied = RedirectCreateMutex(&DenyEveryMutex);
    Gathering gathering;
    inTheDeviceDatabase = &gathering;
    const velkhost::ImportRedirect watch(dll_->Module(), "SetupDiGetClassDevsW",
                                         reinterpret_cast<void*>(&WatchedGetClassDevs));
    getClassDevsBelow = watch.Original<decltype(&::SetupDiGetClassDevsW)>();
    std::vector<Answer> expected;
    for (const auto& provider : providers) expected.push_back(velktest::Enumerate(*provider));
    std::atomic<int> wrong = 0;
    RunThreads([&](int number) {
        const std::size_t index = static_cast<std::size_t>(number) % providers.size();
        for (int round = 0; round < kRounds; ++round) {
            if (velktest::Enumerate(*providers[index]) != expected[index]) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(gathering.Most(), 1) << "threads in the device database at once";
    ExpectReported(ERROR_NO_SYSTEM_RESOURCES);
}

}  // namespace
