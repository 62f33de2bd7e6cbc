#include "bench/measure.h"

#include <algorithm>
#include <vector>

#include "common/platform.h"

namespace velkbench {
namespace {

double Now() {
    static const double kNanosecondsPerTick = [] {
        LARGE_INTEGER frequency;
        ::QueryPerformanceFrequency(&frequency);
        return 1e9 / static_cast<double>(frequency.QuadPart);
    }();
    LARGE_INTEGER ticks;
    ::QueryPerformanceCounter(&ticks);
    return static_cast<double>(ticks.QuadPart) * kNanosecondsPerTick;
}

/// Of one run.
double Time(const std::function<void()>& run, int runs) {
    const double begin = Now();
    for (int i = 0; i < runs; ++i) run();
    return (Now() - begin) / runs;
}

double Quantile(std::vector<double> values, double part) {
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
}

}  // namespace

Comparison Compare(const std::function<void()>& subject, const std::function<void()>& floor, int turns) {
    constexpr double kStretch = 4e6;  // nanoseconds
    subject();
    floor();
    const double once = std::min(Time(subject, 1), Time(floor, 1));
    const int runs = static_cast<int>(std::clamp(kStretch / once, 1.0, 10000.0));
    std::vector<double> subjects, floors, ratios;
    for (int turn = 0; turn < turns; ++turn) {
        const bool isFloorFirst = turn % 2 == 0;
        const double first = Time(isFloorFirst ? floor : subject, runs);
        const double second = Time(isFloorFirst ? subject : floor, runs);
        floors.push_back(isFloorFirst ? first : second);
        subjects.push_back(isFloorFirst ? second : first);
        ratios.push_back(subjects.back() / floors.back());
    }
    return {Quantile(ratios, 0.5),   Quantile(ratios, 0.25), Quantile(ratios, 0.75),
            Quantile(subjects, 0.5), Quantile(floors, 0.5),  turns};
}

double Median(const std::function<void()>& run, int times) {
    std::vector<double> values;
    for (int i = 0; i < times; ++i) values.push_back(Time(run, 1));
    return Quantile(values, 0.5);
}

}  // namespace velkbench
