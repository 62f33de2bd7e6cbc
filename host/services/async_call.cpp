#include "host/services/async_call.h"

#include <utility>
#include <vector>

#include "host/com/wbem_codes.h"

namespace velkhost {
namespace {

velk::ComPtr<IUnknown> IdentityOf(IUnknown& object) {
    velk::ComPtr<IUnknown> identity;
    object.QueryInterface(IID_IUnknown, identity.PutVoid());
    return identity;
}

}  // namespace

void AsyncCall::Deliver(IWbemClassObject* object) {
    {
        const std::lock_guard lock(mutex_);
        if (status_) return;
        isDelivering_ = true;
    }
    sink_->Indicate(1, &object);
    std::optional<HRESULT> left;
    {
        const std::lock_guard lock(mutex_);
        isDelivering_ = false;
        left = status_;
    }
    if (left) Tell(*left);
}

void AsyncCall::Finish(HRESULT status) {
    {
        const std::lock_guard lock(mutex_);
        if (status_) return;
        status_ = status;
        if (isDelivering_) return;
    }
    Tell(status);
}

bool AsyncCall::IsFor(IWbemObjectSink* sink) const {
    return IdentityOf(*sink_).Get() == IdentityOf(*sink).Get();
}

std::shared_ptr<AsyncCall> AsyncCalls::Begin(velk::ComPtr<IWbemObjectSink> sink) {
    auto call = std::make_shared<AsyncCall>(std::move(sink));
    const std::lock_guard lock(mutex_);
    calls_.remove_if([](const auto& known) { return known.expired(); });
    calls_.push_back(call);
    return call;
}

bool AsyncCalls::Cancel(IWbemObjectSink* sink) {
    std::vector<std::shared_ptr<AsyncCall>> cancelled;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& known : calls_) {
            if (auto call = known.lock()) cancelled.push_back(std::move(call));
        }
    }
    std::erase_if(cancelled, [&](const auto& call) { return !call->IsFor(sink); });
    for (const auto& call : cancelled) call->Finish(kWbemCallCancelled);
    return !cancelled.empty();
}

}  // namespace velkhost
