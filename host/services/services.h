#pragma once

#include <memory>
#include <string>

#include "host/services/host_core.h"
#include "host/services/read_only_services.h"
#include "host/services/requests.h"

namespace velkhost {

/// One connection to a namespace.
///
/// Enumerations and queries run before the call returns, unless WBEM_FLAG_RETURN_IMMEDIATELY is given and a
/// provider has to be asked: then they run on a thread of their own, and the enumerator, which is returned at
/// once, delivers their failure too. With that flag an unknown class is therefore told by the enumerator; a
/// query that cannot be read is always refused at once. The ...Async forms always run on a thread of their
/// own and end with SetStatus. A provider is only asked by threads of the multi-threaded apartment: a caller
/// in another one waits for such a thread.
class Services final : public ReadOnlyServices {
  public:
    Services(std::shared_ptr<HostCore> core, std::wstring nameSpace);

    /// Ends the calls with that sink: its SetStatus gets WBEM_E_CALL_CANCELLED, before this returns unless an
    /// object is being delivered. WBEM_E_NOT_FOUND when there is no such call.
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink* sink) noexcept override;
    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR nameSpace, LONG flags, IWbemContext* context,
                                            IWbemServices** services,
                                            IWbemCallResult** callResult) noexcept override;
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, LONG flags, IWbemContext* context,
                                        IWbemClassObject** object,
                                        IWbemCallResult** callResult) noexcept override;
    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, LONG flags, IWbemContext* context,
                                             IWbemObjectSink* sink) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR superclass, LONG flags, IWbemContext* context,
                                              IEnumWbemClassObject** enumerator) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR superclass, LONG flags, IWbemContext* context,
                                                   IWbemObjectSink* sink) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR className, LONG flags, IWbemContext* context,
                                                 IEnumWbemClassObject** enumerator) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, LONG flags, IWbemContext* context,
                                                      IWbemObjectSink* sink) noexcept override;
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags,
                                        IWbemContext* context,
                                        IEnumWbemClassObject** enumerator) noexcept override;
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR language, const BSTR query, LONG flags,
                                             IWbemContext* context, IWbemObjectSink* sink) noexcept override;

  private:
    /// A request on its way to a thread: everything it needs but the receiver of its objects.
    using Job = std::function<HRESULT(Requests& requests, const Requests::Receiver& receive)>;

    HRESULT Enumerate(Job job, LONG flags, bool mayTakeLong, IEnumWbemClassObject** enumerator);
    HRESULT Deliver(Job job, IWbemObjectSink* sink);
    HRESULT ReadQuery(const BSTR language, const BSTR text, WqlQuery& query);
    HRESULT Run(const Job& job, const Requests::Receiver& receive);

    const std::shared_ptr<HostCore> core_;
    const std::wstring nameSpace_;
};

}  // namespace velkhost
