#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tool/app/command.h"

namespace velkpci {

/// The outcome of reading the command line: a command with its options, or a text for the user and the exit
/// code to end with (kSuccess after --help, kBadUsage after a wrong word).
struct CommandLine {
    std::unique_ptr<Command> command;
    CommonOptions options;
    std::string message;
    int exitCode = kSuccess;
};

/// `arguments` are the command line's without the program's name, as UTF-8.
CommandLine ReadCommandLine(std::vector<std::string> arguments);

}  // namespace velkpci
