#pragma once

#include <filesystem>
#include <string>

namespace velkpci {

/// What a run of WMI's MOF compiler came to.
struct CompilerRun {
    unsigned long code = 0;  ///< its exit code; kNoCompiler when it could not be started
    std::string said;        ///< what it printed, as UTF-8
};

/// The exit code of a compiler that is not there, as the system numbers a file that cannot be found.
inline constexpr unsigned long kNoCompiler = 2;

/// Runs `compiler` on a file and waits for it. Throws InputError when what it prints cannot be kept.
CompilerRun RunMofCompiler(const std::filesystem::path& compiler, const std::filesystem::path& file);

}  // namespace velkpci
