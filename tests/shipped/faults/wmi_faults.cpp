#include "wmi_faults.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "fault_plan.h"
#include "ledger.h"
#include "support/fake_wbem.h"
#include "support/recording_sink.h"

namespace velktest {

namespace {

/// Values are handed over to the caller.
template <class Argument>
void BookValue(Argument) {}
void BookValue(VARIANT* value) {
    if (value != nullptr) Books().AddVariant(*value);
}

enum class MethodKind {
    kPlain,
    kGivesValue,  ///< hands a VARIANT over to the caller
    kReports,     ///< takes a status: also when the call is made to fail, so that it can be counted
};

template <CallName name, MethodKind kind, class Method>
struct FailingMethod;

template <CallName name, MethodKind kind, class Interface, class... Arguments>
struct FailingMethod<name, kind, HRESULT (STDMETHODCALLTYPE Interface::*)(Arguments...)> {
    static inline HRESULT(STDMETHODCALLTYPE* original)(Interface*, Arguments...) = nullptr;

    static HRESULT STDMETHODCALLTYPE Call(Interface* self, Arguments... arguments) {
        const bool fails = Faults().Fails(name.text);
        if (fails) Faults().NoteFailure(name.text);
        if (fails && kind != MethodKind::kReports) return kInjected;
        const HRESULT result = original(self, arguments...);
        if (kind == MethodKind::kGivesValue && SUCCEEDED(result)) (BookValue(arguments), ...);
        return fails ? kInjected : result;
    }
};

template <CallName name, auto method, MethodKind kind = MethodKind::kPlain>
velkhost::MethodRedirect Redirect(void* object, std::size_t slot) {
    using Failing = FailingMethod<name, kind, decltype(method)>;
    velkhost::MethodRedirect redirect(object, slot, reinterpret_cast<void*>(&Failing::Call));
    Failing::original = reinterpret_cast<decltype(Failing::original)>(redirect.Original());
    return redirect;
}

template <class Interface>
velk::ComPtr<Interface> Require(velk::ComPtr<Interface> object) {
    if (!object) throw std::runtime_error("a sample object cannot be made");
    return object;
}

}  // namespace

WmiFaults::WmiFaults() {
    // Slots: QueryInterface, AddRef and Release come first, then the methods in the order of declaration.
    const auto object = FakeClassObject::Make();
    redirects_.push_back(
        Redirect<"IWbemClassObject::Get", &IWbemClassObject::Get, MethodKind::kGivesValue>(object.Get(), 4));
    redirects_.push_back(Redirect<"IWbemClassObject::Put", &IWbemClassObject::Put>(object.Get(), 5));
    redirects_.push_back(
        Redirect<"IWbemClassObject::SpawnInstance", &IWbemClassObject::SpawnInstance>(object.Get(), 15));

    const auto services = FakeServices::Make();
    services->Answer(L"SAMPLE", {});
    velk::ComPtr<IEnumWbemClassObject> results;
    services->ExecQuery(nullptr, velk::Bstr(L"SAMPLE").Get(), 0, nullptr, results.Put());
    redirects_.push_back(
        Redirect<"IEnumWbemClassObject::Next", &IEnumWbemClassObject::Next>(Require(results).Get(), 4));
    redirects_.push_back(Redirect<"IWbemServices::GetObject", &IWbemServices::GetObject>(services.Get(), 6));
    redirects_.push_back(Redirect<"IWbemServices::ExecQuery", &IWbemServices::ExecQuery>(services.Get(), 20));

    velk::ComPtr<IWbemLocator> locator;
    ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, locator.PutVoid());
    redirects_.push_back(
        Redirect<"IWbemLocator::ConnectServer", &IWbemLocator::ConnectServer>(Require(locator).Get(), 3));

    const auto sink = RecordingSink::Make();
    redirects_.push_back(Redirect<"IWbemObjectSink::Indicate", &IWbemObjectSink::Indicate>(sink.Get(), 3));
    redirects_.push_back(
        Redirect<"IWbemObjectSink::SetStatus", &IWbemObjectSink::SetStatus, MethodKind::kReports>(sink.Get(),
                                                                                                  4));
    const auto initSink = RecordingInitSink::Make();
    redirects_.push_back(
        Redirect<"IWbemProviderInitSink::SetStatus", &IWbemProviderInitSink::SetStatus, MethodKind::kReports>(
            initSink.Get(), 3));

    velk::ComPtr<IClassFactory> parser;
    ::CoGetClassObject(kClsidWbemDefPath, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, parser.PutVoid());
    velk::ComPtr<IWbemPath> path;
    velk::ComPtr<IWbemPathKeyList> keys;
    Require(parser)->CreateInstance(nullptr, kIidIWbemPath, path.PutVoid());
    Require(path)->SetText(WBEMPATH_CREATE_ACCEPT_ALL, L"C.K=\"V\"");
    path->GetKeyList(keys.Put());
    redirects_.push_back(
        Redirect<"IClassFactory::CreateInstance", &IClassFactory::CreateInstance>(parser.Get(), 3));
    redirects_.push_back(Redirect<"IWbemPath::SetText", &IWbemPath::SetText>(path.Get(), 3));
    redirects_.push_back(Redirect<"IWbemPath::GetInfo", &IWbemPath::GetInfo>(path.Get(), 5));
    redirects_.push_back(Redirect<"IWbemPath::GetClassName", &IWbemPath::GetClassName>(path.Get(), 21));
    redirects_.push_back(Redirect<"IWbemPath::GetKeyList", &IWbemPath::GetKeyList>(path.Get(), 22));
    redirects_.push_back(
        Redirect<"IWbemPathKeyList::GetCount", &IWbemPathKeyList::GetCount>(Require(keys).Get(), 3));
    redirects_.push_back(
        Redirect<"IWbemPathKeyList::GetKey2", &IWbemPathKeyList::GetKey2, MethodKind::kGivesValue>(keys.Get(),
                                                                                                   7));
}

}  // namespace velktest
