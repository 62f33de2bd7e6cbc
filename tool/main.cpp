#include "common/platform.h"
// shellapi.h follows windows.h, which leaves it out.
#include <shellapi.h>

#include "host/utf8.h"
#include "tool/app/program.h"
#include "tool/basics/exit_codes.h"

// -municode is not asked for: the wide command line is read from the system, so that class names and paths of
// any script arrive as they were typed.
int main() {
    // A provider that crashes must end the program with a failing code, never with a dialog.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    velkpci::EndAtControlC();
    int count = 0;
    LPWSTR* const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (wide == nullptr) return velkpci::kBadUsage;
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(velkhost::Utf8FromWide(wide[i]));
    ::LocalFree(wide);
    const velkpci::Console console;
    return velkpci::RunProgram(std::move(arguments), console);
}
