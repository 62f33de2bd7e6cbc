#include "tool/basics/console.h"

#include <gmock/gmock.h>

#include <vector>

#include "recording_console.h"
#include "support/stand_ins.h"
#include "tool/basics/exit_codes.h"

namespace {

using testing::ElementsAre;

constexpr DWORD kMode = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
constexpr DWORD kWithoutEcho = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT;

/// What happens at the console, in its order: modes that are set, and the end of the program as its exit
/// code.
std::vector<DWORD> happened;
PHANDLER_ROUTINE handler = nullptr;
bool isInterrupted = false;

BOOL WINAPI GetMode(HANDLE, LPDWORD mode) {
    *mode = kMode;
    return TRUE;
}
BOOL WINAPI SetMode(HANDLE, DWORD mode) {
    happened.push_back(mode);
    return TRUE;
}
BOOL WINAPI SetHandler(PHANDLER_ROUTINE routine, BOOL) {
    handler = routine;
    return TRUE;
}
BOOL WINAPI Terminate(HANDLE, UINT code) {
    happened.push_back(code);
    return TRUE;
}
/// The last parameter's type differs between the headers of compilers.
template <class Control>
BOOL WINAPI ReadLine(HANDLE, LPVOID buffer, DWORD, LPDWORD read, Control) {
    if (isInterrupted) handler(CTRL_C_EVENT);
    constexpr wchar_t kLine[] = L"secret\r\n";
    *read = 8;
    std::copy_n(kLine, *read, static_cast<wchar_t*>(buffer));
    return TRUE;
}

/// The password prompt at a console.
class PasswordPromptTest : public testing::Test {
  protected:
    PasswordPromptTest() {
        happened.clear();
        velkpci::EndAtControlC();
    }

    const velktest::StandIn<decltype(&::GetConsoleMode)> getMode_{"GetConsoleMode", GetMode};
    const velktest::StandIn<decltype(&::SetConsoleMode)> setMode_{"SetConsoleMode", SetMode};
    const velktest::StandIn<decltype(&::SetConsoleCtrlHandler)> setHandler_{"SetConsoleCtrlHandler",
                                                                            SetHandler};
    const velktest::StandIn<decltype(&::TerminateProcess)> terminate_{"TerminateProcess", Terminate};
    const velktest::StandIn<decltype(&::ReadConsoleW)> readLine_{"ReadConsoleW", ReadLine};
    const velktest::RecordingConsole console_;
};

TEST_F(PasswordPromptTest, TheEchoIsOffWhileThePasswordIsTyped) {
    isInterrupted = false;
    EXPECT_EQ(velkpci::ReadPassword(console_, "me"), L"secret");
    EXPECT_THAT(happened, ElementsAre(kWithoutEcho, kMode));
}

TEST_F(PasswordPromptTest, ControlCTurnsTheEchoOnBeforeTheProgramEnds) {
    isInterrupted = true;
    velkpci::ReadPassword(console_, "me");
    EXPECT_THAT(happened, ElementsAre(kWithoutEcho, kMode, static_cast<DWORD>(velkpci::kCancelled)));
}

}  // namespace
