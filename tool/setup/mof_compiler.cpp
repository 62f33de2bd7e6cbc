#include "tool/setup/mof_compiler.h"

#include "common/handle.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"

namespace velkpci {
namespace {

/// All that the other end of a pipe writes until it closes.
std::string ReadToEnd(HANDLE pipe) {
    std::string text;
    char block[4096];
    for (DWORD read = 0; ::ReadFile(pipe, block, sizeof block, &read, nullptr) && read != 0;)
        text.append(block, read);
    return text;
}

/// A program without a console prints in the system's OEM code page.
std::string Utf8FromOem(const std::string& text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_OEMCP, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()))));
    return velkhost::Utf8FromWide(wide);
}

/// A pipe whose writing end alone is inherited: the reading ends when the child does.
void MakePipe(velk::UniqueHandle& reading, velk::UniqueHandle& writing) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    if (!::CreatePipe(reading.Put(), writing.Put(), &inherited, 0) ||
        !::SetHandleInformation(reading.Get(), HANDLE_FLAG_INHERIT, 0))
        throw InputError("no pipe for what the MOF compiler prints");
}

}  // namespace

CompilerRun RunMofCompiler(const std::filesystem::path& compiler, const std::filesystem::path& file) {
    velk::UniqueHandle reading, writing;
    MakePipe(reading, writing);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writing.Get();
    startup.hStdError = writing.Get();
    std::wstring command = L"\"" + compiler.wstring() + L"\" \"" + file.wstring() + L"\"";
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(compiler.c_str(), command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                          nullptr, &startup, &started))
        return {kNoCompiler, velkhost::Utf8FromWide(compiler.wstring()) + " cannot be started: error " +
                                 std::to_string(::GetLastError()) + "\r\n"};
    const velk::UniqueHandle process(started.hProcess), thread(started.hThread);
    writing.Reset();
    CompilerRun run;
    run.said = Utf8FromOem(ReadToEnd(reading.Get()));
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &run.code);
    return run;
}

}  // namespace velkpci
