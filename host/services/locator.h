#pragma once

#include <memory>
#include <string>

#include "host/com/com_object.h"
#include "host/services/host_core.h"

namespace velkhost {

/// WMI's locator: connects to the host's namespaces, written with or without server, with either kind of
/// slash.
class Locator final : public ComObject<IWbemLocator> {
  public:
    explicit Locator(std::shared_ptr<HostCore> core) : core_(std::move(core)) {}

    /// WBEM_E_TRANSPORT_FAILURE for another machine, WBEM_E_INVALID_NAMESPACE for an unknown namespace,
    /// WBEM_E_LOCAL_CREDENTIALS for a user who is named: on the own machine the caller is who he is. The
    /// locale makes no difference.
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR resource, const BSTR user, const BSTR password,
                                            const BSTR locale, LONG securityFlags, const BSTR authority,
                                            IWbemContext* context,
                                            IWbemServices** services) noexcept override;

  private:
    const std::shared_ptr<HostCore> core_;
};

/// The server of a network resource: "SRV" of "\\SRV\root\x" and "//SRV/root/x", else nothing.
std::wstring ServerOf(const std::wstring& resource);

}  // namespace velkhost
