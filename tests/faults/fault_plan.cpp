#include "fault_plan.h"

namespace velktest {

void FaultPlan::Arm(std::size_t failing, FaultMode mode) noexcept {
    failing_ = failing;
    mode_ = mode;
    calls_ = 0;
    injected_ = 0;
    firstFault_ = "";
    armed_ = true;
}

bool FaultPlan::Fails(const char* call) noexcept {
    if (!armed_) return false;
    const std::size_t number = ++calls_;
    if (number < failing_ || (number > failing_ && mode_ == FaultMode::kSingle)) return false;
    if (++injected_ == 1) firstFault_ = call;
    return true;
}

FaultPlan& Faults() noexcept {
    static constinit FaultPlan plan;
    return plan;
}

}  // namespace velktest
