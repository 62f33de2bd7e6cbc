#pragma once

#include <string>

#include "allowed_statuses.h"
#include "fault_plan.h"
#include "inventory.h"

namespace velktest {

/// How the inventory may differ from the reference when the named call failed, once or with all calls after
/// it, and the request succeeded all the same. A call that is not listed changes nothing. `sufferable`: what
/// can happen to an inventory of that class.
Differences AllowedDifferences(Entry entry, FaultMode mode, const std::string& call,
                               const Differences& sufferable);

}  // namespace velktest
