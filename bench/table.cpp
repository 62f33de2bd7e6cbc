#include "bench/table.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "host/json.h"

namespace velkbench {

void Print(const Row& row, bool isFirstOfGroup) {
    if (isFirstOfGroup) std::printf("\n%s\n", row.group.c_str());
    std::string name = row.name;
    if (row.size != 0) name += ", " + std::to_string(row.size) + " functions";
    const Comparison& comparison = row.comparison;
    if (comparison.turns == 0) {
        std::printf("  %-50s %12.1f %s\n", name.c_str(), row.value, row.unit.c_str());
    } else {
        std::printf("  %-50s %8.3f  (%.3f to %.3f)  %12.1f us to %12.1f us\n", name.c_str(), comparison.ratio,
                    comparison.low, comparison.high, comparison.subject / 1000, comparison.floor / 1000);
    }
    std::fflush(stdout);
}

void WriteJson(const std::vector<Row>& rows, const std::string& file) {
    auto benchmarks = velkhost::Json::array();
    for (const Row& row : rows) {
        velkhost::Json entry = {{"name", row.group + "/" + row.name}, {"run_type", "aggregate"}};
        if (row.size != 0) entry["functions"] = row.size;
        const Comparison& comparison = row.comparison;
        if (comparison.turns == 0) {
            entry["value"] = row.value;
            entry["unit"] = row.unit;
        } else {
            entry.update({{"ratio", comparison.ratio},
                          {"ratio_quartile_1", comparison.low},
                          {"ratio_quartile_3", comparison.high},
                          {"repetitions", comparison.turns},
                          {"real_time", comparison.subject},
                          {"floor_real_time", comparison.floor},
                          {"time_unit", "ns"}});
        }
        benchmarks.push_back(std::move(entry));
    }
    std::ofstream out(file, std::ios::binary);
    out << velkhost::JsonText({{"context", {{"executable", "velkbench"}}}, {"benchmarks", benchmarks}}, 2)
        << '\n';
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

}  // namespace velkbench
