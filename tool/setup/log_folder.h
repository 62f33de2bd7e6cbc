#pragma once

#include <filesystem>

#include "common/handle.h"

namespace velkpci {

/// A list with the entries of `list` (null: none) and the right to modify, also of what is made below, for
/// NETWORK SERVICE: the account that hosts the provider. Empty when the system refuses.
velk::UniqueLocalMemory WithHostMayModify(ACL* list);

/// Makes the folder that the provider logs into, where it is missing, and lets its host write there: a folder
/// made by an administrator below System32 gives that account no right to. True when it was made.
bool MakeLogFolder(const std::filesystem::path& folder);

}  // namespace velkpci
