#pragma once

#include <string>

#include "common/platform.h"
#include "module/registrar.h"

namespace velk {

/// Registers the type library that is bound into the module. For one user by RegisterTypeLibForUser, which
/// older systems lack: then it fails.
HRESULT RegisterTypeLibrary(const std::wstring& modulePath, RegistrationScope scope);

/// A type library that is not registered is no failure.
HRESULT UnregisterTypeLibrary(const std::wstring& modulePath, RegistrationScope scope);

}  // namespace velk
