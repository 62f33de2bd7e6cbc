#include "tool/app/output_file.h"

#include <system_error>

#include "common/handle.h"
#include "host/utf8.h"
#include "tool/app/errors.h"

namespace velkpci {
namespace {

[[noreturn]] void Refuse(const std::string& file, DWORD error) {
    std::string reason = std::system_category().message(static_cast<int>(error));
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r' || reason.back() == '.'))
        reason.pop_back();
    throw InputError(file + ": cannot be written: " + reason);
}

/// 0, or the error of the step that failed.
DWORD WriteAll(const std::wstring& file, const std::string& text) {
    const velk::UniqueFile output(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!output) return ::GetLastError();
    DWORD written = 0;
    if (!::WriteFile(output.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
        return ::GetLastError();
    if (written != text.size()) return ERROR_DISK_FULL;
    return ::FlushFileBuffers(output.Get()) ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

void WriteOutputFile(const std::string& file, const std::string& text) {
    const std::wstring target = velkhost::WideFromUtf8(file);
    const std::wstring beside = target + L".part";
    DWORD error = WriteAll(beside, text);
    if (error == ERROR_SUCCESS &&
        !::MoveFileExW(beside.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        error = ::GetLastError();
    if (error == ERROR_SUCCESS) return;
    ::DeleteFileW(beside.c_str());
    Refuse(file, error);
}

}  // namespace velkpci
