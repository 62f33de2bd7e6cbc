#include "module/type_library.h"

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/handle.h"

namespace velk {

namespace {

// The types are the platform's: its headers differ in whether the texts are constant. The functions for one
// user, which not all of them declare, have the same parameters.
using RegisterFunction = decltype(&::RegisterTypeLib);
using UnregisterFunction = decltype(&::UnRegisterTypeLib);

/// The platform's function for the scope: the machine's or, by name, the user's, which keeps its library
/// loaded through `automation`.
template <class Function>
HRESULT FindFunction(RegistrationScope scope, Function forMachine, const char* forUser,
                     UniqueLibrary& automation, Function& found) {
    found = forMachine;
    if (scope == RegistrationScope::kMachine) return S_OK;
    automation = UniqueLibrary(::LoadLibraryW(L"OLEAUT32.DLL"));
    if (!automation) return HRESULT_FROM_WIN32(::GetLastError());
    found = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(automation.Get(), forUser)));
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
    UniqueLibrary automation;
    RegisterFunction registerLibrary = nullptr;
    HRESULT result =
        FindFunction(scope, &::RegisterTypeLib, "RegisterTypeLibForUser", automation, registerLibrary);
    if (FAILED(result)) return result;
    ComPtr<ITypeLib> library;
    result = LoadTypeLibrary(modulePath, library);
    if (FAILED(result)) return result;
    std::wstring path = modulePath;  // some headers ask for text that may be written to
    return registerLibrary(library.Get(), path.data(), nullptr);
}

HRESULT UnregisterTypeLibrary(const std::wstring& modulePath, RegistrationScope scope) {
    UniqueLibrary automation;
    UnregisterFunction unregisterLibrary = nullptr;
    HRESULT result =
        FindFunction(scope, &::UnRegisterTypeLib, "UnRegisterTypeLibForUser", automation, unregisterLibrary);
    if (FAILED(result)) return result;
    ComPtr<ITypeLib> library;
    result = LoadTypeLibrary(modulePath, library);
    if (FAILED(result)) return result;
    const TypeLibraryAttributes attributes(*library);
    const TLIBATTR* const own = attributes.Get();
    if (own == nullptr) return E_OUTOFMEMORY;
    // Asked first: what the platform answers to removing what is not there differs between its versions.
    Bstr registered;
    result =
        ::QueryPathOfRegTypeLib(own->guid, own->wMajorVerNum, own->wMinorVerNum, own->lcid, registered.Put());
    if (result == TYPE_E_LIBNOTREGISTERED) return S_OK;
    if (FAILED(result)) return result;
    return unregisterLibrary(own->guid, own->wMajorVerNum, own->wMinorVerNum, own->lcid, own->syskind);
}

}  // namespace velk
