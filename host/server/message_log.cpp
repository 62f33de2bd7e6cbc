#include "host/server/message_log.h"

#include "common/handle.h"
#include "common/text.h"
#include "host/utf8.h"

namespace velkhost {
namespace {

std::wstring LogFile() {
    wchar_t folder[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(folder, MAX_PATH);
    return length == 0 || length >= MAX_PATH ? std::wstring()
                                             : std::wstring(folder, length) + L"\\wbem\\logs\\velkhost.log";
}

}  // namespace

void LogMessage(const std::wstring& message) noexcept {
    try {
        SYSTEMTIME now;
        ::GetLocalTime(&now);
        const std::wstring line =
            velk::FormatText(L"%04d-%02d-%02d %02d:%02d:%02d [%lu] %s\r\n", now.wYear, now.wMonth, now.wDay,
                             now.wHour, now.wMinute, now.wSecond, ::GetCurrentProcessId(), message);
        ::OutputDebugStringW(line.c_str());
        // Appending alone: several clients may write at once, and a line is one write.
        const velk::UniqueFile file(::CreateFileW(LogFile().c_str(), FILE_APPEND_DATA,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                                  FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) return;
        const std::string bytes = Utf8FromWide(line);
        DWORD written = 0;
        ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    } catch (...) {
        // A log that fails is silent.
    }
}

}  // namespace velkhost
