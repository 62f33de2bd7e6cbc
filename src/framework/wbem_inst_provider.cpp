#include "framework/wbem_inst_provider.h"

namespace velk {

STDMETHODIMP IWbemInstProviderImpl::OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**,
                                                  IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::CancelAsyncCall(IWbemObjectSink*) { return WBEM_E_PROVIDER_NOT_CAPABLE; }

STDMETHODIMP IWbemInstProviderImpl::QueryObjectSink(LONG, IWbemObjectSink**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**,
                                              IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::CreateInstanceEnum(const BSTR, LONG, IWbemContext*,
                                                       IEnumWbemClassObject**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                          IEnumWbemClassObject**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                               IWbemObjectSink*) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                               IWbemClassObject**, IWbemCallResult**) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IWbemClassObject*, IWbemObjectSink*) {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
}

}  // namespace velk
