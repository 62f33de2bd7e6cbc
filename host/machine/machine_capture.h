#pragma once

#include "host/machine/machine.h"

namespace velkhost {

/// The names of the computer that this runs on; those that the system does not give are absent.
ComputerNames ReadComputerNames();

/// Its firmware table, which WMI hands out too; nothing when the platform gives none.
std::optional<SmbiosFirmware> ReadFirmwareTable();

/// The machine that this runs on, as the provider sees it: names, firmware table, the present devices of the
/// PCI enumerator in SetupAPI's order, and of the provider's settings the one that changes its answers. What
/// other providers serve (`suite`, `objects`) is not known here. Throws MachineError when the devices cannot
/// be listed.
Machine CaptureMachine();

}  // namespace velkhost
