#include "fault_sweep.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "support/crash.h"
#include "support/long_run.h"

namespace velktest {

namespace {

/// More are the same one again.
constexpr int kMostComplaints = 8;

struct Totals {
    std::size_t runs = 0;
    std::size_t faults = 0;
    std::size_t allocations = 0;  ///< of the faults: of operator new
};
Totals totals;

/// Prints the totals when all tests are over.
class PrintTotals : public testing::Environment {
    void TearDown() override {
        if (totals.runs == 0) return;
        std::printf("In total: %zu runs, %zu calls failed, %zu of them allocations\n", totals.runs,
                    totals.faults, totals.allocations);
    }
};
[[maybe_unused]] testing::Environment* const printTotals = testing::AddGlobalTestEnvironment(new PrintTotals);

const char* NameOf(FaultMode mode) { return mode == FaultMode::kSingle ? "alone" : "and all after it"; }

/// What was going on when the process dies, for the log of the tests.
std::string current;

LONG WINAPI SayWhere(EXCEPTION_POINTERS* crash) {
    std::fprintf(stderr, "Crash in %s after %s failed\n", current.c_str(), Faults().FirstFault());
    return velktest::EndAsCrashed(crash);
}

}  // namespace

void FaultSweep::Run(const std::string& name, std::size_t stride, const Scenario& scenario) {
    ::SetUnhandledExceptionFilter(&SayWhere);
    const auto start = std::chrono::steady_clock::now();
    const std::size_t step = IsLongRun() ? 1 : stride * CaseStride();
    Totals own;
    std::size_t calls = 0;
    int complaints = 0;
    for (const FaultMode mode : {FaultMode::kSingle, FaultMode::kFromThereOn}) {
        const std::size_t faultsBefore = own.faults;
        for (std::size_t failing = 1;; failing += step) {
            current = name + ", call " + std::to_string(failing) + " " + NameOf(mode);
            const std::string complaint = scenario(failing, mode);
            ++own.runs;
            own.faults += Faults().Injected();
            own.allocations += Faults().RefusedAllocations();
            calls = std::max(calls, Faults().Calls());
            if (!complaint.empty()) {
                ADD_FAILURE() << current << " (" << Faults().FirstFault() << "): " << complaint;
                if (++complaints == kMostComplaints) return;
            }
            if (Faults().Injected() == 0) {
                EXPECT_LT(Faults().Calls(), failing) << current << ": it was made, and did not fail";
                break;
            }
        }
        EXPECT_GT(own.faults, faultsBefore) << name << ", " << NameOf(mode) << ": no call failed";
    }
    EXPECT_GT(own.allocations, 0U) << name << ": operator new was never without memory";
    const auto spent = std::chrono::steady_clock::now() - start;
    std::printf("%-52s %6zu calls %6zu runs %8zu faults %7.1f s\n", name.c_str(), calls, own.runs, own.faults,
                std::chrono::duration<double>(spent).count());
    std::fflush(stdout);
    totals.runs += own.runs;
    totals.faults += own.faults;
    totals.allocations += own.allocations;
}

}  // namespace velktest
