#include "host/services/locator.h"

#include "host/com/wbem_codes.h"

namespace velkhost {
namespace {

bool IsNamed(const BSTR text) { return text != nullptr && *text != L'\0'; }

bool IsSlash(wchar_t c) { return c == L'\\' || c == L'/'; }

}  // namespace

std::wstring ServerOf(const std::wstring& resource) {
    if (resource.size() < 2 || !IsSlash(resource[0]) || !IsSlash(resource[1])) return {};
    const std::size_t end = resource.find_first_of(L"\\/", 2);
    return resource.substr(2, end == std::wstring::npos ? end : end - 2);
}

HRESULT Locator::ConnectServer(const BSTR resource, const BSTR user, const BSTR, const BSTR,
                               LONG securityFlags, const BSTR, IWbemContext*,
                               IWbemServices** services) noexcept {
    if (resource == nullptr || services == nullptr) return velk::kWbemInvalidParameter;
    *services = nullptr;
    if ((securityFlags & ~WBEM_FLAG_CONNECT_USE_MAX_WAIT) != 0) return velk::kWbemInvalidParameter;
    return GuardedCall([&] {
        if (core_->IsShutDown()) return kWbemShuttingDown;
        if (!core_->IsLocal(ServerOf(resource))) return kWbemTransportFailure;
        if (IsNamed(user)) return kWbemLocalCredentials;
        auto connected = core_->Connect(NormalizeNamespace(resource));
        if (!connected) return kWbemInvalidNamespace;
        *services = connected.Detach();
        return velk::kWbemNoError;
    });
}

}  // namespace velkhost
