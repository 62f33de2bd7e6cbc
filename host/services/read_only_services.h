#pragma once

#include "host/com/secured_object.h"

namespace velkhost {

/// The part of IWbemServices that the host refuses: writing and deleting, methods, events. Instances are the
/// providers' affair, which are read-only (WBEM_E_PROVIDER_NOT_CAPABLE); classes and events are the
/// repository's, which is fixed while the host runs (WBEM_E_NOT_SUPPORTED).
class ReadOnlyServices : public SecuredObject<IWbemServices> {
  public:
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*,
                                       IWbemCallResult**) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*,
                                            IWbemObjectSink*) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, LONG, IWbemContext*,
                                          IWbemCallResult**) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, IWbemContext*,
                                               IWbemObjectSink*) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*,
                                          IWbemCallResult**) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*,
                                               IWbemObjectSink*) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, LONG, IWbemContext*,
                                             IWbemCallResult**) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, IWbemContext*,
                                                  IWbemObjectSink*) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IEnumWbemClassObject**) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                         IWbemObjectSink*) noexcept override {
        return velk::kWbemNotSupported;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                         IWbemClassObject**, IWbemCallResult**) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) noexcept override {
        return velk::kWbemProviderNotCapable;
    }
};

}  // namespace velkhost
