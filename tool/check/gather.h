#pragma once

#include "tool/basics/console.h"
#include "tool/check/facts.h"

namespace velkpci {

/// Everything that a check looks at. Nothing is changed, but for the lines that the provider logs when it is
/// asked. Throws InputError for a machine file that cannot be used.
Facts GatherFacts(const SourceOptions& options, const Console& console);

// The parts of it.

/// By the registry, and by loading each DLL that it names.
Registration GatherRegistration();

/// Connects to the source, reads everything, and disconnects. A refused connection is an answer.
Answers GatherAnswers(const SourceOptions& options, const Console& console);

/// The firmware's table as the provider reads it: of the machine file, else of this computer.
Firmware GatherFirmware(const SourceOptions& options);

/// Looks at the logs before and after the requests of a check.
class LogWatch {
  public:
    LogWatch();
    Logs Finish() const;

  private:
    std::wstring folder_, commonLog_, legacyLog_;
    long level_ = 3;
    std::uint64_t commonSize_ = 0, legacySize_ = 0;
};

}  // namespace velkpci
