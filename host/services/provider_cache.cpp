#include "host/services/provider_cache.h"

#include <utility>

#include "common/bstr.h"
#include "common/text.h"
#include "host/com/wbem_codes.h"
#include "host/services/registered_server.h"

namespace velkhost {
namespace {

/// How long an asynchronous Initialize may take, in milliseconds: WMI's own limit is 90 seconds.
constexpr LONG kInitializationLimit = 90000;

}  // namespace

HRESULT ProviderCache::Get(const Repository::ProviderInfo& info, const std::wstring& nameSpace,
                           IWbemServices* services, IWbemContext* context,
                           velk::ComPtr<IWbemServices>& provider) {
    std::shared_ptr<Slot> slot;
    {
        const std::lock_guard lock(mutex_);
        auto& held = slots_[velk::ToUpper(nameSpace + L":" + info.name)];
        if (!held) held = std::make_shared<Slot>();
        slot = held;
    }
    const std::lock_guard lock(slot->mutex);
    if (!slot->provider) {
        const HRESULT result = Create(info, nameSpace, services, context, slot->provider);
        if (FAILED(result)) return result;
    }
    provider = slot->provider;
    return velk::kWbemNoError;
}

void ProviderCache::Clear() {
    std::map<std::wstring, std::shared_ptr<Slot>> released;
    const std::lock_guard lock(mutex_);
    released.swap(slots_);
}

HRESULT ProviderCache::Create(const Repository::ProviderInfo& info, const std::wstring& nameSpace,
                              IWbemServices* services, IWbemContext* context,
                              velk::ComPtr<IWbemServices>& provider) {
    velk::ComPtr<IWbemProviderInit> init;
    HRESULT result =
        ::CoCreateInstance(info.clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemProviderInit, init.PutVoid());
    if (FAILED(result)) {
        Report(info, ExplainCreationFailure(info.clsid, result));
        return kWbemProviderLoadFailure;
    }
    const auto sink = MakeComObject<ProviderInitSink>();
    const velk::Bstr name(nameSpace);
    const velk::Bstr locale(L"MS_409");
    result = init->Initialize(nullptr, 0, name.Get(), locale.Get(), services, context, sink.Get());
    if (FAILED(result)) {
        Report(info, velk::FormatText(L"Initialize failed (0x%08lX)", static_cast<unsigned long>(result)));
        return result;
    }
    const auto status = sink->Wait(DeadlineAfter(kInitializationLimit));
    if (status != WBEM_S_INITIALIZED) {
        Report(info, status ? L"Initialize reported a failure" : L"Initialize did not report its status");
        return kWbemProviderLoadFailure;
    }
    velk::ComPtr<IWbemServices> made;
    result = init->QueryInterface(IID_IWbemServices, made.PutVoid());
    if (FAILED(result)) {
        Report(info, L"it has no IWbemServices");
        return kWbemProviderLoadFailure;
    }
    provider = std::move(made);
    return velk::kWbemNoError;
}

void ProviderCache::Report(const Repository::ProviderInfo& info, const std::wstring& what) {
    if (report_) report_(L"Provider " + info.name + L": " + what);
}

}  // namespace velkhost
