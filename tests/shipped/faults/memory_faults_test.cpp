// Memory runs out in the middle of a request: whatever passes the limit fails, also what an exception is made
// of.

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>

#include "memory_limit.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/long_run.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using velktest::Answer;
using velktest::Enumerate;
using velktest::Get;
using velktest::HostedDll;
using velktest::MemoryLimit;

class MemoryFaults : public testing::TestWithParam<const wchar_t*> {
  protected:
    MemoryFaults() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        registry_.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", folder_.Path(L"legacy.log"));
        registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 1);
    }

    using Request = Answer (*)(IWbemServices& provider, const std::wstring& path);

    /// Makes the request with 0 bytes of memory, with a few more, ... until it needs no more than there is.
    void Sweep(Request request) {
        Refusals total;
        int runs = 0;
        const std::size_t growth = velktest::CaseStride();
        for (std::size_t bytes = 0;; bytes += velktest::IsLongRun() ? 16 : 16 + growth * bytes / 8) {
            const Refusals refusals = RunOnce(request, bytes);
            total.all += refusals.all;
            total.byMalloc += refusals.byMalloc;
            ++runs;
            if (refusals.all == 0) break;
        }
        std::printf("%d runs, %zu allocations refused, %zu of them by malloc\n", runs, total.all,
                    total.byMalloc);
        EXPECT_GT(total.byMalloc, 0U);
        // What is taken from the platform: 8 KB for the computer's name, which no sweep steps over. The slot
        // locations take a few bytes for each text, which a short one may.
        if (velktest::IsLongRun() || std::wstring_view(GetParam()) != L"Velk_PCISlotLocation") {
            EXPECT_GT(total.all, total.byMalloc) << "what the module takes from the platform";
        }
    }

  private:
    struct Refusals {
        std::size_t all = 0;
        std::size_t byMalloc = 0;
    };

    Refusals RunOnce(Request request, std::size_t bytes) {
        // A DLL that was just loaded, and threads that have seen no exception yet.
        HostedDll dll(host_, machine_);
        MemoryLimit limit(dll.Module());
        const auto provider = dll.MakeProvider(GetParam());
        const Answer expected = Enumerate(*provider);
        EXPECT_FALSE(expected.paths.empty());
        if (expected.paths.empty()) return {};
        Refusals refused;
        // A second shortage finds the module as ready as the first.
        for (int shortage = 0; shortage < 2; ++shortage) {
            limit.Set(bytes);
            const Answer answer = OnNewThread([&] { return request(*provider, expected.paths.front()); });
            refused.all += limit.Refused();
            refused.byMalloc += limit.MallocsRefused();
            limit.Lift();
            Judge(request == &Get, answer, expected, bytes);
            EXPECT_EQ(Enumerate(*provider), expected) << "the next request, after " << bytes << " bytes";
        }
        return refused;
    }

    static Answer OnNewThread(const std::function<Answer()>& body) {
        Answer answer;
        std::thread([&] {
            const velktest::Apartment apartment;
            answer = body();
        }).join();
        return answer;
    }

    /// A success delivers everything that it does with memory. A status reported is the one returned, unless
    /// it comes from the thread of the slot locations. An enumeration reports one always, but where that
    /// thread could not be started; a get that failed none.
    void Judge(bool isGet, const Answer& answer, const Answer& expected, std::size_t bytes) const {
        SCOPED_TRACE(std::to_string(bytes) + " bytes");
        const bool onThread = !isGet && std::wstring(GetParam()) == L"Velk_PCISlotLocation";
        const bool owesStatus = SUCCEEDED(answer.returned) || !(isGet || onThread);
        ASSERT_EQ(answer.statuses.size(), owesStatus ? 1U : 0U);
        if (owesStatus && !onThread) {
            EXPECT_EQ(answer.statuses[0], answer.returned);
        }
        const bool succeeded = owesStatus && answer.statuses[0] == S_OK;
        EXPECT_EQ(answer.indications, succeeded ? 1 : 0);
        const std::vector<std::wstring> all = isGet ? std::vector{expected.texts.front()} : expected.texts;
        EXPECT_EQ(answer.texts, succeeded ? all : std::vector<std::wstring>{});
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    const velkhost::Machine machine_ = velktest::LoadSampleMachine("tower-with-gaps");
    const std::shared_ptr<const velktest::ProviderHost> host_ =
        std::make_shared<const velktest::ProviderHost>(machine_);
};

TEST_P(MemoryFaults, OfEnumeration) {
    Sweep([](IWbemServices& provider, const std::wstring&) { return Enumerate(provider); });
}

TEST_P(MemoryFaults, OfGettingAnInstance) { Sweep(&Get); }

// One of each kind: a list of the module's, a thread of its own, an association that reads everything.
INSTANTIATE_TEST_SUITE_P(SomeClasses, MemoryFaults,
                         testing::Values(L"Velk_PCIDevice", L"Velk_PCISlotLocation", L"Velk_SystemPCISlot"),
                         [](const auto& tested) {
                             const std::wstring name = tested.param;
                             return std::string(name.begin(), name.end());
                         });

}  // namespace
