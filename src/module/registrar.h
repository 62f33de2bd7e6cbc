#pragma once

#include "common/platform.h"
#include "module/registry_journal.h"
#include "module/registry_script.h"

namespace velk {

/// What HKCR stands for. Never for HKEY_CLASSES_ROOT itself: that is a view of both places, in which a key
/// that the user has is the user's, so that a registration for the machine would miss the machine. Other
/// roots are as the script says.
enum class RegistrationScope {
    kMachine,  ///< HKLM\Software\Classes
    kUser,     ///< HKCU\Software\Classes
};

/// Writes what scripts list. One registrar is one registration: unless it is committed, everything that it
/// did is undone at its destruction. Operations return Win32 error codes and throw std::bad_alloc or
/// std::length_error.
class Registrar {
  public:
    explicit Registrar(RegistrationScope scope) noexcept : scope_(scope) {}

    /// Stops at the first failure.
    LSTATUS Register(const RegistryScript& script);
    void Commit() noexcept { journal_.Commit(); }

  private:
    LSTATUS RegisterItems(HKEY root, const std::wstring& path, const std::vector<RegistryValue>& values,
                          const std::vector<RegistryKeyEntry>& children);
    LSTATUS RegisterKey(HKEY root, const std::wstring& path, const RegistryKeyEntry& key);

    RegistrationScope scope_;
    RegistryJournal journal_;
};

/// Removes what a script lists: every key that is not marked NoRemove, with all that is below it, no matter
/// who put it there, and the named values of the keys that stay. A key that has one marked NoRemove below it
/// stays with it, unless it is marked ForceRemove. What is not there is no failure. Goes on after a failure
/// and returns the first. Throws std::bad_alloc or std::length_error.
LSTATUS Unregister(const RegistryScript& script, RegistrationScope scope);

}  // namespace velk
