#pragma once

#include <filesystem>
#include <vector>

#include "host/machine/machine.h"
#include "host/model/repository.h"

namespace velkhost {

/// Classes and static instances for a machine, or (null) for this machine: the MOF files, then what the
/// machine file says that other providers would serve. Where it names objects of a class, it names all of
/// them: instances of that class from the MOF files are dropped. Where the computer system's class is defined
/// and nothing names the computer system, it is made of the machine's name. Throws MachineError, MofError.
Repository BuildRepository(const std::vector<std::filesystem::path>& mofFiles, const Machine* machine);

}  // namespace velkhost
