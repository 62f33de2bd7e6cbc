#pragma once

#include <string>
#include <vector>

#include "tool/inventory/inventory.h"
#include "tool/view/findings.h"

namespace velkpci {

// Both are made of the inventory and of what failed while it was read, and of nothing else: the same machine
// gives the same bytes.

/// One HTML page that needs nothing beside it: the chassis with its slots, the functions by bus, and every
/// instance with all its properties.
std::string FormatReportAsHtml(const Inventory& inventory, const std::vector<Failure>& failures);

/// The chassis with its slots alone, as an SVG drawing.
std::string FormatReportAsSvg(const Inventory& inventory, const std::vector<Failure>& failures);

}  // namespace velkpci
