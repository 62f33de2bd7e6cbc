#pragma once

#include <memory>
#include <mutex>

#include "common/platform.h"
#include "host/server/settings.h"
#include "host/services/host_core.h"

namespace velkhost {

/// WMI's part for the clients of this process: what velkhost.dll serves. The machine is set up at the first
/// connection, and stays to the end of the process, as WMI's service outlives its clients: the provider keeps
/// the services that it was given, so that no reference count tells when the last client went.
class Server {
  public:
    /// The one server of the process. Never destroyed: at the process's end its threads are gone already.
    static Server& Instance();

    /// The class objects of WMI's locator and path parser. Throws std::bad_alloc.
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object);
    /// S_OK only while no machine is set up and no object lives.
    HRESULT CanUnloadNow();

    /// The host of the machine that the settings name, set up at the first call. Null when there is none or
    /// it cannot be used; then the reason is logged, and the next call tries again.
    std::shared_ptr<HostCore> Core();
    /// The namespace that a client connects to, in place of the one that it asks for.
    std::wstring NamespaceFor(const std::wstring& asked);

  private:
    struct Session;

    Server() = default;

    std::mutex mutex_;  ///< of the session
    Session* session_ = nullptr;
};

}  // namespace velkhost
