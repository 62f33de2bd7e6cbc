#include "bench/rig.h"

#include <stdexcept>

#include "common/bstr.h"

namespace velkbench {

using velk::Bstr;

long CountingSink::Finish() const {
    while (!isComplete_) ::Sleep(0);
    if (FAILED(status_.load())) throw std::runtime_error("an enumeration failed");
    return instances_;
}

Rig::Rig(const velkhost::Machine& machine) : host_(machine) {
    // The log writes errors alone: what a line costs is measured by itself. It looks when the DLL is loaded.
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 5);
    dll_.Reset(::LoadLibraryW(L"VelkWmiPci.dll"));
    if (!dll_) throw std::runtime_error("VelkWmiPci.dll cannot be loaded");
    ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                       locator_.PutVoid());
    if (locator_) {
        locator_->ConnectServer(Bstr(L"root\\VKQ").Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                services_.Put());
    }
    if (services_) {
        services_->ExecQuery(Bstr(L"WQL").Get(),
                             Bstr(L"SELECT * FROM meta_class WHERE __CLASS = \"Velk_PCIDevice\"").Get(),
                             WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr, results_.Put());
    }
    object_ = ClassObject(L"Velk_PCIDevice");
    if (!results_) throw std::runtime_error("the host answers no query");
}

SampleObjects Rig::Objects() const {
    return {object_.Get(), results_.Get(), services_.Get(), locator_.Get()};
}

velk::ComPtr<IWbemClassObject> Rig::ClassObject(const std::wstring& name) const {
    velk::ComPtr<IWbemClassObject> found;
    if (FAILED(services_->GetObject(Bstr(name).Get(), 0, nullptr, found.Put(), nullptr)))
        throw std::runtime_error("the host has not all classes");
    return found;
}

long Enumerate(IWbemServices& provider, CountingSink& sink) {
    sink.Begin();
    if (FAILED(provider.CreateInstanceEnumAsync(nullptr, 0, nullptr, &sink)))
        throw std::runtime_error("an enumeration failed");
    return sink.Finish();
}

}  // namespace velkbench
