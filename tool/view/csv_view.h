#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/view/findings.h"

namespace velkpci {

/// Rows of fields as RFC 4180 writes them: CR LF, quotes where needed; a field that is nothing (NULL) is
/// empty, an empty text "".
std::string FormatCsv(const std::vector<std::vector<std::optional<std::string>>>& rows);

/// A line of names, then a line for each instance: class, path and the class's properties; after a property
/// with a value map its names ("ConnectorLayout.name"). Elements of arrays are joined by "; ". With columns
/// these alone, with their names. A class that failed without any instance gives nothing, not even names.
std::string FormatAsCsv(const Findings& findings, const std::vector<std::wstring>& columns);

}  // namespace velkpci
