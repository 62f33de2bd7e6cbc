#pragma once

#include "tool/app/command.h"

namespace velkpci {

// The makers of the commands, each in the file of its name; command_table.cpp has their rows.
std::unique_ptr<Command> MakeAssociatorsCommand();
std::unique_ptr<Command> MakeCaptureCommand();
std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeClassesCommand();
std::unique_ptr<Command> MakeDiffCommand();
std::unique_ptr<Command> MakeDumpCommand();
std::unique_ptr<Command> MakeExportCommand();
std::unique_ptr<Command> MakeGetCommand();
std::unique_ptr<Command> MakeListCommand();
std::unique_ptr<Command> MakeQueryCommand();
std::unique_ptr<Command> MakeReferencesCommand();
std::unique_ptr<Command> MakeReportCommand();
std::unique_ptr<Command> MakeSetupCommand();
std::unique_ptr<Command> MakeTreeCommand();

}  // namespace velkpci
