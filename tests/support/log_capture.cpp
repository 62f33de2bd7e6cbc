#include "support/log_capture.h"

#include "common/common_log.h"
#include "support/log_line.h"

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
    std::vector<velk::CString> lines = SplitLines(ReadWide(folder_.Path(L"VelkWBEMServer.log")));
    for (velk::CString& line : lines) {
        line.erase(0, line.find(L'['));
        if (const std::size_t module = line.find(kModule); module != velk::CString::npos) {
            line.erase(module, std::size(kModule) - 1);
        }
    }
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(skipped_));
    return lines;
}

void LogCapture::Clear() { skipped_ += Lines().size(); }

}  // namespace velktest
