#pragma once

#include "common/platform.h"

namespace velkhost {

/// Registers this DLL as WMI's locator and path parser for the machine, and remembers whom it displaces.
/// Under Wine alone: on Windows it would take WMI away from every program, so there it writes nothing and
/// returns E_ACCESSDENIED. Throws std::bad_alloc.
HRESULT RegisterServer();

/// Gives both classes back to whom they had before. Without effect when they are not this DLL's. Throws
/// std::bad_alloc.
HRESULT UnregisterServer();

}  // namespace velkhost
