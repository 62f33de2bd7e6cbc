#include "module/type_library.h"

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/handle.h"

namespace velk {

namespace {

using RegisterFunction = HRESULT(WINAPI*)(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder);
using UnregisterFunction = HRESULT(WINAPI*)(REFGUID id, WORD major, WORD minor, LCID locale, SYSKIND system);

/// The platform's function for the scope: the machine's or, looked up in `automation` by name, the user's.
template <class Function>
HRESULT FindFunction(HMODULE automation, RegistrationScope scope, Function forMachine, const char* forUser,
                     Function& found) {
    found = forMachine;
    if (scope == RegistrationScope::kMachine) return S_OK;
    found = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(automation, forUser)));
    return found != nullptr ? S_OK : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
}

HRESULT LoadTypeLibrary(const std::wstring& modulePath, ComPtr<ITypeLib>& library) {
    return ::LoadTypeLibEx(modulePath.c_str(), REGKIND_NONE, library.Put());
}

/// An attribute record of a type library, given back to it.
class TypeLibraryAttributes {
  public:
    explicit TypeLibraryAttributes(ITypeLib& library) : library_(library) {
        if (FAILED(library_.GetLibAttr(&attributes_))) attributes_ = nullptr;
    }
    ~TypeLibraryAttributes() {
        if (attributes_ != nullptr) library_.ReleaseTLibAttr(attributes_);
    }
    TypeLibraryAttributes(const TypeLibraryAttributes&) = delete;
    TypeLibraryAttributes& operator=(const TypeLibraryAttributes&) = delete;

    const TLIBATTR* Get() const noexcept { return attributes_; }

  private:
    ITypeLib& library_;
    TLIBATTR* attributes_ = nullptr;
};

}  // namespace

HRESULT RegisterTypeLibrary(const std::wstring& modulePath, RegistrationScope scope) {
    const UniqueLibrary automation(::LoadLibraryW(L"OLEAUT32.DLL"));
    RegisterFunction registerLibrary = nullptr;
    HRESULT result = FindFunction<RegisterFunction>(automation.Get(), scope, &::RegisterTypeLib,
                                                    "RegisterTypeLibForUser", registerLibrary);
    if (FAILED(result)) return result;
    ComPtr<ITypeLib> library;
    result = LoadTypeLibrary(modulePath, library);
    if (FAILED(result)) return result;
    std::wstring path = modulePath;  // the platform asks for text that it may write to
    return registerLibrary(library.Get(), path.data(), nullptr);
}

HRESULT UnregisterTypeLibrary(const std::wstring& modulePath, RegistrationScope scope) {
    const UniqueLibrary automation(::LoadLibraryW(L"OLEAUT32.DLL"));
    UnregisterFunction unregisterLibrary = nullptr;
    HRESULT result = FindFunction<UnregisterFunction>(automation.Get(), scope, &::UnRegisterTypeLib,
                                                      "UnRegisterTypeLibForUser", unregisterLibrary);
    if (FAILED(result)) return result;
    ComPtr<ITypeLib> library;
    result = LoadTypeLibrary(modulePath, library);
    if (FAILED(result)) return result;
    const TypeLibraryAttributes attributes(*library);
    const TLIBATTR* const own = attributes.Get();
    if (own == nullptr) return E_OUTOFMEMORY;
    // Asked first: what the platform answers to removing what is not there differs between its versions.
    Bstr registered;
    if (FAILED(::QueryPathOfRegTypeLib(own->guid, own->wMajorVerNum, own->wMinorVerNum, own->lcid,
                                       registered.Put())))
        return S_OK;
    return unregisterLibrary(own->guid, own->wMajorVerNum, own->wMinorVerNum, own->lcid, own->syskind);
}

}  // namespace velk
