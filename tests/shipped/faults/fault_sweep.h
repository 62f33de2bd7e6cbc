#pragma once

#include <functional>
#include <string>

#include "fault_plan.h"

namespace velktest {

/// Runs a scenario again and again, failing call 1, 2, 3, ... until a run meets no fault: once with single
/// failures, once with all calls failing from there on. A sweep in which no call or no allocation failed
/// fails itself: it has tried nothing. What each sweep did, and all of them together, is printed.
class FaultSweep {
  public:
    /// Runs the scenario under the armed plan and disarms it. What is wrong with the outcome, or nothing.
    using Scenario = std::function<std::string(std::size_t failing, FaultMode mode)>;

    /// `name` is for people. With a stride above 1 only every so many calls are failed, each time starting
    /// with the first; a run of VELK_LONG fails every call whatever the stride, a repetition fewer.
    static void Run(const std::string& name, std::size_t stride, const Scenario& scenario);
};

}  // namespace velktest
