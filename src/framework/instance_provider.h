#pragma once

#include <memory>
#include <span>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/function_log.h"
#include "common/mutex.h"
#include "common/platform.h"
#include "common/text.h"
#include "framework/com_object_root.h"
#include "framework/instance_list.h"
#include "framework/property_table.h"
#include "framework/provider_helper.h"
#include "framework/wbem_inst_provider.h"

namespace velk {

/// The data in which the provider classes differ.
struct ProviderClass {
    const wchar_t* name;                   ///< the C++ class's name, as log lines show it
    const wchar_t* wmiClass;               ///< the WMI class that it serves
    const wchar_t* lockName;               ///< its lock is shared by all processes, per provider class
    std::span<const wchar_t* const> keys;  ///< names of the WMI class's keys
    bool keyedByComputer = false;          ///< whether one of the keys is the computer's name
};

/// What an object path asks for.
struct RequestedKeys {
    std::vector<CString>
        values;            ///< per key of ProviderClass::keys; empty where the path has no such string key
    CString computerName;  ///< only when the class is keyed by the computer
};

/// The shape that all instance providers share: entry points, locking, instance cache, statuses and log
/// lines. Records are reached by index; CInstanceProvider gives them their type.
///
/// Locks, in this order: the provider's (named, across processes), the list's, the lists' that this one is
/// built from. The list and the instance cache are touched only under the first two. What Initialize stores
/// is guarded by the object's own lock, held only to copy it.
class CInstanceProviderBase : public CComObjectRootEx<CComMultiThreadModel>, public IWbemInstProviderImpl {
  public:
    STDMETHOD(QueryInterface)(REFIID iid, void** object) final;
    STDMETHOD_(ULONG, AddRef)() final { return InternalAddRef(); }
    STDMETHOD_(ULONG, Release)() final;

    /// Keeps the namespace, its class definition and the path parser's factory. WBEM_E_INVALID_PARAMETER,
    /// WBEM_E_FAILED and WBEM_E_OUT_OF_MEMORY are returned without calling the sink.
    STDMETHOD(Initialize)
    (LPWSTR user, LONG flags, LPWSTR namespaceName, LPWSTR locale, IWbemServices* wbemNamespace,
     IWbemContext* context, IWbemProviderInitSink* initSink) final;

    /// Refuses: WBEM_E_PROVIDER_NOT_CAPABLE, the sink is not called.
    STDMETHOD(PutInstanceAsync)(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) final;
    /// Refuses: WBEM_E_PROVIDER_NOT_CAPABLE, the sink is not called.
    STDMETHOD(DeleteInstanceAsync)(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) final;
    /// Refuses: WBEM_E_NOT_SUPPORTED, the sink is not called.
    STDMETHOD(ExecQueryAsync)(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) final;

    /// Delivers the instance of a path. On failure the sink gets no SetStatus: unlike an enumeration, a
    /// failed get reports through the returned status alone.
    STDMETHOD(GetObjectAsync)
    (const BSTR objectPath, LONG flags, IWbemContext* context, IWbemObjectSink* sink) final;

    /// Delivers all instances in one Indicate and the result in SetStatus.
    STDMETHOD(CreateInstanceEnumAsync)
    (const BSTR className, LONG flags, IWbemContext* context, IWbemObjectSink* sink) override;

    /// Finds the instance of a path. WBEM_E_INVALID_PARAMETER when it is no instance path of this class,
    /// WBEM_E_FAILED when the computer's name cannot be had, WBEM_E_NOT_FOUND for everything that goes wrong
    /// behind that. Throws std::bad_alloc or std::length_error.
    HRESULT GetInstanceByPath(Bstr objectPath, IWbemClassObject** instance);

  protected:
    CInstanceProviderBase(const ProviderClass& providerClass, CListBase& list);
    virtual ~CInstanceProviderBase() = default;

    /// Writes the properties of a record.
    virtual HRESULT FillInstanceAt(IWbemClassObject* instance, std::size_t index) = 0;
    /// Whether a record's key values equal those of a path, exactly and with regard to case.
    virtual bool KeysMatchAt(const RequestedKeys& keys, std::size_t index) const = 0;

