#include "host/services/locator.h"

#include "host/com/wbem_codes.h"

namespace velkhost {
namespace {

bool IsSlash(wchar_t c) { return c == L'\\' || c == L'/'; }

}  // namespace

std::wstring ServerOf(const std::wstring& resource) {
    if (resource.size() < 2 || !IsSlash(resource[0]) || !IsSlash(resource[1])) return {};
    const std::size_t end = resource.find_first_of(L"\\/", 2);
    return resource.substr(2, end == std::wstring::npos ? end : end - 2);
}

HRESULT Locator::ConnectServer(const BSTR resource, const BSTR, const BSTR, const BSTR, LONG, const BSTR,
                               IWbemContext*, IWbemServices** services) noexcept {
    if (resource == nullptr || services == nullptr) return velk::kWbemInvalidParameter;
    *services = nullptr;
    return GuardedCall([&] {
        if (core_->IsShutDown()) return kWbemShuttingDown;
        if (!core_->IsLocal(ServerOf(resource))) return kWbemTransportFailure;
        auto connected = core_->Connect(NormalizeNamespace(resource));
        if (!connected) return kWbemInvalidNamespace;
        *services = connected.Detach();
        return velk::kWbemNoError;
    });
}

}  // namespace velkhost
