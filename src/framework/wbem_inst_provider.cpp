#include "framework/wbem_inst_provider.h"

#include "common/wbem_status.h"

namespace velk {

STDMETHODIMP IWbemInstProviderImpl::OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**,
                                                  IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::CancelAsyncCall(IWbemObjectSink*) { return kWbemProviderNotCapable; }

STDMETHODIMP IWbemInstProviderImpl::QueryObjectSink(LONG, IWbemObjectSink**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**,
                                              IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::CreateInstanceEnum(const BSTR, LONG, IWbemContext*,
                                                       IEnumWbemClassObject**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                          IEnumWbemClassObject**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                               IWbemObjectSink*) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                               IWbemClassObject**, IWbemCallResult**) {
    return kWbemProviderNotCapable;
}

STDMETHODIMP IWbemInstProviderImpl::ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IWbemClassObject*, IWbemObjectSink*) {
    return kWbemProviderNotCapable;
}

}  // namespace velk
