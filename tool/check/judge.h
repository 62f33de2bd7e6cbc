#pragma once

#include <string>
#include <vector>

#include "tool/check/verdict.h"
#include "tool/inventory/counted.h"

namespace velkpci {

inline Verdict Passed(std::string point, std::string detail) {
    return {std::move(point), Outcome::kPassed, std::move(detail), {}};
}
inline Verdict Failed(std::string point, std::string detail, std::string mend) {
    return {std::move(point), Outcome::kFailed, std::move(detail), std::move(mend)};
}
inline Verdict NotApplicable(std::string point, std::string reason) {
    return {std::move(point), Outcome::kNotApplicable, std::move(reason), {}};
}

/// "a, b, c".
std::string Joined(const std::vector<std::string>& words);

}  // namespace velkpci
