#pragma once

#include <functional>

namespace velkbench {

/// What came of runs of two things, taken in turns.
struct Comparison {
    double ratio = 0;               ///< of the subject's time to the floor's: the median over all turns
    double low = 0, high = 0;       ///< the middle half of all turns
    double subject = 0, floor = 0;  ///< nanoseconds of one run: the medians
    int turns = 0;
};

/// Runs both in turns, the first of a turn alternating. One measured stretch is as many runs as take some
/// milliseconds, so that the clock's steps do not count.
Comparison Compare(const std::function<void()>& subject, const std::function<void()>& floor, int turns);

/// Nanoseconds of one run, the median over so many.
double Median(const std::function<void()>& run, int times);

}  // namespace velkbench
