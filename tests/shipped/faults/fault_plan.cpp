#include "fault_plan.h"

#include <cstring>

namespace velktest {

namespace {

bool IsOperatorNew(const char* call) noexcept { return std::strcmp(call, kOperatorNew) == 0; }

}  // namespace

void FaultPlan::Arm(std::size_t failing, FaultMode mode) noexcept {
    failing_ = failing;
    mode_ = mode;
    calls_ = 0;
    injected_ = 0;
    refusedAllocations_ = 0;
    firstFault_ = "";
    armed_ = true;
}

bool FaultPlan::Fails(const char* call) noexcept {
    if (!armed_) return false;
    const std::size_t number = ++calls_;
    if (number < failing_) return false;
    switch (mode_) {
        case FaultMode::kSingle:
            return number == failing_;
        case FaultMode::kFromThereOn:
            return true;
        case FaultMode::kAllocations:
            return IsOperatorNew(call);
    }
    return false;
}

void FaultPlan::NoteFailure(const char* call) noexcept {
    if (++injected_ == 1) firstFault_ = call;
    if (IsOperatorNew(call)) ++refusedAllocations_;
}

FaultPlan& Faults() noexcept {
    static constinit FaultPlan plan;
    return plan;
}

}  // namespace velktest
