#pragma once

#include <span>

#include "common/platform.h"
#include "module/class_table.h"
#include "module/registrar.h"
#include "module/registry_script.h"

namespace velk {

/// What every registry script may refer to: "Module" and "Module_Raw", the module's full path (the former
/// with its quotes doubled, for use inside quotes), and "APPID", the AppID in braces. Throws std::bad_alloc.
RegistryReplacements StandardReplacements(const std::wstring& modulePath);

/// Registers the AppID, the classes and the type library, all or nothing: the first failure undoes what was
/// done and is returned. Scripts are parsed before anything is changed. Throws std::bad_alloc or
/// std::length_error.
HRESULT RegisterServer(HMODULE module, std::span<const ClassTableEntry> classes, RegistrationScope scope);

/// Removes what RegisterServer wrote, going on after a failure; returns the first. What is not registered is
/// no failure. Throws std::bad_alloc or std::length_error.
HRESULT UnregisterServer(HMODULE module, std::span<const ClassTableEntry> classes, RegistrationScope scope);

}  // namespace velk
