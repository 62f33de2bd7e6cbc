#include "common/log_file.h"

#include <cstdio>
#include <string>

namespace velk {

namespace {

/// The status of a rotation that left the old file where it was.
constexpr DWORD kCannotMoveOldFile = 3;

/// The low and the high half of the size as one signed sum: the size itself below 2 GiB. From there to 4 GiB
/// the sum is negative and the file is left to grow; only a log that was never rotated gets there.
LONG SizeForRotation(HANDLE file) noexcept {
    DWORD high = 0;
    const DWORD low = ::GetFileSize(file, &high);
    return static_cast<LONG>(low + high);
}

/// In UTF-8, which has every letter that a path can have: printed as wide text a line ends at the first
/// letter that the C runtime's code page lacks.
void PrintToStandardError(const CString& text) {
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    std::fputs(bytes.c_str(), stderr);
}

}  // namespace

UniqueFile OpenLogFile(const CString& pathBase, DWORD flags) {
    const CString path = pathBase + L".log";
    return UniqueFile(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, flags,
                                    nullptr));
}

DWORD RotateLogFile(const CString& pathBase, LONG maxSize, UniqueFile& file) {
    if (SizeForRotation(file.Get()) < maxSize) return ERROR_SUCCESS;

    const CString path = pathBase + L".log";
    const CString oldPath = pathBase + L".lo_";
    file.Reset();
    ::DeleteFileW(oldPath.c_str());
    if (!::MoveFileW(path.c_str(), oldPath.c_str())) {
        // The log itself is what failed, so this goes where a console or a service manager may show it.
        PrintToStandardError(L"logging: Failed to replace old log file: " + path + L"\n");
        return kCannotMoveOldFile;
    }
    file = OpenLogFile(pathBase, FILE_FLAG_RANDOM_ACCESS);
    return file ? ERROR_SUCCESS : ::GetLastError();
}

DWORD AppendToLogFile(const UniqueFile& file, const CString& text) noexcept {
    if (!::SetFilePointerEx(file.Get(), {}, nullptr, FILE_END)) return ::GetLastError();
    DWORD written = 0;
    const DWORD bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    return ::WriteFile(file.Get(), text.data(), bytes, &written, nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace velk
