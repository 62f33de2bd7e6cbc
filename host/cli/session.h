#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/handle.h"
#include "host/cli/console.h"
#include "host/cli/options.h"
#include "host/machine/machine_replay.h"
#include "host/wmi_host.h"

namespace velkhost::cli {

/// Input that the user named and that cannot be used. what() is UTF-8.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The class definitions to read when none are named: VelkWmiPci.mof and then the other *.mof files of the
/// first folder "mof" that stands in the program's folder or in one above it. Throws InputError when there is
/// none.
std::vector<std::filesystem::path> FindShippedMof(const std::filesystem::path& programFolder);

/// Classes and static instances for a machine, or (null) for this machine: the MOF files, then what the
/// machine file says that other providers would serve. Where it names objects of a class, it names all of
/// them: instances of that class from the MOF files are dropped. Where nothing names the computer system, it
/// is made of the machine's name. Throws InputError, MofError.
Repository BuildRepository(const std::vector<std::filesystem::path>& mofFiles, const Machine* machine);

/// A host for one run of the program: the repository, and for a machine file the provider's DLL, loaded from
/// where it is registered, with its imports redirected.
class Session {
  public:
    /// Throws InputError and what reading a MOF or machine file throws.
    Session(const Options& options, const Console& console);

    WmiHost& Host() { return *host_; }
    IWbemServices& Services() { return *services_.Get(); }
    const std::wstring& Namespace() const { return nameSpace_; }

  private:
    void Replay(Machine machine, const Repository& repository);

    const Console& console_;
    const bool verbose_;
    const std::wstring nameSpace_;
    // Destroyed from the last to the first: the providers go before the redirections, these before the DLL.
    velk::UniqueLibrary provider_;
    std::optional<MachineReplay> replay_;
    std::optional<WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
};

}  // namespace velkhost::cli
