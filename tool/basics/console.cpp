#include "tool/basics/console.h"

#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <cstdio>
#include <iostream>

#include "host/utf8.h"
#include "tool/basics/exit_codes.h"

namespace velkpci {
namespace {

/// Turns a console's echo off for as long as it lives. At most one at a time.
class EchoOff {
  public:
    explicit EchoOff(HANDLE input) {
        ::GetConsoleMode(input, &mode_);
        input_ = input;
        ::SetConsoleMode(input, mode_ & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    ~EchoOff() { Restore(); }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

    /// From any thread: the mode is the console's, and would outlive the program.
    static void Restore() {
        const HANDLE input = input_.exchange(nullptr);
        if (input != nullptr) ::SetConsoleMode(input, mode_);
    }

  private:
    static inline std::atomic<HANDLE> input_ = nullptr;  ///< set while the echo is off
    static inline DWORD mode_ = 0;                       ///< written before input_ is
};

BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
    EchoOff::Restore();
    // Not ExitProcess: it would unload the provider under a thread that is still inside it.
    ::TerminateProcess(::GetCurrentProcess(), kCancelled);
    return TRUE;
}

std::wstring ReadConsoleLine(HANDLE input) {
    const EchoOff echoOff(input);
    std::wstring line(1024, L'\0');
    DWORD read = 0;
    if (!::ReadConsoleW(input, line.data(), static_cast<DWORD>(line.size()), &read, nullptr)) read = 0;
    line.resize(read);
    return line.substr(0, line.find_first_of(L"\r\n"));
}

}  // namespace

Console::Console() : codePage_(::GetConsoleOutputCP()) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

Console::~Console() {
    std::fflush(stdout);
    if (codePage_ != 0) ::SetConsoleOutputCP(codePage_);
}

void Console::Print(const std::string& text) const { std::fwrite(text.data(), 1, text.size(), stdout); }

void Console::PrintError(const std::string& text) const {
    std::fflush(stdout);
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void Console::Complain(const std::string& text) const { PrintError("velkpci: " + text + "\n"); }

bool Console::IsWatched() const {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

std::size_t Console::Width() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

void EndAtControlC() { ::SetConsoleCtrlHandler(&OnControl, TRUE); }

std::wstring ReadPassword(const Console& console, const std::string& user) {
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (::GetConsoleMode(input, &mode)) {
        console.PrintError("Password of " + user + ": ");
        std::wstring password = ReadConsoleLine(input);
        console.PrintError("\n");
        return password;
    }
    std::string line;
    std::getline(std::cin, line);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return velkhost::WideFromUtf8(line);
}

}  // namespace velkpci
