#pragma once

#include <string>
#include <vector>

#include "tool/inventory/inventory.h"
#include "tool/view/findings.h"

namespace velkpci {

/// The whole machine drawn with lines: the computer; chassis, its slots, their cards, the cards' functions;
/// then what no chassis, slot or card holds, functions and bridges by bus.
std::string FormatTree(const Inventory& inventory);

/// The same as the document "velkpci.tree".
std::string FormatTreeAsJson(const Inventory& inventory, const std::vector<Failure>& failures);

}  // namespace velkpci
