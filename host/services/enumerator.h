#pragma once

#include <memory>

#include "host/com/secured_object.h"
#include "host/services/result_stream.h"

namespace velkhost {

/// WMI's enumerator over the result of a request that may still be running.
///
/// Objects that arrived before a failure are handed out first: the batch that runs into it ends with
/// WBEM_S_FALSE, and the next call returns the failure. A forward-only enumerator lets go of each object as
/// it hands it out, and refuses Reset and Clone with WBEM_E_INVALID_OPERATION. Calls on one enumerator are
/// serialised.
class Enumerator final : public SecuredObject<IEnumWbemClassObject> {
  public:
    Enumerator(std::shared_ptr<ResultStream> stream, bool forwardOnly, std::size_t position = 0);

    HRESULT STDMETHODCALLTYPE Reset() noexcept override;
    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                   ULONG* returned) noexcept override;
    /// Delivers up to `count` objects to the sink and then its status (WBEM_S_FALSE when they were fewer),
    /// all before it returns.
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG count, IWbemObjectSink* sink) noexcept override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** copy) noexcept override;
    HRESULT STDMETHODCALLTYPE Skip(LONG timeout, ULONG count) noexcept override;

  private:
    /// Moves on by up to `count` objects, into `objects` unless that is null.
    HRESULT Advance(LONG timeout, ULONG count, std::vector<velk::ComPtr<IWbemClassObject>>* objects);

    const std::shared_ptr<ResultStream> stream_;
    const bool forwardOnly_;
    std::mutex mutex_;  ///< of the position
    std::size_t position_;
};

}  // namespace velkhost
