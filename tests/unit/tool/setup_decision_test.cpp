#include "tool/setup/decision.h"

#include <gmock/gmock.h>

#include "tool/inventory/status_names.h"
#include "tool/setup/marker.h"

namespace {

using namespace velkpci;
using Step = StandaloneDecision::Step;

constexpr HRESULT kNotFound = static_cast<HRESULT>(WBEM_E_NOT_FOUND);

SuiteState StateOfTwo(SuiteClass first, SuiteClass second) {
    const SuiteClass classes[] = {first, second};
    return StateOf(classes);
}

TEST(SuiteStateTest, AClassIsMissingByThreeStatusesAlone) {
    for (const auto status : {WBEM_E_NOT_FOUND, WBEM_E_INVALID_CLASS, WBEM_E_INVALID_NAMESPACE})
        EXPECT_TRUE(IsNotThere(static_cast<HRESULT>(status))) << status;
    for (const HRESULT status :
         {S_OK, E_FAIL, E_ACCESSDENIED, static_cast<HRESULT>(WBEM_E_ACCESS_DENIED),
          static_cast<HRESULT>(WBEM_E_FAILED), static_cast<HRESULT>(WBEM_E_PROVIDER_LOAD_FAILURE),
          static_cast<HRESULT>(WBEM_E_INITIALIZATION_FAILURE), static_cast<HRESULT>(0x800706BA)})
        EXPECT_FALSE(IsNotThere(status)) << status;
}

TEST(SuiteStateTest, OneClassOfAnotherMakesBothTheSuites) {
    const SuiteClass missing{kNotFound, false}, ours{S_OK, true}, others{S_OK, false};
    EXPECT_EQ(StateOfTwo(missing, missing), SuiteState::kMissing);
    EXPECT_EQ(StateOfTwo(ours, ours), SuiteState::kStandalone);
    EXPECT_EQ(StateOfTwo(missing, ours), SuiteState::kStandalone);
    EXPECT_EQ(StateOfTwo(others, others), SuiteState::kSuite);
    EXPECT_EQ(StateOfTwo(others, missing), SuiteState::kSuite);
    EXPECT_EQ(StateOfTwo(others, ours), SuiteState::kSuite);
    EXPECT_EQ(StateOfTwo(ours, others), SuiteState::kSuite);
}

TEST(SuiteStateTest, AnyOtherFailureLeavesTheQuestionOpen) {
    for (const HRESULT status : {E_ACCESSDENIED, static_cast<HRESULT>(WBEM_E_FAILED)}) {
        const SuiteClass classes[] = {{kNotFound, false}, {status, false}};
        EXPECT_EQ(StateOf(classes), SuiteState::kUnknown);
        EXPECT_EQ(OpenStatus(classes), status);
    }
    const SuiteClass answered[] = {{kNotFound, false}, {S_OK, false}};
    EXPECT_EQ(OpenStatus(answered), S_OK);
}

struct Case {
    StandaloneChoice choice;
    SuiteState state;
    bool isNoted;
    Step step;
    bool isOurs;
};

TEST(StandaloneDecisionTest, EveryCaseIsDecided) {
    using enum StandaloneChoice;
    using enum SuiteState;
    const Case cases[] = {
        {kAuto, kMissing, false, Step::kCompile, true},   {kAuto, kMissing, true, Step::kCompile, true},
        {kAuto, kStandalone, false, Step::kLeave, false}, {kAuto, kStandalone, true, Step::kCompile, true},
        {kAuto, kSuite, false, Step::kLeave, false},      {kAuto, kSuite, true, Step::kLeave, false},
        {kAuto, kUnknown, false, Step::kLeave, false},    {kAuto, kUnknown, true, Step::kLeave, true},
        {kOn, kMissing, false, Step::kCompile, true},     {kOn, kMissing, true, Step::kCompile, true},
        {kOn, kStandalone, false, Step::kCompile, false}, {kOn, kStandalone, true, Step::kCompile, true},
        {kOn, kSuite, false, Step::kCompile, true},       {kOn, kSuite, true, Step::kCompile, true},
        {kOn, kUnknown, false, Step::kCompile, true},     {kOn, kUnknown, true, Step::kCompile, true},
        {kOff, kMissing, false, Step::kLeave, false},     {kOff, kMissing, true, Step::kRemove, false},
        {kOff, kStandalone, false, Step::kLeave, false},  {kOff, kStandalone, true, Step::kRemove, false},
        {kOff, kSuite, false, Step::kLeave, false},       {kOff, kSuite, true, Step::kLeave, false},
        {kOff, kUnknown, false, Step::kLeave, false},     {kOff, kUnknown, true, Step::kLeave, true},
    };
    for (const Case& each : cases) {
        const auto decision = DecideStandalone(each.choice, each.state, each.isNoted);
        const auto name = std::string(ChoiceName(each.choice)) + ", state " +
                          std::to_string(static_cast<int>(each.state)) + (each.isNoted ? ", noted" : "");
        EXPECT_EQ(decision.step, each.step) << name;
        EXPECT_EQ(decision.isOurs, each.isOurs) << name;
        EXPECT_FALSE(decision.reason.empty()) << name;
    }
}

TEST(StandaloneDecisionTest, ChoicesAreReadInAnyCaseAndByThePropertysNumbers) {
    for (const char* word : {"auto", "AUTO", "Auto"}) EXPECT_EQ(ParseChoice(word), StandaloneChoice::kAuto);
    for (const char* word : {"on", "ON", "1"}) EXPECT_EQ(ParseChoice(word), StandaloneChoice::kOn);
    for (const char* word : {"off", "Off", "0"}) EXPECT_EQ(ParseChoice(word), StandaloneChoice::kOff);
    for (const char* word : {"", "yes", "2", "keep"}) EXPECT_EQ(ParseChoice(word), std::nullopt) << word;
}

TEST(MarkerTest, WhatIsWrittenIsReadBack) {
    const Marker marker{{true, false, true, StandaloneChoice::kOff},
                        {false, true, false, StandaloneChoice::kAuto}};
    EXPECT_EQ(FormatMarker(marker),
              "classes\r\nlog folder\r\nchoice off\r\nbefore standalone\r\nbefore choice auto\r\n");
    EXPECT_EQ(ParseMarker(FormatMarker(marker)), marker);
    EXPECT_EQ(FormatMarker({}), "");
}

TEST(MarkerTest, ALineThatIsNoNoteIsPassedOver) {
    EXPECT_EQ(ParseMarker("classes of mine\nbefore\nchoice perhaps\n\nstandalone\n"),
              (Marker{{false, true, false, {}}, {}}));
}

}  // namespace
