#include "tool/check/verdict.h"

namespace velkpci {

const char* OutcomeName(Outcome outcome) {
    switch (outcome) {
        case Outcome::kPassed:
            return "passed";
        case Outcome::kFailed:
            return "failed";
        case Outcome::kNotApplicable:
            return "not applicable";
    }
    return "";
}

std::vector<Verdict> Judge(const Facts& facts) {
    std::vector<Verdict> verdicts;
    JudgeInstallation(facts, verdicts);
    JudgeAnswers(facts, verdicts);
    JudgeMachine(facts, verdicts);
    JudgeLogs(facts, verdicts);
    return verdicts;
}

}  // namespace velkpci
