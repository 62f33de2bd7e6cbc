#pragma once

#include "bench/platform_calls.h"
#include "bench/trace.h"

namespace velkbench {

/// Makes the calls of a trace again, one after the other, with nothing around them, and hands the instances
/// to the sink: what an enumeration costs when its provider costs nothing. `classObject` is the class whose
/// instances are spawned. Throws std::runtime_error when a call that has a successor fails.
void RunFloor(const Trace& trace, const PlatformCalls& platform, IWbemClassObject& classObject,
              IWbemObjectSink& sink);

}  // namespace velkbench
