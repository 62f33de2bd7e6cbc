#pragma once

#include "host/machine/machine.h"

namespace velkbench {

/// A server of so many PCI functions. Every eighth is a bridge; of the others those on the first buses sit in
/// numbered slots, eight functions to a slot, and the firmware describes from 8 to 64 slots.
velkhost::Machine MakeMachine(unsigned functions);

}  // namespace velkbench
