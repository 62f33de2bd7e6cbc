// Many requests at once, and many one after the other.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/long_run.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"
#include "support/usage.h"

namespace {

using velk::ComPtr;
using velktest::Answer;
using velktest::Enumerate;
using velktest::Get;
using velktest::IsLongRun;
using velktest::ServedClass;
using velktest::Usage;

/// A server of 32 PCI functions and bridges, and what each class answers while nobody else asks.
class ProvidersLoad : public testing::Test {
  protected:
    ProvidersLoad() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        dll_.emplace(velktest::LoadSampleMachine("two-socket-rack-server"));
        for (const ServedClass& served : dll_->Host().Classes()) {
            shared_[served.name] = dll_->MakeProvider(served);
            expected_[served.name] = Enumerate(*shared_[served.name]);
        }
    }

    void SetUp() override {
        ASSERT_EQ(dll_->Host().Classes().size(), 10U);
        for (const auto& [name, answer] : expected_) {
            ASSERT_EQ(answer.statuses, std::vector<HRESULT>{S_OK});
            ASSERT_GE(answer.paths.size(), 4U) << testing::PrintToString(name);
        }
    }

    const ServedClass& ClassAt(int number) const {
        return dll_->Host().Classes()[static_cast<std::size_t>(number) % dll_->Host().Classes().size()];
    }

    /// Asks for all instances of a class and for one of them, and notes what is wrong.
    void Ask(IWbemServices& provider, const ServedClass& served, int number) {
        const Answer& expected = expected_.at(served.name);
        if (Enumerate(provider) != expected) Complain(served, "enumeration");

        const std::size_t index = static_cast<std::size_t>(number) % expected.paths.size();
        const Answer got = Get(provider, expected.paths[index]);
        if (got.texts != std::vector{expected.texts[index]} || got.statuses != std::vector<HRESULT>{S_OK})
            Complain(served, "get");
        requests_ += 2;
    }

    /// Runs bodies on threads of the multi-threaded apartment, as WMI's are, to their end; what the process
    /// uses at most meanwhile.
    static Usage RunThreads(int count, const std::function<void(int thread)>& body) {
        std::atomic<int> running = count;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < count; ++thread) {
            threads.emplace_back([&, thread] {
                const velktest::Apartment apartment;
                body(thread);
                --running;
            });
        }
        Usage most;
        while (running != 0) {
            most = most | Usage::Now();
            ::Sleep(20);
        }
        for (std::thread& thread : threads) thread.join();
        return most;
    }

    void ExpectNoComplaint(const Usage& most) {
        EXPECT_EQ(complaints_, std::set<std::string>{});
        std::printf("%ld requests; at most %s\n", requests_.load(), most.Text().c_str());
        // The test program with its machine and its host is in these figures, too.
        EXPECT_LT(most.handles, velktest::kHostQuota.handles / 8);
        EXPECT_LT(most.threads, velktest::kHostQuota.threads / 4);
        EXPECT_LT(most.residentBytes, velktest::kHostQuota.residentBytes / 4);
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    std::optional<velktest::HostedDll> dll_;
    std::map<std::wstring, ComPtr<IWbemServices>> shared_;  ///< one provider of each class
    std::map<std::wstring, Answer> expected_;

  private:
    void Complain(const ServedClass& served, const char* what) {
        const std::lock_guard lock(mutex_);
        complaints_.insert(std::string(served.name.begin(), served.name.end()) + ": " + what);
    }

    std::atomic<long> requests_ = 0;
    std::mutex mutex_;
    std::set<std::string> complaints_;
};

TEST_F(ProvidersLoad, TwentyThreadsAskAllTenClassesAtOnce) {
    const int rounds = IsLongRun() ? 1000 : 20;
    const Usage most = RunThreads(20, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            const ServedClass& served = ClassAt(thread + round);
            Ask(*shared_.at(served.name), served, round);
        }
    });
    ExpectNoComplaint(most);
}

TEST_F(ProvidersLoad, ProvidersComeAndGoWhileOthersAnswer) {
    const int rounds = IsLongRun() ? 1000 : 20;
    const Usage most = RunThreads(12, [&](int thread) {
        const bool comesAndGoes = thread % 3 != 0;
        for (int round = 0; round < rounds; ++round) {
            const ServedClass& served = ClassAt(thread + round);
            const ComPtr<IWbemServices> own =
                comesAndGoes ? dll_->MakeProvider(served) : shared_.at(served.name);
            Ask(*own, served, round);
        }
    });
    ExpectNoComplaint(most);
}

TEST_F(ProvidersLoad, ManyRequestsLeaveNothing) {
    const int rounds = IsLongRun() ? 125 : 60;
    const int requests = rounds * 4;  // of each step
    // Half of them of providers that have been there all the time, half of providers that come and go.
    const auto ask = [&](int first, int last) {
        for (int round = first; round < last; ++round) {
            const ServedClass& served = ClassAt(round);
            Ask(*shared_.at(served.name), served, round);
            Ask(*dll_->MakeProvider(served), served, round);
        }
    };
    // Caches of the platform fill once.
    ask(0, 100);
    const Usage before = Usage::Now();
    std::printf("before         %s\n", before.Text().c_str());
    // A leak shows in every step; what the platform's heap sets aside for itself, in some. Wine 10 does so
    // for longer than Wine 8.
    const int mostSteps = IsLongRun() ? 50 : 12;
    int steps = 0;
    int stepsWithoutGrowth = 0;
    Usage most;
    for (Usage last = before; steps < mostSteps && (steps < 4 || IsLongRun() || stepsWithoutGrowth == 0);
         ++steps) {
        ask(steps * rounds, (steps + 1) * rounds);
        const Usage now = Usage::Now();
        std::printf("%6d further %s\n", (steps + 1) * requests, now.Text().c_str());
        // Less than one byte of each request.
        if (now.heapBytes < last.heapBytes + static_cast<SIZE_T>(requests)) ++stepsWithoutGrowth;
        last = now;
        most = most | now;
    }
    EXPECT_LE(most.handles, before.handles);
    EXPECT_LE(most.threads, before.threads + 1) << "a worker of the slot locations may still be ending";
    EXPECT_GE(stepsWithoutGrowth, IsLongRun() ? steps / 2 : 1);
    ExpectNoComplaint(most);
}

}  // namespace
