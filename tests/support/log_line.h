#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velktest {

/// A whole line of a log that VelkWmiPci.dll wrote, without its time.
struct LogLine {
    std::wstring level;      ///< between the brackets
    std::wstring className;  ///< of the function that wrote it
    std::wstring method;
    std::wstring text;

    bool operator==(const LogLine&) const = default;
};

/// Nothing of what is no whole line, without its end: torn, or by somebody else.
std::optional<LogLine> ParseLogLine(const std::wstring& line);

/// The lines of a log without their ends, CR LF. What stands behind the last end is a line, too.
std::vector<std::wstring> SplitLines(const std::wstring& log);

}  // namespace velktest
