// The shipped DLL under callers that keep to the interfaces but to no usual order.

#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "common/bstr.h"
#include "common/handle.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/recording_sink.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "support/waiting.h"

namespace {

using velktest::Answer;
using velktest::Enumerate;
using velktest::RecordingSink;
using velktest::ServedClass;

class ProtocolAbuse : public testing::Test {
  protected:
    ProtocolAbuse() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        dll_.emplace(velktest::LoadSampleMachine("tower-with-gaps"));
    }

    /// For each class: a provider, and what it delivers when it is asked as usual.
    template <class Body>
    void ForEachClass(Body body) {
        for (const ServedClass& served : dll_->Host().Classes()) {
            SCOPED_TRACE(testing::PrintToString(served.name));
            const auto provider = dll_->MakeProvider(served);
            const Answer expected = Enumerate(*provider);
            ASSERT_FALSE(expected.paths.empty());
            body(*provider, expected);
        }
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    std::optional<velktest::HostedDll> dll_;
};

TEST_F(ProtocolAbuse, ASecondInitializeInAnotherLocaleChangesNoAnswer) {
    velk::ComPtr<IWbemLocator> locator;
    velk::ComPtr<IWbemServices> services;
    ASSERT_EQ(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                 locator.PutVoid()),
              S_OK);
    ASSERT_EQ(locator->ConnectServer(velk::Bstr(L"root\\VKQ").Get(), nullptr, nullptr,
                                     velk::Bstr(L"MS_407").Get(), 0, nullptr, nullptr, services.Put()),
              S_OK);
    ForEachClass([&](IWbemServices& provider, const Answer& expected) {
        velk::ComPtr<IWbemProviderInit> init;
        ASSERT_EQ(provider.QueryInterface(IID_IWbemProviderInit, init.PutVoid()), S_OK);
        const auto sink = velktest::RecordingInitSink::Make();
        ASSERT_EQ(init->Initialize(nullptr, 0, velk::Bstr(L"root\\VKQ").Get(), velk::Bstr(L"MS_407").Get(),
                                   services.Get(), nullptr, sink.Get()),
                  S_OK);
        EXPECT_EQ(sink->statuses.size(), 1u);
        EXPECT_EQ(Enumerate(provider), expected);
    });
}

TEST_F(ProtocolAbuse, AnStaThreadIsAnswered) {
    ForEachClass([](IWbemServices& provider, const Answer& expected) {
        std::thread([&] {
            ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            const Answer answer = Enumerate(provider);
            EXPECT_EQ(answer.statuses, expected.statuses);
            // Not the names in the paths: the host's locator is known to the other apartment alone, so that
            // the provider's own queries reach the platform's WMI from here.
            EXPECT_EQ(answer.paths.size(), expected.paths.size());
            ::CoUninitialize();
        }).join();
    });
}

TEST_F(ProtocolAbuse, AClientAsksAgainFromWithinIndicate) {
    int asked = 0;
    ForEachClass([&](IWbemServices& provider, const Answer& expected) {
        const velk::UniqueHandle done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        const auto sink = RecordingSink::Make();
        Answer inner;
        // On this thread alone: the slot locations come from another, which holds the class's lock meanwhile.
        const DWORD asker = ::GetCurrentThreadId();
        sink->onIndicate = [&] {
            if (::GetCurrentThreadId() == asker) inner = Enumerate(provider);
        };
        sink->onStatus = [&] { ::SetEvent(done.Get()); };
        ASSERT_EQ(provider.CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), S_OK);
        ASSERT_TRUE(velktest::BecomesSignalled(done.Get()));
        EXPECT_EQ(sink->statuses.size(), 1u);
        EXPECT_EQ(sink->statuses.front().result, S_OK);
        sink->indications.clear();
        if (!inner.statuses.empty()) {
            EXPECT_EQ(inner, expected);
        }
        asked += static_cast<int>(inner.statuses.size());
    });
    EXPECT_EQ(asked, 9);
}

TEST_F(ProtocolAbuse, AClientLeavesWhileTheSlotLocationThreadWorks) {
    const velk::UniqueHandle delivering(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const velk::UniqueHandle goOn(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const velk::UniqueHandle done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const auto sink = RecordingSink::Make();
    sink->onIndicate = [&] {
        ::SetEvent(delivering.Get());
        velktest::BecomesSignalled(goOn.Get());
    };
    sink->onStatus = [&] { ::SetEvent(done.Get()); };
    auto provider = dll_->MakeProvider(L"Velk_PCISlotLocation");
    ASSERT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), S_OK);
    ASSERT_TRUE(velktest::BecomesSignalled(delivering.Get()));
    provider.Reset();
    const auto canUnloadNow = reinterpret_cast<HRESULT(WINAPI*)()>(
        reinterpret_cast<void*>(::GetProcAddress(dll_->Module(), "DllCanUnloadNow")));
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "the thread is inside the DLL";
    ::SetEvent(goOn.Get());
    ASSERT_TRUE(velktest::BecomesSignalled(done.Get()));
    EXPECT_EQ(sink->statuses.front().result, S_OK);
    EXPECT_FALSE(sink->indications.empty());
    sink->indications.clear();
    dll_.reset();  // waits for the thread, and demands that the DLL leaves the process
}

}  // namespace
