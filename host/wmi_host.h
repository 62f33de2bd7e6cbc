#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/com/class_factory.h"
#include "host/model/repository.h"
#include "host/services/apartment.h"
#include "host/services/host_core.h"

namespace velkhost {

/// WMI in this process for as long as it lives: the current thread joins the multi-threaded apartment, and
/// CoCreateInstance and CoGetClassObject find the host's IWbemLocator and path parser (on threads of that
/// apartment and on threads that belong to none). Its end, on the same thread, stops running requests,
/// releases the providers and lets COM unload their DLLs. At most one exists at a time.
class WmiHost {
  public:
    /// Throws std::runtime_error when COM refuses.
    explicit WmiHost(Repository repository, HostOptions options = {});
    ~WmiHost();
    WmiHost(const WmiHost&) = delete;
    WmiHost& operator=(const WmiHost&) = delete;

    const Repository& Data() const { return core_->Data(); }
    /// Services of a namespace ("root\VKQ"); null when there is no such namespace. To be released before the
    /// host ends, as whatever came out of them.
    velk::ComPtr<IWbemServices> Connect(const std::wstring& nameSpace) { return core_->Connect(nameSpace); }

  private:
    const ComApartment apartment_;
    const std::shared_ptr<HostCore> core_;
    std::optional<ClassRegistration> pathParser_;
    std::optional<ClassRegistration> locator_;
};

}  // namespace velkhost
