#pragma once

#include <string>
#include <vector>

#include "tool/check/facts.h"

namespace velkpci {

enum class Outcome { kPassed, kFailed, kNotApplicable };

/// "passed", "failed", "not applicable".
const char* OutcomeName(Outcome outcome);

/// One line of a check.
struct Verdict {
    std::string point;  ///< what was looked at, "firmware table"
    Outcome outcome = Outcome::kPassed;
    std::string detail;  ///< what was found, or why the point does not apply
    std::string mend;    ///< of a failure: what to do
};

/// What the facts mean: a verdict for each point, in the order in which one fault explains those after it.
std::vector<Verdict> Judge(const Facts& facts);

// Its parts, by what they look at; pure, too.
void JudgeInstallation(const Facts& facts, std::vector<Verdict>& verdicts);
void JudgeAnswers(const Facts& facts, std::vector<Verdict>& verdicts);
void JudgeMachine(const Facts& facts, std::vector<Verdict>& verdicts);
void JudgeLogs(const Facts& facts, std::vector<Verdict>& verdicts);

}  // namespace velkpci
