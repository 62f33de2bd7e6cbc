#include "tool/app/output_file.h"

#include <algorithm>

#include "common/handle.h"
#include "common/platform.h"
#include "host/utf8.h"
#include "tool/app/errors.h"

namespace velkpci {
namespace {

/// The system's sentence for an error number, without its line end.
std::string SystemReason(DWORD error) {
    wchar_t text[512];
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    std::string reason = velkhost::Utf8FromWide({text, length});
    reason.erase(reason.find_last_not_of(" .\r\n") + 1);
    std::ranges::replace_if(
        reason, [](char c) { return c == '\r' || c == '\n'; }, ' ');
    return reason.empty() ? "error " + std::to_string(error) : reason;
}

/// Returns the error number, ERROR_SUCCESS when all of it is written.
DWORD WriteWhole(const std::wstring& path, std::string_view content) {
    const velk::UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                              FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return ::GetLastError();
    while (!content.empty()) {
        const auto size = static_cast<DWORD>(std::min<std::size_t>(content.size(), 1u << 20));
        DWORD written = 0;
        if (!::WriteFile(file.Get(), content.data(), size, &written, nullptr)) return ::GetLastError();
        content.remove_prefix(written);
    }
    return ERROR_SUCCESS;
}

}  // namespace

void WriteOutputFile(const std::string& path, std::string_view content) {
    const std::wstring target = velkhost::WideFromUtf8(path);
    // In the same folder, so that taking the place is one step; of this process, so that two do not meet.
    const std::wstring temporary = target + L"." + std::to_wstring(::GetCurrentProcessId()) + L".tmp";
    DWORD error = WriteWhole(temporary, content);
    const bool isMoved = error == ERROR_SUCCESS &&
                         ::MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
    if (isMoved) return;
    if (error == ERROR_SUCCESS) error = ::GetLastError();
    ::DeleteFileW(temporary.c_str());
    throw InputError("cannot write " + path + ": " + SystemReason(error));
}

}  // namespace velkpci
