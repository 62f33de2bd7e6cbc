#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velkhost::cli {

/// What the program is asked to do; all texts are UTF-8.
struct Options {
    enum class Command { kClasses, kList, kGet, kDump, kAssociators, kReferences, kTree };

    Command command = Command::kClasses;
    std::string target;                  ///< the class of kList, the path of kAssociators and kReferences
    std::vector<std::string> paths;      ///< of kGet, at least one
    std::optional<std::string> machine;  ///< the machine file; nothing: this machine itself
    bool live = false;                   ///< said expressly; without a machine file it is so anyway
    std::vector<std::string> mofFiles;   ///< empty: those shipped beside the program
    std::string nameSpace = "root\\VKQ";
    std::vector<std::string> columns;  ///< of kList: a table of these properties instead of blocks
    bool asJson = false;
    bool all = false;
    bool verbose = false;
};

/// The outcome of reading the command line: options, or a text for the user and the exit code to end with (0
/// after
/// --help, 2 after bad usage).
struct ParsedOptions {
    std::optional<Options> options;
    std::string message;
    int exitCode = 0;
};

/// `arguments` are the command line's without the program's name.
ParsedOptions ParseOptions(std::vector<std::string> arguments);

}  // namespace velkhost::cli
