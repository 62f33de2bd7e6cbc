#pragma once

#include <string>
#include <vector>

#include "tool/view/findings.h"

namespace velkpci {

/// For people: a block of properties for each instance; where a section has many, or columns are asked for, a
/// table. What failed is not in it.
std::string FormatAsText(const Findings& findings, const std::vector<std::wstring>& columns,
                         const OutputOptions& options, std::size_t width);

/// A table of many instances within a width: what tells them apart. Columns in which all are alike or that
/// find no room are left out, and a last line says how many.
std::string FormatOverview(const Instances& instances, std::size_t width);

}  // namespace velkpci
