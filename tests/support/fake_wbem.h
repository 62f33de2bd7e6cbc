#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/text.h"
#include "common/variant.h"
#include "support/stand_ins.h"

namespace velktest {

// WMI's client interfaces as far as the module uses them, answering what a test programmed. Objects are made
// with Make() and live by their reference counts; LiveFakes() shows what leaked.

namespace detail {
inline std::atomic<long> liveFakes = 0;
}

/// How many fake COM objects exist.
long LiveFakes();

/// IUnknown for a fake of one interface.
template <class Interface, const IID& id>
class FakeUnknown : public Interface {
  public:
    FakeUnknown(const FakeUnknown&) = delete;
    FakeUnknown& operator=(const FakeUnknown&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** out) override {
        const bool known = IsEqualIID(wanted, id) || IsEqualIID(wanted, IID_IUnknown);
        *out = known ? static_cast<Interface*>(this) : nullptr;
        if (known) this->AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references_); }
    ULONG STDMETHODCALLTYPE Release() override {
        const long left = --references_;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

  protected:
    FakeUnknown() { ++detail::liveFakes; }
    virtual ~FakeUnknown() { --detail::liveFakes; }

  private:
    std::atomic<long> references_ = 0;
};

/// A class or instance that holds its properties in a map, without regard to the case of names.
class FakeClassObject final : public FakeUnknown<IWbemClassObject, IID_IWbemClassObject> {
  public:
    static velk::ComPtr<FakeClassObject> Make() { return velk::ComPtr(new FakeClassObject); }

    void Set(const velk::CString& name, velk::Variant value);
    void SetText(const velk::CString& name, const velk::CString& text);
    /// What Put or the test stored; null when there is no such property.
    const VARIANT* Find(const velk::CString& name) const;
    /// The text of a VT_BSTR property; empty otherwise.
    velk::CString Text(const velk::CString& name) const;
    /// Lets Get and Put of one property fail.
    void FailGet(const velk::CString& name, HRESULT status);
    void FailPut(const velk::CString& name, HRESULT status);

    std::vector<velk::CString> puts;  ///< names given to Put, in order
    bool plainCalls = true;           ///< no Put and no Get named flags, a type or a flavour
    HRESULT spawnStatus = S_OK;       ///< a failure lets SpawnInstance fail
    std::vector<velk::ComPtr<FakeClassObject>> spawned;

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG, VARIANT* value, CIMTYPE) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG, IWbemClassObject** instance) override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) override;

    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR, LONG, VARIANT*, SAFEARRAY**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndEnumeration() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR, IWbemQualifierSet**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetObjectText(LONG, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CompareTo(LONG, IWbemClassObject*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EndMethodEnumeration() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }

  private:
    FakeClassObject() = default;

    std::map<velk::CString, velk::Variant> properties_;
    std::map<velk::CString, HRESULT> getFailures_;
    std::map<velk::CString, HRESULT> putFailures_;
};

using FakeObjects = std::vector<velk::ComPtr<FakeClassObject>>;

/// What one call of IEnumWbemClassObject::Next answers.
struct FakeBatch {
    HRESULT status = S_OK;
    FakeObjects objects = {};
    /// How many objects the call says it gives; all unless set. Those behind are left in the caller's array
    /// without a reference of its own.
    std::optional<ULONG> returned = std::nullopt;
};

/// What a query answers.
struct FakeQueryResult {
    HRESULT status = S_OK;      ///< of ExecQuery
    bool noEnumerator = false;  ///< ExecQuery succeeds and gives nothing
    /// Answers of the first calls of Next, as they stand. Then come the objects, in batches of the size that
    /// the caller asks for, and with the last of them `last`.
    std::vector<FakeBatch> batches = {};
    FakeObjects objects = {};
    HRESULT last = WBEM_S_FALSE;
};

/// A call of Next.
struct NextCall {
    LONG timeout;
    ULONG count;
    ULONG returned;
};

/// A connection to one namespace.
class FakeServices final : public FakeUnknown<IWbemServices, IID_IWbemServices> {
  public:
    static velk::ComPtr<FakeServices> Make() { return velk::ComPtr(new FakeServices); }

    struct Query {
        velk::CString language;
        velk::CString text;
        LONG flags;
    };

    /// Programs the answer to a query of exactly this text; other queries fail with WBEM_E_INVALID_CLASS.
    void Answer(const velk::CString& query, FakeQueryResult result);
    /// Programs GetObject of exactly this path; other paths fail with WBEM_E_NOT_FOUND.
    void AddObject(const velk::CString& path, const velk::ComPtr<FakeClassObject>& object);

    std::vector<Query> queries;           ///< what ExecQuery was asked
    std::vector<NextCall> nextCalls;      ///< of all enumerators
    std::vector<velk::CString> gotPaths;  ///< what GetObject was asked

    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext*,
                                        IEnumWbemClassObject** results) override;
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, LONG, IWbemContext*, IWbemClassObject** object,
                                        IWbemCallResult**) override;

    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**,
                                            IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*,
                                            IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, IWbemContext*,
                                                   IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*,
                                          IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*,
                                               IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, IWbemContext*,
                                                  IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, LONG, IWbemContext*,
                                                 IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*,
                                                      IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                             IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                         IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                         IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) override {
        return E_NOTIMPL;
    }

  private:
    FakeServices() = default;

    std::map<velk::CString, FakeQueryResult> answers_;
    std::map<velk::CString, velk::ComPtr<FakeClassObject>> objects_;
};

/// Stands in for WMI: CoCreateInstance of the locator gives one that knows the namespaces of the test. One at
/// a time.
class FakeWmi {
  public:
    FakeWmi();
    ~FakeWmi();

    /// The services of a namespace, which exists from the first call on; namespaces have no case. Connecting
    /// to any other fails with WBEM_E_INVALID_NAMESPACE.
    FakeServices& Namespace(const velk::CString& name);

    HRESULT createStatus = S_OK;             ///< a failure lets the creation of the locator fail
    bool connectsToNothing = false;          ///< ConnectServer succeeds and gives no services
    std::vector<DWORD> contexts;             ///< class contexts that locators were asked for with
    std::vector<velk::CString> connections;  ///< namespaces that were connected to
    bool plainConnections = true;  ///< none named a user, password, locale, authority, flags or context

  private:
    friend class FakeLocator;

    std::map<velk::CString, velk::ComPtr<FakeServices>> namespaces_;
    StandIn<decltype(&::CoCreateInstance)> redirect_;
};

}  // namespace velktest
