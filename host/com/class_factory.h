#pragma once

#include <functional>
#include <utility>

#include "host/com/com_object.h"

namespace velkhost {

/// A class object whose CreateInstance calls the given function (interface wanted, where to put it).
class ClassFactory final : public ComObject<IClassFactory> {
  public:
    using Maker = std::function<HRESULT(REFIID iid, void** object)>;

    explicit ClassFactory(Maker make) : make_(std::move(make)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override;
    /// The host's classes live in the program itself: there is nothing to keep loaded.
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

  private:
    Maker make_;
};

/// Makes a class object that serves default-constructed objects of the given class.
template <class Object>
velk::ComPtr<IClassFactory> MakeClassFactory() {
    const auto factory = MakeComObject<ClassFactory>(
        [](REFIID iid, void** object) { return MakeComObject<Object>()->QueryInterface(iid, object); });
    return velk::ComPtr<IClassFactory>(factory.Get());
}

/// Registers a class object in this process for as long as the registration lives, so that CoGetClassObject
/// and CoCreateInstance find it before any registered DLL. Registrations belong to an apartment: to be made
/// and destroyed on a thread of the multi-threaded one, before its last CoUninitialize.
class ClassRegistration {
  public:
    /// Throws std::runtime_error when COM refuses, also when the class is already registered here.
    ClassRegistration(REFCLSID classId, IClassFactory* factory);
    ~ClassRegistration();
    ClassRegistration(ClassRegistration&& other) noexcept : cookie_(std::exchange(other.cookie_, 0)) {}
    ClassRegistration(const ClassRegistration&) = delete;
    ClassRegistration& operator=(const ClassRegistration&) = delete;

  private:
    DWORD cookie_ = 0;
};

}  // namespace velkhost
