// velkbench: what the provider costs, as ratios of runs taken in turns in this process.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/benchmarks.h"
#include "support/crash.h"

int main(int argc, char** argv) {
    velktest::EndAtCrashes();
    CLI::App app("Measures the provider beside this program: each class against what the platform costs.");
    velkbench::Options options;
    std::string json;
    app.add_option("--turns", options.turns, "How many turns a comparison takes")->check(CLI::PositiveNumber);
    app.add_option("--largest", options.largest, "How many PCI functions the largest machine has")
        ->check(CLI::Range(64, 4096));
    app.add_option("--class", options.only, "Only classes whose names have this part");
    app.add_option("--json", json, "Write all figures to this file, too");
    CLI11_PARSE(app, argc, argv);

    std::vector<velkbench::Row> rows;
    const auto report = [&](const velkbench::Row& row) {
        velkbench::Print(row, rows.empty() || rows.back().group != row.group);
        rows.push_back(row);
    };
    try {
        velkbench::MeasureWithNearFreePlatform(options, report);
        velkbench::MeasureGrowth(options, report);
        velkbench::MeasureRequests(options, report);
        velkbench::MeasureLog(options, report);
        velkbench::MeasureModule(options, report);
        velkbench::MeasureWithWine(options, report);
        velkbench::MeasureClients(options, report);
        if (!json.empty()) velkbench::WriteJson(rows, json);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "velkbench: %s\n", failure.what());
        return 1;
    }
    return 0;
}
