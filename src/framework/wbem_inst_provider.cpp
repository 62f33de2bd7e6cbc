#include "framework/wbem_inst_provider.h"

#include "common/wbem_status.h"

namespace velk {

namespace {

/// A method that fails leaves nothing behind that its caller might release. Callers may leave out what they
/// do not want.
template <class... Interface>
HRESULT Refuse(Interface**... outs) noexcept {
    ((outs != nullptr ? static_cast<void>(*outs = nullptr) : void()), ...);
    return kWbemProviderNotCapable;
}

}  // namespace

STDMETHODIMP IWbemInstProviderImpl::OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices** inner,
                                                  IWbemCallResult** call) {
    return Refuse(inner, call);
}

STDMETHODIMP IWbemInstProviderImpl::CancelAsyncCall(IWbemObjectSink*) { return Refuse(); }

STDMETHODIMP IWbemInstProviderImpl::QueryObjectSink(LONG, IWbemObjectSink** handler) {
    return Refuse(handler);
}

STDMETHODIMP IWbemInstProviderImpl::GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject** object,
                                              IWbemCallResult** call) {
    return Refuse(object, call);
}

STDMETHODIMP IWbemInstProviderImpl::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult** call) {
    return Refuse(call);
}

STDMETHODIMP IWbemInstProviderImpl::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) {
    return Refuse();
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult** call) {
    return Refuse(call);
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return Refuse();
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnum(const BSTR, LONG, IWbemContext*,
                                                    IEnumWbemClassObject** results) {
    return Refuse(results);
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return Refuse();
}

STDMETHODIMP IWbemInstProviderImpl::PutInstance(IWbemClassObject*, LONG, IWbemContext*,
                                                IWbemCallResult** call) {
    return Refuse(call);
}

STDMETHODIMP IWbemInstProviderImpl::DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult** call) {
    return Refuse(call);
}

STDMETHODIMP IWbemInstProviderImpl::CreateInstanceEnum(const BSTR, LONG, IWbemContext*,
                                                       IEnumWbemClassObject** results) {
    return Refuse(results);
}

STDMETHODIMP IWbemInstProviderImpl::ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject** results) {
    return Refuse(results);
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                          IEnumWbemClassObject** results) {
    return Refuse(results);
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                               IWbemObjectSink*) {
    return Refuse();
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                               IWbemClassObject** object, IWbemCallResult** call) {
    return Refuse(object, call);
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IWbemClassObject*, IWbemObjectSink*) {
    return Refuse();
}

}  // namespace velk
