#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/handle.h"
#include "host/machine/machine.h"
#include "host/machine/machine_replay.h"
#include "host/model/repository.h"

namespace velkhost {

/// The management suite's classes of computer system and chassis, which the provider's references lead to.
inline constexpr const wchar_t* kSuiteClasses[] = {L"Velk_WinComputerSystem", L"Velk_ComputerSystemChassis"};

/// The file of a module; null stands for the program's own. Throws std::bad_alloc.
std::filesystem::path FileOfModule(HMODULE module);

/// The folder "mof" that holds VelkWmiPci.mof and stands in the given folder or in one above it. Throws
/// MachineError when there is none.
std::filesystem::path FindShippedMof(const std::filesystem::path& folder);

/// The class definitions that a machine has: of the folder's files VelkWmiPci.mof, and standalone.mof when
/// that is asked for, the machine file says "suite" or names objects of a class that only that file defines.
/// `machine` may be null.
std::vector<std::filesystem::path> ShippedMofFiles(const Machine* machine, bool standalone,
                                                   const std::filesystem::path& mofFolder);

/// The registered provider DLL, loaded and made to see a machine for as long as this lives. To be destroyed
/// after the host that calls the DLL.
class ReplayedProvider {
  public:
    /// All classes of a namespace are served by one DLL, and the first registered one tells which. Without
    /// any there is nothing to redirect: the request for an instance will say what is missing.
    ReplayedProvider(const Repository& repository, const std::wstring& nameSpace, Machine machine);

    /// The DLL's file, or nothing when none could be loaded.
    const std::optional<std::wstring>& File() const { return file_; }

  private:
    // The redirections go before the DLL.
    std::optional<std::wstring> file_;
    velk::UniqueLibrary provider_;
    std::optional<MachineReplay> replay_;
};

}  // namespace velkhost
