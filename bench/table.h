#pragma once

#include <string>
#include <vector>

#include "bench/measure.h"

namespace velkbench {

/// One line of the result.
struct Row {
    std::string group;           ///< what is compared with what
    std::string name;            ///< WMI class, or what else is measured
    unsigned size = 0;           ///< PCI functions of the machine; 0 where that does not count
    Comparison comparison = {};  ///< of two things; without turns where a single figure is told
    double value = 0;            ///< that figure
    std::string unit = {};       ///< and its unit
};

/// Shows a row; a group's first row comes below its heading.
void Print(const Row& row, bool isFirstOfGroup);

/// Writes all rows in the shape of Google Benchmark's JSON. Throws std::runtime_error.
void WriteJson(const std::vector<Row>& rows, const std::string& file);

}  // namespace velkbench
