// The get-by-path half of CInstanceProviderBase.

#include <memory>
#include <new>

#include "common/computer_system.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "framework/instance_provider.h"

namespace velk {

namespace {

/// The path must name an instance; with several keys the parser may call it compound.
constexpr ULONGLONG kInstancePath = WBEMPATH_INFO_IS_INST_REF | WBEMPATH_INFO_IS_COMPOUND;

HRESULT ParsePath(IClassFactory* parserFactory, const Bstr& objectPath, ComPtr<IWbemPath>& path) {
    if (FAILED(parserFactory->CreateInstance(nullptr, kIidIWbemPath, path.PutVoid()))) return kWbemFailed;
    return path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, objectPath.Get());
}

/// The index of a key among the class's keys, or their count. Key names compare without regard to case.
std::size_t FindKey(std::span<const wchar_t* const> keys, const wchar_t* name) {
    std::size_t index = 0;
    while (index < keys.size() && !EqualsIgnoringCase(keys[index], name)) ++index;
    return index;
}

}  // namespace

HRESULT CInstanceProviderBase::GetInstanceByPath(Bstr objectPath, IWbemClassObject** instance) {
    const FunctionLog log = LogOf(L"GetInstanceByPath");
    log.Verbose(L"Entering");

    const Session session = CurrentSession();
    if (!session.helper || FAILED(session.helper->CheckInstancePath(session.parserFactory.Get(), objectPath,
                                                                    class_.wmiClass, kInstancePath))) {
        return kWbemInvalidParameter;
    }
    RequestedKeys keys;
    const HRESULT result = ReadKeys(session, objectPath, keys);
    if (FAILED(result)) return result;

    ComPtr<IWbemClassObject> found;
    {
        const CMutexLock providerLock(mutex_);
        const CMutexLock listLock(list_.Mutex());
        // Whatever went wrong, the client learns that there is no such instance.
        if (FAILED(FindInstance(session, keys, found))) found.Reset();
    }
    if (!found) {
        log.Error(L"Cannot return instance by path");
        return kWbemNotFound;
    }
    *instance = found.Detach();
    log.Information(L"Returning instance by path");
    return kWbemNoError;
}

HRESULT CInstanceProviderBase::ReadKeys(const Session& session, const Bstr& objectPath,
                                        RequestedKeys& keys) const {
    // Kept beside its key list: nothing says that the list outlives it.
    ComPtr<IWbemPath> path;
    HRESULT result = ParsePath(session.parserFactory.Get(), objectPath, path);
    if (FAILED(result)) return result;
    ComPtr<IWbemPathKeyList> keyList;
    result = path->GetKeyList(keyList.Put());
    if (FAILED(result)) return result;
    ULONG count = 0;
    result = keyList->GetCount(&count);
    if (FAILED(result)) return result;

    // No key name is longer than the path that it stands in.
    const ULONG capacity = static_cast<ULONG>(objectPath.View().size()) + 1;
    const std::unique_ptr<wchar_t[]> name(new (std::nothrow) wchar_t[capacity]());
    if (!name) return kWbemOutOfMemory;
    if (class_.keyedByComputer && GetLocalComputerName(keys.computerName) != ERROR_SUCCESS)
        return kWbemFailed;

    keys.values.resize(class_.keys.size());
    for (ULONG index = 0; index < count; ++index) {
        ULONG length = capacity;
        ULONG type = 0;
        Variant value;
        if (FAILED(keyList->GetKey2(index, 0, &length, name.get(), value.Put(), &type))) continue;
        if (value.Type() != VT_BSTR) continue;
        const std::size_t key = FindKey(class_.keys, name.get());
        if (key < keys.values.size()) keys.values[key] = CString(value.Text());
    }
    return kWbemNoError;
}

HRESULT CInstanceProviderBase::FindInstance(const Session& session, const RequestedKeys& keys,
                                            ComPtr<IWbemClassObject>& instance) {
    const std::uint32_t generation = list_.RebuildAndStamp();
    if (generation == 0) return kWbemNotFound;

    std::size_t index = 0;
    while (index < list_.Count() && !KeysMatchAt(keys, index)) ++index;
    if (index == list_.Count()) return kWbemNotFound;

    // By the generation alone, see cacheGeneration_; the cache may also be of fewer records than the list.
    if (generation == cacheGeneration_ && index < cache_.size()) {
        instance = cache_[index];
        return kWbemNoError;
    }
    return MakeInstance(session, index, instance);
}

}  // namespace velk
