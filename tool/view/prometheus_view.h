#pragma once

#include <string>

#include "tool/inventory/inventory.h"

namespace velkpci {

/// The inventory as gauges in the text format of Prometheus. Of a class that failed there are no gauges but
/// `velk_pci_class_up`, which is 0: what could not be read is not counted as none.
std::string FormatAsPrometheus(const Inventory& inventory);

}  // namespace velkpci
