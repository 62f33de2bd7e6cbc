#pragma once

#include <optional>
#include <string>

#include "common/platform.h"

namespace velkhost {

/// "{XXXXXXXX-...}".
std::wstring FormatClsid(REFCLSID classId);

/// The DLL that serves a class in process, as regsvr32 wrote it (the class's InprocServer32 key); nothing
/// when the class is not registered.
std::optional<std::wstring> RegisteredServer(REFCLSID classId);

/// What a person can do about a class that COM could not create with this status.
std::wstring ExplainCreationFailure(REFCLSID classId, HRESULT failure);

}  // namespace velkhost
