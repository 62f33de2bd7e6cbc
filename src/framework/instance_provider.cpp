#include "framework/instance_provider.h"

#include <new>

#include "common/computer_system.h"
#include "common/wbem_status.h"

namespace velk {

CInstanceProviderBase::CInstanceProviderBase(const ProviderClass& providerClass, CListBase& list)
    : class_(providerClass), list_(list) {
    mutex_.SetName(class_.lockName);
}

STDMETHODIMP CInstanceProviderBase::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IWbemProviderInit) {
        *object = static_cast<IWbemProviderInit*>(this);
    } else if (iid == IID_IWbemServices) {
        *object = static_cast<IWbemServices*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CInstanceProviderBase::Release() {
    const ULONG references = InternalRelease();
    if (references != 0) return references;
    // A list of its own goes after the object has given its count back: that, too, is code of the module.
    const ModuleLockCount untilAllIsGone;
    delete this;
    return 0;
}

STDMETHODIMP CInstanceProviderBase::Initialize(LPWSTR, LONG, LPWSTR, LPWSTR, IWbemServices* wbemNamespace,
                                               IWbemContext* context, IWbemProviderInitSink* initSink) {
    LogOf(L"Initialize").Verbose(L"Entering");
    if (wbemNamespace == nullptr || initSink == nullptr) return kWbemInvalidParameter;

    const HRESULT result = GuardEntryPoint([&] {
        Session session = CurrentSession();
        const HRESULT opened = OpenSession(wbemNamespace, context, session);
        // What could be had is kept even when it is not enough.
        Publish(std::move(session));
        return opened;
    });
    if (FAILED(result)) return result;

    initSink->SetStatus(WBEM_S_INITIALIZED, 0);
    return kWbemNoError;
}

HRESULT CInstanceProviderBase::OpenSession(IWbemServices* wbemNamespace, IWbemContext* context,
                                           Session& session) const {
    session.wbemNamespace = ComPtr(wbemNamespace);
    const Bstr className(class_.wmiClass);
    const HRESULT classResult =
        wbemNamespace->GetObject(className.Get(), 0, context, session.classObject.Put(), nullptr);
    const HRESULT parserResult = ::CoGetClassObject(kClsidWbemDefPath, CLSCTX_INPROC_SERVER, nullptr,
                                                    IID_IClassFactory, session.parserFactory.PutVoid());
    if (FAILED(classResult) || FAILED(parserResult)) return kWbemFailed;
    try {
        session.helper = std::make_shared<const CInstanceProviderHelper>(wbemNamespace, context);
        return kWbemNoError;
    } catch (const std::bad_alloc&) {
        session.helper.reset();
        return kWbemOutOfMemory;
    }
}

void CInstanceProviderBase::Publish(Session session) noexcept {
    // The session that it replaces is released with the parameter, after the lock.
    const ObjectLock lock(*this);
    std::swap(session_, session);
}

CInstanceProviderBase::Session CInstanceProviderBase::CurrentSession() noexcept {
    const ObjectLock lock(*this);
    return session_;
}

STDMETHODIMP CInstanceProviderBase::PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*,
                                                     IWbemObjectSink*) {
    LogOf(L"PutInstanceAsync").Verbose(L"Entering");
    return kWbemProviderNotCapable;
}

STDMETHODIMP CInstanceProviderBase::DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) {
    LogOf(L"DeleteInstanceAsync").Verbose(L"Entering");
    return kWbemProviderNotCapable;
}

STDMETHODIMP CInstanceProviderBase::ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                   IWbemObjectSink*) {
    LogOf(L"ExecQueryAsync").Verbose(L"Entering");
    return kWbemNotSupported;
}

STDMETHODIMP CInstanceProviderBase::GetObjectAsync(const BSTR objectPath, LONG, IWbemContext*,
                                                   IWbemObjectSink* sink) {
    LogOf(L"GetObjectAsync").Verbose(L"Entering");
    if (sink == nullptr) return kWbemInvalidParameter;

    ComPtr<IWbemClassObject> instance;
    const HRESULT result = GuardEntryPoint([&]() -> HRESULT {
        return GetInstanceByPath(objectPath == nullptr ? Bstr() : Bstr(objectPath), instance.Put());
    });
    if (FAILED(result)) return result;

    IWbemClassObject* delivered = instance.Get();
    sink->Indicate(1, &delivered);
    sink->SetStatus(WBEM_STATUS_COMPLETE, kWbemNoError, nullptr, nullptr);
    return kWbemNoError;
}

STDMETHODIMP CInstanceProviderBase::CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*,
                                                            IWbemObjectSink* sink) {
    LogOf(L"CreateInstanceEnumAsync").Verbose(L"Entering");
    if (sink == nullptr) return kWbemInvalidParameter;

    const HRESULT result = Enumerate(sink);
    // After both locks are released: the status may make the client ask again at once.
    sink->SetStatus(WBEM_STATUS_COMPLETE, result, nullptr, nullptr);
    return result;
}

HRESULT CInstanceProviderBase::Enumerate(IWbemObjectSink* sink) noexcept {
    const FunctionLog log = LogOf(L"CreateInstanceEnumAsync");
    const CMutexLock providerLock(mutex_);
    const CMutexLock listLock(list_.Mutex());

    Instances instances;
    const HRESULT result = RefreshCache(instances);
    if (FAILED(result)) {
        log.Error(L"Cannot return instances");
        return result;
    }
    log.Information(L"Returning %d instances", static_cast<int>(instances.size()));
    return Deliver(sink, instances);
}

HRESULT CInstanceProviderBase::RefreshCache(Instances& instances) noexcept {
    const HRESULT result = GuardEntryPoint([&]() -> HRESULT {
        const bool changed = list_.RebuildIfChanged(cacheGeneration_);
        if (changed) cache_.clear();
        // The rebuild failed; a list of no records is something else.
        if (cacheGeneration_ == 0) return kWbemFailed;
        const HRESULT filled = changed ? FillCache(CurrentSession()) : kWbemNoError;
        if (FAILED(filled)) return filled;
        instances = cache_;
        return kWbemNoError;
    });
    if (FAILED(result)) cacheGeneration_ = 0;
    return result;
}

HRESULT CInstanceProviderBase::FillCache(const Session& session) {
    for (std::size_t index = 0; index < list_.Count(); ++index) {
        ComPtr<IWbemClassObject> instance;
        const HRESULT result = MakeInstance(session, index, instance);
        if (FAILED(result)) return result;
        cache_.push_back(std::move(instance));
    }
    return kWbemNoError;
}

HRESULT CInstanceProviderBase::MakeInstance(const Session& session, std::size_t index,
                                            ComPtr<IWbemClassObject>& instance) {
    if (!session.classObject) return kWbemFailed;
    const HRESULT result = session.classObject->SpawnInstance(0, instance.Put());
    if (FAILED(result)) return result;
    return FillInstanceAt(instance.Get(), index);
}

HRESULT CInstanceProviderBase::Deliver(IWbemObjectSink* sink, const Instances& instances) noexcept {
    if (instances.empty()) return kWbemNoError;
    std::vector<IWbemClassObject*> delivered;
    const HRESULT result = GuardEntryPoint([&] {
        delivered.reserve(instances.size());
        for (const ComPtr<IWbemClassObject>& instance : instances) delivered.push_back(instance.Get());
        return kWbemNoError;
    });
    if (FAILED(result)) return result;
    return sink->Indicate(static_cast<LONG>(delivered.size()), delivered.data());
}

}  // namespace velk
