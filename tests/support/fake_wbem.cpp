#include "support/fake_wbem.h"

#include <gtest/gtest.h>

namespace velktest {

namespace {

FakeWmi* theWmi = nullptr;

velk::CString Key(const velk::CString& name) { return velk::ToUpper(name); }

velk::CString FromBstr(BSTR text) { return text == nullptr ? velk::CString() : velk::CString(text); }

HRESULT Failure(const std::map<velk::CString, HRESULT>& failures, const velk::CString& name) {
    const auto found = failures.find(Key(name));
    return found == failures.end() ? S_OK : found->second;
}

/// VariantCopy, whose source is not const in all headers.
HRESULT Copy(VARIANT* to, const VARIANT* from) { return ::VariantCopy(to, const_cast<VARIANT*>(from)); }

IWbemClassObject* Referenced(const velk::ComPtr<FakeClassObject>& object) {
    return velk::ComPtr<IWbemClassObject>(object.Get()).Detach();
}

}  // namespace

long LiveFakes() { return detail::liveFakes; }

void FakeClassObject::Set(const velk::CString& name, velk::Variant value) {
    properties_[Key(name)] = std::move(value);
}

void FakeClassObject::SetText(const velk::CString& name, const velk::CString& text) {
    Set(name, velk::Variant::FromText(velk::Bstr(text)));
}

const VARIANT* FakeClassObject::Find(const velk::CString& name) const {
    const auto found = properties_.find(Key(name));
    return found == properties_.end() ? nullptr : &found->second.Get();
}

velk::CString FakeClassObject::Text(const velk::CString& name) const {
    const VARIANT* value = Find(name);
    return value != nullptr && value->vt == VT_BSTR ? FromBstr(value->bstrVal) : velk::CString();
}

void FakeClassObject::FailGet(const velk::CString& name, HRESULT status) { getFailures_[Key(name)] = status; }

void FakeClassObject::FailPut(const velk::CString& name, HRESULT status) { putFailures_[Key(name)] = status; }

HRESULT FakeClassObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavour) {
    plainCalls = plainCalls && flags == 0 && type == nullptr && flavour == nullptr;
    if (const HRESULT status = Failure(getFailures_, name); FAILED(status)) return status;
    const VARIANT* stored = Find(name);
    if (stored == nullptr) return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    ::VariantInit(value);
    return Copy(value, stored);
}

HRESULT FakeClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) {
    plainCalls = plainCalls && flags == 0 && type == 0;
    if (const HRESULT status = Failure(putFailures_, name); FAILED(status)) return status;
    puts.emplace_back(name);
    velk::Variant& stored = properties_[Key(name)];
    if (value != nullptr) return Copy(stored.Put(), value);
    stored.Put()->vt = VT_NULL;
    return S_OK;
}

HRESULT FakeClassObject::SpawnInstance(LONG, IWbemClassObject** instance) {
    if (FAILED(spawnStatus)) return spawnStatus;
    spawned.push_back(Make());
    // What was programmed for the class holds for its instances.
    spawned.back()->putFailures_ = putFailures_;
    *instance = Referenced(spawned.back());
    return S_OK;
}

HRESULT FakeClassObject::Clone(IWbemClassObject** copy) {
    const velk::ComPtr<FakeClassObject> made = Make();
    for (const auto& [name, value] : properties_) {
        Copy(made->properties_[name].Address(), &value.Get());
    }
    *copy = Referenced(made);
    return S_OK;
}

