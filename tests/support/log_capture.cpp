#include "support/log_capture.h"

#include "common/common_log.h"

namespace velktest {

namespace {
constexpr wchar_t kModule[] = L"VelkWmiPci.DLL!";
}

LogCapture::LogCapture() {
    registry_.SetText(kCommonLogKey, L"LogFolder", folder_.Path());
    registry_.SetDword(kCommonLogKey, L"LogLevel", 1);
    velk::CommonLogObject().Create().LogInit(L"VelkWBEMServer", L"VelkWmiPci.DLL");
    Clear();
}

LogCapture::~LogCapture() { velk::CommonLogObject().Destroy(); }

std::vector<velk::CString> LogCapture::Lines() const {
    const velk::CString text = ReadWide(folder_.Path(L"VelkWBEMServer.log"));
    std::vector<velk::CString> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find(L"\r\n", at);
        velk::CString line = text.substr(at, end - at);
        line.erase(0, line.find(L'['));
        if (const std::size_t module = line.find(kModule); module != velk::CString::npos) {
            line.erase(module, std::size(kModule) - 1);
        }
        lines.push_back(line);
        at = end == velk::CString::npos ? text.size() : end + 2;
    }
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(skipped_));
    return lines;
}

void LogCapture::Clear() { skipped_ += Lines().size(); }

}  // namespace velktest
