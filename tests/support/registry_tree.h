#pragma once

#include <map>
#include <string>

#include "common/platform.h"

namespace velktest {

/// A key with everything below it, for comparison: paths below the key (the key itself is the empty path) and
/// value names (after a colon) to values as text, "s:..." for REG_SZ and "d:..." for REG_DWORD. Empty when
/// there is no key.
using RegistryTree = std::map<std::wstring, std::wstring>;

RegistryTree ReadRegistryTree(HKEY root, const std::wstring& path);

}  // namespace velktest
