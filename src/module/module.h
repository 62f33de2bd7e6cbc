#pragma once

#include "common/module_object.h"
#include "common/platform.h"
#include "module/registrar.h"

namespace velk {

/// The server itself: what the DLL's exports answer from. It lives from the DLL's load to its unload and says
/// so in the log, which it initialises.
class CVelkWmiPciModule {
  public:
    /// Throws std::bad_alloc or std::length_error. A log that cannot be opened is no failure.
    explicit CVelkWmiPciModule(HMODULE instance);
    ~CVelkWmiPciModule();
    CVelkWmiPciModule(const CVelkWmiPciModule&) = delete;
    CVelkWmiPciModule& operator=(const CVelkWmiPciModule&) = delete;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const noexcept;
    /// S_OK while no object, no server lock and no worker thread is left, S_FALSE otherwise. Changes nothing.
    HRESULT CanUnloadNow() const noexcept;
    HRESULT RegisterServer() const noexcept;
    HRESULT UnregisterServer() const noexcept;

    /// Registration is for the machine unless set otherwise.
    void SetRegistrationScope(RegistrationScope scope) noexcept { scope_ = scope; }

  private:
    HMODULE instance_;
    RegistrationScope scope_ = RegistrationScope::kMachine;
};

/// Makes the objects that live as long as the module, in the order in which they need each other. On a
/// failure nothing is left and the answer is false. Runs under the loader lock.
bool LoadModule(HMODULE instance) noexcept;
/// Destroys them in reverse order. Runs under the loader lock.
void UnloadModule() noexcept;

/// The module, or null while it is not loaded.
CVelkWmiPciModule* Module() noexcept;

}  // namespace velk
