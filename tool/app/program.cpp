#include "tool/app/program.h"

#include <exception>

#include "tool/app/command_line.h"
#include "tool/basics/errors.h"

namespace velkpci {

int RunProgram(std::vector<std::string> arguments, const Console& console) {
    CommandLine line = ReadCommandLine(std::move(arguments));
    if (!line.command) {
        line.exitCode == kSuccess ? console.Print(line.message) : console.PrintError(line.message);
        return line.exitCode;
    }
    Context context(line.options, console);
    try {
        const int code = line.command->Run(context);
        context.FlushReport();
        return code;
    } catch (const WmiError& error) {
        return context.Finish({context.Explain(error.what(), error.Status())});
    } catch (const std::exception& error) {
        // Files that cannot be read or say what they must not; everything that WMI answers is a status.
        console.Complain(error.what());
        return kBadUsage;
    }
}

}  // namespace velkpci
