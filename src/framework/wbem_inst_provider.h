#pragma once

#include "common/platform.h"

namespace velk {

/// The two interfaces that WMI asks of an instance provider. The requests that this module serves or refuses
/// with a status of its own are left to the derived class; every other method of IWbemServices answers
/// WBEM_E_PROVIDER_NOT_CAPABLE (0x80041024), with null in the out parameters that the caller gave. It answers
/// as the ATL class of this name does, and is none of ATL's.
class IWbemInstProviderImpl : public IWbemServices, public IWbemProviderInit {
  public:
    STDMETHOD(OpenNamespace)(const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override;
    STDMETHOD(CancelAsyncCall)(IWbemObjectSink*) override;
    STDMETHOD(QueryObjectSink)(LONG, IWbemObjectSink**) override;
    STDMETHOD(GetObject)(const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override;
    STDMETHOD(PutClass)(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override;
    STDMETHOD(PutClassAsync)(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override;
    STDMETHOD(DeleteClass)(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override;
    STDMETHOD(DeleteClassAsync)(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    STDMETHOD(CreateClassEnum)(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    STDMETHOD(CreateClassEnumAsync)(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    STDMETHOD(PutInstance)(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override;
    STDMETHOD(DeleteInstance)(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override;
    STDMETHOD(CreateInstanceEnum)(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    STDMETHOD(ExecQuery)(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    STDMETHOD(ExecNotificationQuery)
    (const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    STDMETHOD(ExecNotificationQueryAsync)
    (const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    STDMETHOD(ExecMethod)
    (const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
     IWbemCallResult**) override;
    STDMETHOD(ExecMethodAsync)
    (const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*) override;

  protected:
    ~IWbemInstProviderImpl() = default;
};

}  // namespace velk
