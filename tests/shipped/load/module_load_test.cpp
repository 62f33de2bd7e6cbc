// The module comes and goes while its threads run.

#include <gtest/gtest.h>

#include <cstdio>

#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/long_run.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "support/usage.h"

namespace {

using velktest::AnswerSink;
using velktest::IsLongRun;
using velktest::Usage;

constexpr DWORD kRequests = 4;  ///< in flight when the module is let go

class ModuleLoad : public testing::Test {
  protected:
    ModuleLoad() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        registry_.SetDword(velktest::kCommonLogKey, L"LogMaxSize", 0x2000000);
    }

    /// How often a text stands in the log.
    int CountInLog(const std::wstring& text) const {
        const velk::CString log = velktest::ReadWide(folder_.Path(L"VelkWBEMServer.log"));
        int count = 0;
        for (std::size_t at = log.find(text); at != velk::CString::npos; at = log.find(text, at + 1)) ++count;
        return count;
    }

    /// The module is let go while its workers run, at another moment in each round.
    void LoadAskAndUnload(int round) {
        velk::UniqueLibrary dll(::LoadLibraryW(L"VelkWmiPci.dll"));
        ASSERT_TRUE(dll);
        auto provider = host_.MakeProvider(dll.Get(), host_.Class(L"Velk_PCISlotLocation"));
        std::vector<velk::ComPtr<AnswerSink>> sinks;
        for (DWORD request = 0; request < kRequests; ++request) {
            sinks.push_back(AnswerSink::Make());
            ASSERT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sinks.back().Get()), S_OK);
        }
        // Now the workers alone keep the provider and the module, wherever they have got to.
        ::Sleep(static_cast<DWORD>(round % 4));
        provider.Reset();
        dll.Reset();
        for (const auto& sink : sinks) {
            const auto& answer = sink->Finish(S_OK);
            ASSERT_EQ(answer.statuses, std::vector<HRESULT>{S_OK});
            ASSERT_EQ(answer.texts.size(), 6U);
        }
        sinks.clear();
        ASSERT_TRUE(velktest::IsUnloaded(L"VelkWmiPci.dll")) << "round " << round;
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    velktest::ProviderHost host_{velktest::LoadSampleMachine("two-socket-rack-server")};
};

TEST_F(ModuleLoad, UnloadsWithSlotLocationWorkersInFlight) {
    constexpr int kWarmUp = 10;
    constexpr int kMostSteps = 20;
    const int stepRounds = IsLongRun() ? 1000 : 25;
    int rounds = 0;
    while (rounds < kWarmUp) ASSERT_NO_FATAL_FAILURE(LoadAskAndUnload(rounds++));
    const Usage before = Usage::Now();
    // A leak shows in every step, with a byte for each load at least; what the platform's heap sets aside for
    // itself, in some. Wine 10 does so for longer than Wine 8.
    const auto smallestLeak = static_cast<std::size_t>(stepRounds);
    int stepsWithoutGrowth = 0;
    Usage after = before;
    for (int step = 0; stepsWithoutGrowth < 2 && step < kMostSteps; ++step) {
        for (int end = rounds + stepRounds; rounds < end;)
            ASSERT_NO_FATAL_FAILURE(LoadAskAndUnload(rounds++));
        const Usage now = Usage::Now();
        if (now.heapBytes < after.heapBytes + smallestLeak) ++stepsWithoutGrowth;
        after = now;
        std::printf("%5d times loaded and unloaded: %s\n", rounds, now.Text().c_str());
    }
    EXPECT_EQ(CountInLog(L"DLL is loaded."), rounds);
    EXPECT_EQ(CountInLog(L"DLL is unloaded."), rounds);
    EXPECT_LE(after.handles, before.handles);
    EXPECT_LE(after.threads, before.threads + kRequests) << "those of the last round may still be ending";
    EXPECT_GE(stepsWithoutGrowth, 2);
}

}  // namespace
