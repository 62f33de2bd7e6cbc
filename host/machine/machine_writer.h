#pragma once

#include <string>

#include "host/json.h"
#include "host/machine/machine.h"

namespace velkhost {

/// A machine as its file has it, members in the order in which people read them. What reads the same in a
/// plain form stands in that form: a value that is no well-formed text, list or number of its property is
/// written raw, so that a machine that is read again is the same.
Json MachineToJson(const Machine& machine);

/// The text of a machine file, UTF-8 with LF. ParseMachine makes the same machine of it.
std::string FormatMachine(const Machine& machine);

}  // namespace velkhost
