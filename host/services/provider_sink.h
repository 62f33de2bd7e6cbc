#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "common/handle.h"
#include "host/com/com_object.h"
#include "host/services/result_stream.h"

namespace velkhost {

/// Takes the host's messages for people: protocol violations of a provider, a class that is not registered.
using Reporter = std::function<void(const std::wstring& message)>;

/// The sink that the host gives a provider for one request. Objects and the final status may come from any
/// thread, also after the provider's method returned. What breaks the protocol is reported, named after the
/// request.
class ProviderSink final : public ComObject<IWbemObjectSink> {
  public:
    /// Called with each object, one call at a time.
    using Receiver = std::function<void(IWbemClassObject* object)>;

    /// Throws std::bad_alloc.
    ProviderSink(std::wstring request, Receiver receiver, Reporter report);

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) noexcept override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text,
                                        IWbemClassObject* details) noexcept override;

    /// The outcome of the request whose method returned `returned`. A failure returned is the outcome at
    /// once: such a provider owes no status. Otherwise the status is waited for, for so many milliseconds
    /// (WBEM_INFINITE: without end); WBEM_E_PROVIDER_TIMED_OUT when it does not come, WBEM_E_CALL_CANCELLED
    /// when the event `stop` is set first. No object reaches the receiver afterwards.
    HRESULT Finish(HRESULT returned, LONG limit, HANDLE stop);

  private:
    void Report(const wchar_t* what);

    const std::wstring request_;
    const Reporter report_;
    const velk::UniqueHandle completed_;  ///< an event, set with the status
    std::mutex mutex_;                    ///< held while the receiver runs, so that Finish can shut it off
    Receiver receiver_;                   ///< empty once the request is over
    std::optional<HRESULT> status_;
};

/// The sink of IWbemProviderInit::Initialize.
class ProviderInitSink final : public ComObject<IWbemProviderInitSink> {
  public:
    HRESULT STDMETHODCALLTYPE SetStatus(LONG status, LONG flags) noexcept override;

    /// What the provider reported within the time, or nothing.
    std::optional<LONG> Wait(const Deadline& deadline);

  private:
    std::mutex mutex_;
    std::condition_variable reported_;
    std::optional<LONG> status_;
};

}  // namespace velkhost