    const ProviderClass& Class() const noexcept { return class_; }
    FunctionLog LogOf(const wchar_t* method) const noexcept { return FunctionLog(class_.name, method); }
    CMutex& Mutex() noexcept { return mutex_; }

    /// The cached instances, in list order, each with a reference.
    using Instances = std::vector<ComPtr<IWbemClassObject>>;

    /// Rebuilds the list and, when its generation changed, the instance cache, and gives the cached
    /// instances. On failure the cache generation becomes 0 and the instances already made stay until the
    /// next rebuild. Called under the provider's lock.
    HRESULT RefreshCache(Instances& instances) noexcept;
    /// Hands instances to the sink in one Indicate, in none at all when there are none. The references must
    /// be the caller's own: a sink that asks again from inside Indicate gets through the provider's lock, as
    /// it is the same thread, and empties the cache.
    static HRESULT Deliver(IWbemObjectSink* sink, const Instances& instances) noexcept;

  private:
    /// What Initialize keeps. A request takes one copy and goes by it to its end, so that a second Initialize
    /// can neither take it away nor change the class in the middle of a request.
    struct Session {
        ComPtr<IWbemServices> wbemNamespace;
        ComPtr<IWbemClassObject> classObject;
        ComPtr<IClassFactory> parserFactory;
        std::shared_ptr<const CInstanceProviderHelper> helper;
    };

    Session CurrentSession() noexcept;
    /// Opens a session in place of the one given, step by step: what a step could not get is null, what no
    /// step came to is as it was.
    HRESULT OpenSession(IWbemServices* wbemNamespace, IWbemContext* context, Session& session) const;
    /// Makes a session the one that requests go by from now on.
    void Publish(Session session) noexcept;

    HRESULT Enumerate(IWbemObjectSink* sink) noexcept;
    HRESULT FillCache(const Session& session);
    HRESULT MakeInstance(const Session& session, std::size_t index, ComPtr<IWbemClassObject>& instance);
    HRESULT ReadKeys(const Session& session, const Bstr& objectPath, RequestedKeys& keys) const;
    HRESULT FindInstance(const Session& session, const RequestedKeys& keys,
                         ComPtr<IWbemClassObject>& instance);

    const ProviderClass& class_;
    CListBase& list_;
    CMutex mutex_;
    Session session_;
    Instances cache_;  ///< the instances of the last enumeration, in list order
    /// The list generation that the cache was made from; 0 = none. A cache of the list's generation is
    /// believed, by enumerations and by gets. After a failed rebuild a list counts from 2 again: a cache
    /// whose number comes round is then taken for that of another reading, and its instances are delivered
    /// once more, whatever the records say by now. It is left so, because it ends by itself, an enumeration
    /// later, and a number that never came back would be one more state for every list to keep.
    std::uint32_t cacheGeneration_ = 0;
};

/// The provider template. A provider class states its ProviderClass, its list, its property table and how a
/// record's keys compare.
template <class List>
class CInstanceProvider : public CInstanceProviderBase {
  public:
    using Record = typename List::Record;

    /// Writes a record's properties in the order of the class's property table.
    HRESULT FillInstance(IWbemClassObject* instance, const Record& record) {
        LogOf(L"FillInstance").Verbose(L"Entering");
        CString computerName;
        if (Class().keyedByComputer && GetLocalComputerName(computerName) != ERROR_SUCCESS)
            return kWbemFailed;
        return WriteProperties(instance, properties_, record, computerName);
    }

  protected:
    using PropertyTable = std::span<const PropertyRow<Record>>;

    /// All three must live as long as the provider; the list may be one of its own members.
    CInstanceProvider(const ProviderClass& providerClass, List& list, PropertyTable properties)
        : CInstanceProviderBase(providerClass, list), records_(list), properties_(properties) {}

    virtual bool KeysMatch(const RequestedKeys& keys, const Record& record) const = 0;

  private:
    HRESULT FillInstanceAt(IWbemClassObject* instance, std::size_t index) final {
        return FillInstance(instance, records_.At(index));
    }
    bool KeysMatchAt(const RequestedKeys& keys, std::size_t index) const final {
        return KeysMatch(keys, records_.At(index));
    }

    const List& records_;
    PropertyTable properties_;
};

}  // namespace velk
