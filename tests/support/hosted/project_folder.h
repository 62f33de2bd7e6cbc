#pragma once

#include <filesystem>
#include <string>

#include "host/machine/machine.h"

namespace velktest {

/// The folder that machines/ and mof/ are in.
std::filesystem::path ProjectFolder();

/// A machine of machines/ by its name.
velkhost::Machine LoadSampleMachine(const std::string& name);

}  // namespace velktest
