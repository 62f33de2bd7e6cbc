#pragma once

#include <set>
#include <string>

#include "fault_plan.h"

namespace velktest {

/// What a client or WMI can ask of a provider class.
enum class Entry { kCreate, kInitialize, kEnumerate, kGetFound, kGetMissing };

/// The statuses with which an entry point may answer when the named call failed, once or with all calls
/// after it. `needsTable`: the class fails where there is no SMBIOS table.
std::set<HRESULT> AllowedStatuses(Entry entry, FaultMode mode, const std::string& call, bool needsTable);

/// The statuses with which the start of an enumeration on a thread of its own may answer; what the thread
/// then reports is that of an enumeration.
std::set<HRESULT> AllowedStartStatuses(FaultMode mode, const std::string& call);

}  // namespace velktest
