#pragma once

#include "host/cli/session.h"

namespace velkhost::cli {

inline constexpr int kSuccess = 0;
inline constexpr int kWmiFailure = 1;
inline constexpr int kBadUsage = 2;

/// Carries out what the options ask, and returns the program's exit code.
int RunCommand(const Options& options, Session& session, const Console& console);

/// The whole program: reads the arguments (UTF-8, without the program's name), makes a session, runs the
/// command.
int RunProgram(std::vector<std::string> arguments, const Console& console);

}  // namespace velkhost::cli
