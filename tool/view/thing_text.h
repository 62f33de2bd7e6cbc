#pragma once

#include <string>

#include "tool/inventory/inventory.h"

namespace velkpci {

/// "8086:A1AF", vendor and device.
std::string IdsOf(const Function& function);

/// By the path that references give; where the suite's class is missing by the functions' own word. Empty
/// when nothing tells it.
std::string NameOf(const Computer& computer);

}  // namespace velkpci
