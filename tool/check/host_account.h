#pragma once

#include <string>

#include "common/platform.h"

namespace velkpci {

/// Whether NETWORK SERVICE, as a service has it, may do what `wanted` says to a file or folder by its access
/// control list; false when the list cannot be read. Rights that come with a privilege, and integrity levels,
/// are not looked at.
bool HostMay(const std::wstring& file, DWORD wanted);

/// The same for a list; a null one lets everybody do everything.
bool IsGrantedToHost(ACL* list, DWORD wanted);

}  // namespace velkpci
