#include "support/log_line.h"

#include <regex>

namespace velktest {

std::optional<LogLine> ParseLogLine(const std::wstring& line) {
    static const std::wregex whole(
        L"\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d\\.\\d{3} "
        L"\\[(\\w+)\\] VelkWmiPci\\.DLL!(\\w+)::(~?\\w+)\\| ([^\r\n]+)");
    std::wsmatch match;
    if (!std::regex_match(line, match, whole)) return std::nullopt;
    return LogLine{match[1], match[2], match[3], match[4]};
}

std::vector<std::wstring> SplitLines(const std::wstring& log) {
    std::vector<std::wstring> lines;
    for (std::size_t at = 0; at < log.size();) {
        const std::size_t end = log.find(L"\r\n", at);
        lines.push_back(log.substr(at, end - at));
        at = end == std::wstring::npos ? log.size() : end + 2;
    }
    return lines;
}

}  // namespace velktest
