#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <optional>

#include "common/com_ptr.h"
#include "common/platform.h"

namespace velkhost {

/// A client's request whose answer goes to a sink of the client's. The sink gets exactly one final status and
/// no object afterwards, also when the client cancels the request from within Indicate. No lock is held while
/// the sink is called.
class AsyncCall {
  public:
    explicit AsyncCall(velk::ComPtr<IWbemObjectSink> sink) : sink_(std::move(sink)) {}

    /// Hands an object to the sink unless the call is over. One at a time.
    void Deliver(IWbemClassObject* object);
    /// The call is over; the first status given is the one that the sink gets, after the object that is being
    /// delivered.
    void Finish(HRESULT status);
    /// Whether the sink is this one, by COM's rules of identity.
    bool IsFor(IWbemObjectSink* sink) const;

  private:
    void Tell(HRESULT status) { sink_->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr); }

    const velk::ComPtr<IWbemObjectSink> sink_;
    std::mutex mutex_;  ///< of what follows
    bool isDelivering_ = false;
    std::optional<HRESULT> status_;
};

/// The calls under way, for CancelAsyncCall.
class AsyncCalls {
  public:
    /// Throws std::bad_alloc.
    std::shared_ptr<AsyncCall> Begin(velk::ComPtr<IWbemObjectSink> sink);
    /// Ends every call with that sink by WBEM_E_CALL_CANCELLED. False when there is none.
    bool Cancel(IWbemObjectSink* sink);

  private:
    std::mutex mutex_;
    std::list<std::weak_ptr<AsyncCall>> calls_;
};

}  // namespace velkhost
