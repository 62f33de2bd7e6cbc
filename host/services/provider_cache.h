#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "common/com_ptr.h"
#include "host/model/repository.h"
#include "host/services/provider_sink.h"

namespace velkhost {

/// The providers that the host has created: one object per provider registration and namespace, kept until
/// Clear. Several threads may ask at once; a provider is created and initialised by the first of them.
class ProviderCache {
  public:
    explicit ProviderCache(Reporter report) : report_(std::move(report)) {}

    /// The initialised provider. `services` is the namespace that it is given. WBEM_E_PROVIDER_LOAD_FAILURE
    /// when it cannot be created (the reason is reported), else the failure of its Initialize.
    HRESULT Get(const Repository::ProviderInfo& info, const std::wstring& nameSpace, IWbemServices* services,
                IWbemContext* context, velk::ComPtr<IWbemServices>& provider);

    /// Releases every provider.
    void Clear();

  private:
    struct Slot {
        std::mutex mutex;  ///< held while the provider is made
        velk::ComPtr<IWbemServices> provider;
    };

    HRESULT Create(const Repository::ProviderInfo& info, const std::wstring& nameSpace,
                   IWbemServices* services, IWbemContext* context, velk::ComPtr<IWbemServices>& provider);
    void Report(const Repository::ProviderInfo& info, const std::wstring& what);

    const Reporter report_;
    std::mutex mutex_;  ///< of the map; never held while a provider runs
    std::map<std::wstring, std::shared_ptr<Slot>> slots_;
};

}  // namespace velkhost
