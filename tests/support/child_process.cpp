#include "support/child_process.h"

#include "support/waiting.h"

namespace velktest {

ChildProcess::ChildProcess(const velk::CString& testName) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    velk::CString command = velk::FormatText(L"\"%s\" %S --gtest_also_run_disabled_tests --gtest_filter=%s",
                                             program, kChildArgument, testName);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information = {};
    if (!::CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &information)) {
        return;
    }
    process_.Reset(information.hProcess);
    velk::UniqueHandle(information.hThread).Reset();
}

ChildProcess::~ChildProcess() {
    if (process_ && ::WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT) {
        ::TerminateProcess(process_.Get(), 1);
    }
}

DWORD ChildProcess::Wait() {
    DWORD code = 1;
    if (BecomesSignalled(process_.Get())) ::GetExitCodeProcess(process_.Get(), &code);
    if (code == kChildPassed) return 0;
    return code == 0 ? kRanNoTest : code;
}

velk::UniqueHandle OpenSharedEvent(const wchar_t* name) {
    return velk::UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, name));
}

}  // namespace velktest
