#include "module/class_factory.h"

#include <algorithm>

namespace velk {

HRESULT CClassFactory::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!::IsEqualIID(iid, IID_IUnknown) && !::IsEqualIID(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

ULONG CClassFactory::Release() {
    const ULONG references = InternalRelease();
    if (references == 0) delete this;
    return references;
}

HRESULT CClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return entry_.create(iid, object);
}

HRESULT CClassFactory::LockServer(BOOL lock) {
    if (lock) {
        ModuleLock::Add();
    } else {
        ModuleLock::Release();
    }
    return S_OK;
}

HRESULT GetClassFactory(std::span<const ClassTableEntry> classes, REFCLSID clsid, REFIID iid,
                        void** object) noexcept {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    const auto entry = std::find_if(classes.begin(), classes.end(), [&](const ClassTableEntry& candidate) {
        return ::IsEqualCLSID(candidate.clsid, clsid) != FALSE;
    });
    if (entry == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
    return GuardEntryPoint([&] {
        const ComPtr<CClassFactory> factory(new CClassFactory(*entry));
        return factory->QueryInterface(iid, object);
    });
}

}  // namespace velk
