#pragma once

#include <string>

#include "allowed_statuses.h"
#include "class_under_test.h"
#include "fault_plan.h"
#include "inventory.h"
#include "support/recording_sink.h"

namespace velktest {

/// What one request under faults came to.
struct Outcome {
    Entry entry;
    FaultMode mode;
    std::string call;  ///< that failed first, or ""
    HRESULT returned;
    const RecordingSink& sink;
    const RecordingInitSink& initSink;

    /// The status of the request: what was returned or, from a thread of its own, reported.
    HRESULT Result(const ClassUnderTest& tested) const;
};

// What is wrong with an outcome, for people; empty when nothing is.

/// The statuses, the one returned and the one reported.
std::string JudgeStatus(const ClassUnderTest& tested, const Outcome& outcome);
/// How often the sinks were called, and with what.
std::string JudgeSinks(const ClassUnderTest& tested, const Outcome& outcome);
/// What was delivered: with a success, `expected`, but for what the failed calls may cost.
std::string JudgeInventory(const ClassUnderTest& tested, const Outcome& outcome, const Inventory& expected);

}  // namespace velktest
