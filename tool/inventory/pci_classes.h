#pragma once

#include <cstdint>
#include <string>

namespace velkpci {

/// What the PCI base class code stands for, "Network"; empty for a code that has no name.
std::string PciClassName(std::uint32_t baseClass);

}  // namespace velkpci
