#pragma once

#include <filesystem>

#include "host/machine/machine.h"
#include "tool/source/source.h"

namespace velkpci {

/// The management suite's classes of computer system and chassis, which the provider's references lead to.
inline constexpr const wchar_t* kSuiteClasses[] = {L"Velk_WinComputerSystem", L"Velk_ComputerSystemChassis"};

/// The folder "mof" that holds VelkWmiPci.mof and stands in the program's folder or in one above it. Throws
/// InputError when there is none.
std::filesystem::path FindShippedMof(const std::filesystem::path& programFolder);

/// The class definitions that a machine has: of the folder's files VelkWmiPci.mof, and standalone.mof when
/// the options ask for it, the machine file says "suite" or names objects of a class that only that file
/// defines. `machine` may be null.
std::vector<std::filesystem::path> MofFilesFor(const SourceOptions& options, const velkhost::Machine* machine,
                                               const std::filesystem::path& mofFolder);

/// The registered DLL in this process, with WMI's part played by the host: on a replayed machine, or on this
/// computer itself.
std::unique_ptr<Source> OpenHostedSource(const SourceOptions& options, const Console& console);

}  // namespace velkpci
