#pragma once

#include <memory>
#include <vector>

#include "host/import_redirect.h"
#include "host/machine/machine.h"

namespace velkhost {

struct ReplayState;

/// Makes a loaded module see a machine: its imports of SetupAPI's device enumeration, of GetComputerNameExW
/// and of GetSystemFirmwareTable answer from the machine, with the platform's own rules, and its CreateFileW
/// does not find the health driver. Of a machine with settings it reads the registry key of the provider's
/// settings, too; without, and for all other keys, it is the registry's. What the module does not import
/// stays out. In a unit test the module is the test program itself.
///
/// Settings that a module reads while it is loaded, as the log's are, come from the registry: there is
/// nothing to redirect before.
///
/// One replay exists at a time in a process. To be destroyed before the module is unloaded and while no other
/// thread is inside it.
class MachineReplay {
  public:
    /// Throws std::logic_error when another replay is alive.
    MachineReplay(HMODULE module, Machine machine);
    ~MachineReplay();
    MachineReplay(const MachineReplay&) = delete;
    MachineReplay& operator=(const MachineReplay&) = delete;

    /// The machine that answers; may be changed between calls of the module. Device sets that are still open
    /// keep the devices that they were made of.
    Machine& Current() noexcept;

    /// Device information sets that the module has not destroyed yet.
    std::size_t OpenDeviceSets() const;

  private:
    struct Deactivate {
        void operator()(ReplayState* state) const noexcept;
    };

    std::unique_ptr<ReplayState, Deactivate> state_;  // outlives the redirections, which lead to it
    std::vector<ImportRedirect> redirects_;
};

}  // namespace velkhost
