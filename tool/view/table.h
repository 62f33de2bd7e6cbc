#pragma once

#include <string>
#include <vector>

namespace velkpci {

/// How many columns of a terminal a UTF-8 text takes: its code points, which is exact for the texts that
/// firmware and devices give.
std::size_t DisplayWidth(const std::string& text);

/// Rows of cells (UTF-8), aligned by the widest cell of each column, two blanks apart, each row indented. The
/// last cell of a row is not padded.
std::string FormatTable(const std::vector<std::vector<std::string>>& rows, std::size_t indent = 0);

}  // namespace velkpci
