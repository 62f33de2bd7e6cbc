#pragma once

#include <string>
#include <vector>

#include "tool/basics/console.h"

namespace velkpci {

/// The whole program: reads the arguments (UTF-8, without the program's name), runs the command, and returns
/// the exit code. The one place where failures become exit codes.
int RunProgram(std::vector<std::string> arguments, const Console& console);

}  // namespace velkpci
