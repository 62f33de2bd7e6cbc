// The plan that all faults come from.

#include "fault_plan.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using velktest::FaultMode;
using velktest::FaultPlan;

/// Asks about five calls, the third of them an allocation; those that are to fail fail. Which these were, as
/// "..x..".
std::string Ask(FaultPlan& plan) {
    std::string outcome;
    for (const char* const call : {"First", "Second", velktest::kOperatorNew, "Fourth", "Fifth"}) {
        const bool fails = plan.Fails(call);
        if (fails) plan.NoteFailure(call);
        outcome += fails ? 'x' : '.';
    }
    return outcome;
}

TEST(FaultPlan, FailsNothingUntilItIsArmedAndOnceItIsDisarmed) {
    FaultPlan plan;
    EXPECT_EQ(Ask(plan), ".....");
    plan.Arm(1, FaultMode::kFromThereOn);
    plan.Disarm();
    EXPECT_EQ(Ask(plan), ".....");
    EXPECT_EQ(plan.Calls(), 0U);
    EXPECT_EQ(plan.Injected(), 0U);
}

TEST(FaultPlan, FailsOneCall) {
    FaultPlan plan;
    plan.Arm(4, FaultMode::kSingle);
    EXPECT_EQ(Ask(plan), "...x.");
    EXPECT_EQ(plan.Calls(), 5U);
    EXPECT_EQ(plan.Injected(), 1U);
    EXPECT_EQ(plan.RefusedAllocations(), 0U);
    EXPECT_STREQ(plan.FirstFault(), "Fourth");
}

TEST(FaultPlan, FailsACallAndAllAfterIt) {
    FaultPlan plan;
    plan.Arm(2, FaultMode::kFromThereOn);
    EXPECT_EQ(Ask(plan), ".xxxx");
    EXPECT_EQ(plan.Injected(), 4U);
    EXPECT_EQ(plan.RefusedAllocations(), 1U);
    EXPECT_STREQ(plan.FirstFault(), "Second");
}

TEST(FaultPlan, FailsAllocationsAlone) {
    FaultPlan plan;
    plan.Arm(1, FaultMode::kAllocations);
    EXPECT_EQ(Ask(plan), "..x..");
    EXPECT_EQ(plan.RefusedAllocations(), 1U);
}

TEST(FaultPlan, CountsAFaultOnlyWhenItHappened) {
    FaultPlan plan;
    plan.Arm(1, FaultMode::kSingle);
    EXPECT_TRUE(plan.Fails("First"));
    EXPECT_EQ(plan.Calls(), 1U);
    EXPECT_EQ(plan.Injected(), 0U);
    EXPECT_STREQ(plan.FirstFault(), "");
}

TEST(FaultPlan, CountsAnewWhenItIsArmedAgain) {
    FaultPlan plan;
    plan.Arm(1, FaultMode::kFromThereOn);
    Ask(plan);
    plan.Arm(9, FaultMode::kSingle);
    EXPECT_EQ(plan.Calls(), 0U);
    EXPECT_EQ(plan.Injected(), 0U);
    EXPECT_EQ(plan.RefusedAllocations(), 0U);
    EXPECT_STREQ(plan.FirstFault(), "");
}

}  // namespace
