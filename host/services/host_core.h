#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "host/model/repository.h"
#include "host/services/async_call.h"
#include "host/services/provider_cache.h"
#include "host/services/workers.h"

namespace velkhost {

struct HostOptions {
    /// Where messages for people go; none when empty. May be called from any thread.
    Reporter report;
    /// How long a provider that answered success may take, after that, to call SetStatus, in milliseconds.
    LONG statusLimit = 600000;
};

/// What all namespaces of one host share: the repository, the providers that were created, the worker
/// threads. Held by the host and by every services object; a provider holds services and thereby the core,
/// which is why the host ends with Shutdown.
class HostCore : public std::enable_shared_from_this<HostCore> {
  public:
    HostCore(Repository repository, HostOptions options);

    const Repository& Data() const { return repository_; }
    const HostOptions& Options() const { return options_; }
    ProviderCache& Providers() { return providers_; }
    Workers& Threads() { return workers_; }
    AsyncCalls& Calls() { return calls_; }

    /// New services for a namespace ("root\VKQ"); null when there is no such namespace.
    velk::ComPtr<IWbemServices> Connect(const std::wstring& nameSpace);

    /// Whether a server name in a path or namespace means this machine.
    bool IsLocal(std::wstring_view server) const;

    /// The class and the classes derived from it, as far as a provider serves them.
    std::shared_ptr<const std::vector<ClassPtr>> DynamicClasses(const std::wstring& nameSpace,
                                                                const ClassDef& definition);

    /// Ends running requests and releases the providers. Requests made afterwards end with
    /// WBEM_E_SHUTTING_DOWN.
    void Shutdown();
    bool IsShutDown() const { return shutDown_; }

    void Report(const std::wstring& message) const;

  private:
    const Repository repository_;
    const HostOptions options_;
    std::mutex mutex_;  ///< of the map below
    /// By namespace and class: associations are followed with tens of thousands of small requests.
    std::map<std::wstring, std::shared_ptr<const std::vector<ClassPtr>>> dynamicClasses_;
    ProviderCache providers_;
    AsyncCalls calls_;
    Workers workers_;
    std::atomic<bool> shutDown_ = false;
};

}  // namespace velkhost
