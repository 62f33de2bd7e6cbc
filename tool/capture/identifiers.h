#pragma once

#include "host/machine/machine.h"

namespace velkpci {

/// Replaces what tells this machine from others of its kind: names of the computer, serial numbers, asset
/// tags and UUIDs of the firmware table, serial numbers in instance IDs. Lengths, structure and all that the
/// provider reads stay. The replacement depends on nothing but the machine: two captures of one machine
/// remain equal, and replacing again changes nothing.
///
/// docs/machine-format.md has the rules. tools/lib/identifiers.py replaces by the same ones, and both are
/// held against tests/support/identifiers.json.
void ReplaceIdentifiers(velkhost::Machine& machine);

}  // namespace velkpci
