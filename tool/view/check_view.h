#pragma once

#include <string>
#include <vector>

#include "tool/check/verdict.h"

namespace velkpci {

/// A line for each verdict, below a failure what mends it, and a line that counts.
std::string FormatVerdicts(const std::vector<Verdict>& verdicts);

/// The same as the document "velkpci.check", with what the facts tell of program, DLL, Windows and firmware.
std::string FormatVerdictsAsJson(const Facts& facts, const std::vector<Verdict>& verdicts);

}  // namespace velkpci