namespace {

class FakeEnumerator final : public FakeUnknown<IEnumWbemClassObject, IID_IEnumWbemClassObject> {
  public:
    FakeEnumerator(FakeServices& services, const FakeQueryResult& result)
        : services_(&services), result_(result) {}

    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                   ULONG* returned) override {
        FakeBatch batch = NextBatch(count);
        *returned = batch.returned.value_or(static_cast<ULONG>(batch.objects.size()));
        for (std::size_t i = 0; i < batch.objects.size(); ++i) {
            objects[i] = i < *returned ? Referenced(batch.objects[i]) : batch.objects[i].Get();
        }
        services_->nextCalls.push_back({timeout, count, *returned});
        return batch.status;
    }

    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return E_NOTIMPL; }

  private:
    FakeBatch NextBatch(ULONG count) {
        if (batchesGiven_ < result_.batches.size()) return result_.batches[batchesGiven_++];
        FakeBatch batch;
        while (batch.objects.size() < count && objectsGiven_ < result_.objects.size()) {
            batch.objects.push_back(result_.objects[objectsGiven_++]);
        }
        // As WMI does: a full batch is a plain success even when nothing follows it.
        if (batch.objects.size() < count) batch.status = result_.last;
        return batch;
    }

    velk::ComPtr<FakeServices> services_;
    FakeQueryResult result_;
    std::size_t batchesGiven_ = 0;
    std::size_t objectsGiven_ = 0;
};

}  // namespace

void FakeServices::Answer(const velk::CString& query, FakeQueryResult result) {
    answers_[query] = std::move(result);
}

void FakeServices::AddObject(const velk::CString& path, const velk::ComPtr<FakeClassObject>& object) {
    objects_[path] = object;
}

HRESULT FakeServices::ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext*,
                                IEnumWbemClassObject** results) {
    queries.push_back({FromBstr(language), FromBstr(query), flags});
    const auto found = answers_.find(FromBstr(query));
    if (found == answers_.end()) return static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
    const FakeQueryResult& result = found->second;
    if (FAILED(result.status) || result.noEnumerator) return result.status;
    *results = velk::ComPtr<IEnumWbemClassObject>(new FakeEnumerator(*this, result)).Detach();
    return result.status;
}

HRESULT FakeServices::GetObject(const BSTR path, LONG flags, IWbemContext*, IWbemClassObject** object,
                                IWbemCallResult**) {
    EXPECT_EQ(flags, 0);
    gotPaths.push_back(FromBstr(path));
    const auto found = objects_.find(FromBstr(path));
    if (found == objects_.end()) return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    *object = Referenced(found->second);
    return S_OK;
}

class FakeLocator final : public FakeUnknown<IWbemLocator, IID_IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR ns, const BSTR user, const BSTR password,
                                            const BSTR locale, LONG flags, const BSTR authority,
                                            IWbemContext* context, IWbemServices** services) override {
        theWmi->connections.push_back(FromBstr(ns));
        theWmi->plainConnections = theWmi->plainConnections && user == nullptr && password == nullptr &&
                                   locale == nullptr && authority == nullptr && context == nullptr &&
                                   flags == 0;
        if (theWmi->connectsToNothing) return S_OK;
        const auto found = theWmi->namespaces_.find(Key(FromBstr(ns)));
        if (found == theWmi->namespaces_.end()) return static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
        *services = velk::ComPtr<IWbemServices>(found->second.Get()).Detach();
        return S_OK;
    }
};

namespace {

decltype(&::CoCreateInstance) realCoCreateInstance = nullptr;

HRESULT WINAPI CreateFakeLocator(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** out) {
    if (!IsEqualCLSID(clsid, CLSID_WbemLocator)) {
        return realCoCreateInstance(clsid, outer, context, iid, out);
    }
    theWmi->contexts.push_back(context);
    if (FAILED(theWmi->createStatus)) return theWmi->createStatus;
    const velk::ComPtr<IWbemLocator> locator(new FakeLocator);
    return locator->QueryInterface(iid, out);
}

}  // namespace

FakeWmi::FakeWmi() : redirect_("CoCreateInstance", &CreateFakeLocator) {
    realCoCreateInstance = redirect_.Original<decltype(&::CoCreateInstance)>();
    theWmi = this;
}

FakeWmi::~FakeWmi() { theWmi = nullptr; }

FakeServices& FakeWmi::Namespace(const velk::CString& name) {
    velk::ComPtr<FakeServices>& services = namespaces_[Key(name)];
    if (!services) services = FakeServices::Make();
    return *services;
}

}  // namespace velktest
