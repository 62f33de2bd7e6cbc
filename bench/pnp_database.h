#pragma once

#include "host/machine/machine.h"

namespace velkbench {

/// Puts a machine's PCI devices into the Plug and Play database of the Wine prefix, in the place of those
/// that are there; none is left at the end.
class PnpDatabase {
  public:
    /// Throws std::runtime_error.
    explicit PnpDatabase(const velkhost::Machine& machine);
    ~PnpDatabase();
    PnpDatabase(const PnpDatabase&) = delete;
    PnpDatabase& operator=(const PnpDatabase&) = delete;
};

}  // namespace velkbench
