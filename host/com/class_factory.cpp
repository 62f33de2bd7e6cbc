#include "host/com/class_factory.h"

#include <stdexcept>

namespace velkhost {

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return GuardedCall([&] { return make_(iid, object); });
}

ClassRegistration::ClassRegistration(REFCLSID classId, IClassFactory* factory) {
    const HRESULT result =
        ::CoRegisterClassObject(classId, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_);
    // Wine answers a second registration of a class with success and no cookie.
    if (FAILED(result) || cookie_ == 0) throw std::runtime_error("a class object could not be registered");
}

ClassRegistration::~ClassRegistration() {
    if (cookie_ != 0) ::CoRevokeClassObject(cookie_);
}

}  // namespace velkhost
