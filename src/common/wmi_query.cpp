#include "common/wmi_query.h"

#include "common/bstr.h"
#include "common/handle.h"
#include "common/registry.h"
#include "common/variant.h"
#include "common/wbem_status.h"

namespace velk {

namespace {

constexpr wchar_t kDataStoreNamespace[] = L"root\\wmi";

constexpr std::size_t kBatchSize = 10;

MissCounter theMissCounters[] = {
    {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication", L"Velk_FanEvent"},
    {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication",
     L"Velk_PowerSupplyEvent"},
    {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication",
     L"Velk_TempSensorFailureEvent"},
    {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_MemoryIndication", L"Velk_MemoryEvent"},
    {HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SystemHardwareIndication",
     L"Velk_QrmStateChangeEvent"},
};

HRESULT Connect(const CString& ns, DWORD context, ComPtr<IWbemServices>& services) {
    ComPtr<IWbemLocator> locator;
    const HRESULT status =
        ::CoCreateInstance(CLSID_WbemLocator, nullptr, context, IID_IWbemLocator, locator.PutVoid());
    if (FAILED(status)) return status;
    return locator->ConnectServer(Bstr(ns).Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                  services.Put());
}

/// Empty when the query cannot be run.
ComPtr<IEnumWbemClassObject> RunQuery(IWbemServices& services, const CString& query) {
    ComPtr<IEnumWbemClassObject> results;
    const HRESULT status =
        services.ExecQuery(Bstr(L"WQL").Get(), Bstr(query).Get(),
                           WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr, results.Put());
    if (FAILED(status)) return {};
    return results;
}

/// Whether a result of IEnumWbemClassObject::Next comes with objects.
bool Delivers(HRESULT status) noexcept {
    return status == kWbemNoError || status == kWbemFalse || status == kWbemTimedOut;
}

/// Whether there is nothing to ask Next for after this result.
bool Ends(HRESULT status) noexcept {
    return FAILED(status) || status == kWbemFalse || status == kWbemTimedOut;
}

/// Asks for the next objects, one for each place of `batch`. Of the array that Next fills, only what its
/// count covers is there to be taken over: what stands behind is neither used nor released. Places without an
/// object are left empty.
template <std::size_t size>
HRESULT Fetch(IEnumWbemClassObject& results, LONG timeout,
              std::array<ComPtr<IWbemClassObject>, size>& batch) {
    IWbemClassObject* objects[size] = {};
    ULONG returned = 0;
    const HRESULT status = results.Next(timeout, static_cast<ULONG>(size), objects, &returned);
    for (std::size_t i = 0; i < size && i < returned; ++i) {
        batch[i] = ComPtr<IWbemClassObject>::Adopt(objects[i]);
    }
    return status;
}

/// Appends the whole result. WBEM_S_TIMEDOUT when the enumeration did not finish in time, else a success.
HRESULT Collect(IEnumWbemClassObject& results, LONG timeout, WmiObjects& out) {
    for (;;) {
        // All are taken over before the array may fail to grow.
        std::array<ComPtr<IWbemClassObject>, kBatchSize> batch;
        const HRESULT status = Fetch(results, timeout, batch);
        if (Delivers(status)) {
            for (ComPtr<IWbemClassObject>& object : batch) {
                if (object) out.push_back(std::move(object));
            }
        }
        if (status == kWbemTimedOut) return kWbemTimedOut;
        if (Ends(status)) return kWbemNoError;
    }
}

bool NamesDataStoreClass(const CString& query) noexcept {
    for (const wchar_t* name : kDataStoreClasses) {
        if (query.find(name) != CString::npos) return true;
    }
    return false;
}

/// What the last readable instance says; true when none does.
bool ReadAvailability(IEnumWbemClassObject& results, LONG timeout) {
    bool available = true;
    for (;;) {
        std::array<ComPtr<IWbemClassObject>, 1> batch;
        const HRESULT status = Fetch(results, timeout, batch);
        if (const auto& object = batch.front(); Delivers(status) && object) {
            Variant value;
            if (FAILED(object->Get(L"DataAvailable", 0, value.Put(), nullptr, nullptr))) return available;
            if (value.Type() != VT_BOOL) return available;
            available = value.Get().boolVal != VARIANT_FALSE;
        }
        if (Ends(status)) return available;
    }
}

void CountMiss(const MissCounter& counter) noexcept {
    UniqueRegistryKey key;
    // Volatile: a key made here vanishes, with its counts, when the machine restarts.
    if (::RegCreateKeyExW(counter.root, counter.keyPath, 0, nullptr, REG_OPTION_VOLATILE,
                          KEY_READ | KEY_WRITE, nullptr, key.Put(), nullptr) != ERROR_SUCCESS) {
        return;
    }
    DWORD count = 0;
    ReadRegistryDword(key.Get(), counter.valueName, count);
    ++count;
    ::RegSetValueExW(key.Get(), counter.valueName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&count),
                     sizeof count);
}

LONG WithoutLimitIfZero(LONG timeout) noexcept {
    return timeout == 0 ? static_cast<LONG>(WBEM_INFINITE) : timeout;
}

}  // namespace

std::span<MissCounter> MissCounters() noexcept { return theMissCounters; }

HRESULT QueryWmi(const CString& ns, CString& query, WmiObjects& out, const void* reserved,
                 IWbemServices* services, LONG timeout) {
    out.clear();
    query = ToUpper(std::move(query));
    if (EqualsIgnoringCase(ns.c_str(), kDataStoreNamespace) && NamesDataStoreClass(query) &&
        !CheckDataStoreAvailable(reserved, timeout)) {
        return kWbemNoError;
    }

    ComPtr<IWbemServices> used(services);
    if (!used && FAILED(Connect(ns, CLSCTX_INPROC_SERVER, used))) return kWbemNoError;
    if (!used) return kWbemNoError;
    const ComPtr<IEnumWbemClassObject> results = RunQuery(*used, query);
    return results ? Collect(*results, WithoutLimitIfZero(timeout), out) : kWbemNoError;
}

HRESULT QueryWmi(const CString& ns, CString& query, WmiObjects& out, const void* reserved) {
    return QueryWmi(ns, query, out, reserved, nullptr, kDefaultQueryTimeout);
}

HRESULT QueryWmi(const wchar_t* ns, const wchar_t* query, WmiObjects& out, const void* reserved) {
    return QueryWmi(ns, query, out, reserved, nullptr, kDefaultQueryTimeout);
}

HRESULT QueryWmi(const wchar_t* ns, const wchar_t* query, WmiObjects& out, const void* reserved,
                 IWbemServices* services, LONG timeout) {
    CString text = query;
    return QueryWmi(CString(ns), text, out, reserved, services, timeout);
}

bool CheckDataStoreAvailable(const void*, LONG timeout) {
    ComPtr<IWbemServices> services;
    if (FAILED(Connect(kDataStoreNamespace, CLSCTX_INPROC_SERVER, services)) || !services) return true;
    const ComPtr<IEnumWbemClassObject> results = RunQuery(*services, L"SELECT * FROM DataStoreStatus");
    if (!results || ReadAvailability(*results, WithoutLimitIfZero(timeout))) return true;
    for (const MissCounter& counter : theMissCounters) CountMiss(counter);
    return false;
}

HRESULT GetWmiObject(const CString& ns, const CString& path, ComPtr<IWbemClassObject>& out) {
    ComPtr<IWbemServices> services;
    const HRESULT status = Connect(ns, CLSCTX_ALL, services);
    if (FAILED(status)) return status;
    if (!services) return kWbemFailed;
    return services->GetObject(Bstr(path).Get(), 0, nullptr, out.Put(), nullptr);
}

}  // namespace velk
