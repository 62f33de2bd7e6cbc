#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"
#include "host/com/class_factory.h"
#include "host/com/com_object.h"
#include "host/model/repository.h"
#include "host/services/read_only_services.h"
#include "host/wmi_host.h"

template <>
struct velkhost::InterfaceId<IWbemProviderInit> {
    static const IID& Get() noexcept { return IID_IWbemProviderInit; }
};

namespace velktest {

inline constexpr CLSID kFakeProvider = {
    0x6a1b3f0e, 0x52c1, 0x4d0b, {0x9b, 0x11, 0x3f, 0x7e, 0x52, 0x10, 0xaa, 0x01}};

/// Item is served by the fake provider, Orphan names a provider without registration, Unregistered one whose
/// class COM does not know. Fixed has static instances.
inline constexpr char kServicesMof[] = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Base { [Key] string Id; };
[Dynamic, Provider("Fake")] class Item : Base
{
    uint16 Number; boolean Flag; string Text; uint32 Big; uint16 List[]; sint32 Signed;
};
instance of __Win32Provider as $F { Name = "Fake"; CLSID = "{6A1B3F0E-52C1-4D0B-9B11-3F7E5210AA01}"; };
instance of __InstanceProviderRegistration { Provider = $F; SupportsGet = TRUE; SupportsEnumeration = TRUE; };
[Dynamic, Provider("Nobody")] class Orphan { [Key] string Id; };
[Dynamic, Provider("Unregistered")] class Unregistered { [Key] string Id; };
instance of __Win32Provider as $U { Name = "Unregistered"; CLSID = "{6A1B3F0E-52C1-4D0B-9B11-3F7E5210AA02}"; };
instance of __InstanceProviderRegistration { Provider = $U; SupportsGet = TRUE; SupportsEnumeration = TRUE; };
class Fixed { [Key] string Id; uint32 Number; };
instance of Fixed { Id = "one"; Number = 1; };
instance of Fixed { Id = "a\\b"; Number = 4294967295; };
)";

/// What the fake provider does; shared by the test and every provider object made.
struct FakeScript {
    std::function<HRESULT(IWbemServices* nameSpace, IWbemObjectSink* sink)> enumerate;
    std::function<HRESULT(const std::wstring& path, IWbemServices* nameSpace, IWbemObjectSink* sink)> get;
    HRESULT initializeResult = S_OK;
    LONG initializeStatus = WBEM_S_INITIALIZED;
    int created = 0;
    std::wstring nameSpace;  ///< as told to Initialize
};

/// An Item with that Id and Number.
inline velk::ComPtr<IWbemClassObject> MakeItem(IWbemServices* nameSpace, const std::wstring& id,
                                               LONG number) {
    velk::ComPtr<IWbemClassObject> definition;
    nameSpace->GetObject(velk::Bstr(L"Item").Get(), 0, nullptr, definition.Put(), nullptr);
    velk::ComPtr<IWbemClassObject> item;
    definition->SpawnInstance(0, item.Put());
    item->Put(L"Id", 0, velk::Variant::FromText(velk::Bstr(id)).Address(), 0);
    item->Put(L"Number", 0, velk::Variant::SInt32(number).Address(), 0);
    item->Put(L"Flag", 0, velk::Variant::Bool(number % 2 == 0).Address(), 0);
    item->Put(L"Big", 0, velk::Variant::SInt32(-number).Address(), 0);
    item->Put(L"Signed", 0, velk::Variant::SInt32(-number).Address(), 0);
    return item;
}

/// Delivers Items "1" to "count" in one Indicate and returns its status.
inline HRESULT IndicateItems(IWbemServices* nameSpace, IWbemObjectSink* sink, LONG count) {
    std::vector<velk::ComPtr<IWbemClassObject>> items;
    std::vector<IWbemClassObject*> plain;
    for (LONG i = 1; i <= count; ++i) {
        items.push_back(MakeItem(nameSpace, std::to_wstring(i), i));
        plain.push_back(items.back().Get());
    }
    return sink->Indicate(count, plain.data());
}

/// A whole, synchronous answer of that many Items.
inline HRESULT AnswerItems(IWbemServices* nameSpace, IWbemObjectSink* sink, LONG count) {
    const HRESULT result = IndicateItems(nameSpace, sink, count);
    sink->SetStatus(WBEM_STATUS_COMPLETE, result, nullptr, nullptr);
    return result;
}

class FakeProvider final : public velkhost::ReadOnlyServices {
  public:
    explicit FakeProvider(std::shared_ptr<FakeScript> script) : script_(std::move(script)) {}

    void SetNamespace(IWbemServices* nameSpace) { nameSpace_ = velk::ComPtr<IWbemServices>(nameSpace); }
    FakeScript& Script() { return *script_; }

    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*,
                                                      IWbemObjectSink* sink) noexcept override {
        return script_->enumerate(nameSpace_.Get(), sink);
    }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, LONG, IWbemContext*,
                                             IWbemObjectSink* sink) noexcept override {
        return script_->get(path, nameSpace_.Get(), sink);
    }
    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**,
                                            IWbemCallResult**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**,
                                        IWbemCallResult**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, IWbemContext*,
                                                   IWbemObjectSink*) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR, LONG, IWbemContext*,
                                                 IEnumWbemClassObject**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                        IEnumWbemClassObject**) noexcept override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                             IWbemObjectSink*) noexcept override {
        return E_NOTIMPL;
    }

  private:
    const std::shared_ptr<FakeScript> script_;
    velk::ComPtr<IWbemServices> nameSpace_;
};

/// The face that COM creates; everything but Initialize is the provider's.
class FakeProviderInit final : public velkhost::ComObject<IWbemProviderInit> {
  public:
    explicit FakeProviderInit(const std::shared_ptr<FakeScript>& script)
        : provider_(velkhost::MakeComObject<FakeProvider>(script)) {
        ++script->created;
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) noexcept override {
        if (::IsEqualIID(iid, IID_IWbemServices)) return provider_->QueryInterface(iid, object);
        return ComObject::QueryInterface(iid, object);
    }
    HRESULT STDMETHODCALLTYPE Initialize(LPWSTR, LONG, LPWSTR nameSpace, LPWSTR, IWbemServices* services,
                                         IWbemContext*, IWbemProviderInitSink* sink) noexcept override {
        FakeScript& script = provider_->Script();
        if (FAILED(script.initializeResult)) return script.initializeResult;
        script.nameSpace = nameSpace;
        provider_->SetNamespace(services);
        return sink->SetStatus(script.initializeStatus, 0);
    }

  private:
    const velk::ComPtr<FakeProvider> provider_;
};

/// A host with the classes above, the fake provider registered in process, and everything reported. At the
/// end every COM object of the host must be gone.
class ServicesTest : public ::testing::Test {
  protected:
    ServicesTest() {
        velkhost::Repository repository(L"SRV01");
        repository.LoadMof(kServicesMof, "services.mof");
        velkhost::HostOptions options;
        options.statusLimit = 200;
        options.report = [this](const std::wstring& message) {
            const std::lock_guard lock(reportMutex_);
            reports_.push_back(message);
        };
        script_->enumerate = [](IWbemServices* nameSpace, IWbemObjectSink* sink) {
            return AnswerItems(nameSpace, sink, 3);
        };
        host_.emplace(std::move(repository), std::move(options));
        const auto factory =
            velkhost::MakeComObject<velkhost::ClassFactory>([script = script_](REFIID iid, void** object) {
                return velkhost::MakeComObject<FakeProviderInit>(script)->QueryInterface(iid, object);
            });
        registration_.emplace(kFakeProvider, factory.Get());
        services_ = host_->Connect(L"root\\VKQ");
    }

    void TearDown() override {
        services_.Reset();
        registration_.reset();
        host_.reset();
        EXPECT_EQ(velkhost::LiveComObjects(), before_) << "the host or its provider leaked an object";
    }

    std::vector<std::wstring> Reports() {
        const std::lock_guard lock(reportMutex_);
        return reports_;
    }

    HRESULT Get(const wchar_t* path, velk::ComPtr<IWbemClassObject>& object) {
        return services_->GetObject(velk::Bstr(path).Get(), 0, nullptr, object.Put(), nullptr);
    }
    HRESULT Query(const wchar_t* text, velk::ComPtr<IEnumWbemClassObject>& enumerator, LONG flags = 0) {
        return services_->ExecQuery(velk::Bstr(L"WQL").Get(), velk::Bstr(text).Get(), flags, nullptr,
                                    enumerator.Put());
    }
    HRESULT Enumerate(const wchar_t* name, velk::ComPtr<IEnumWbemClassObject>& enumerator, LONG flags = 0) {
        return services_->CreateInstanceEnum(velk::Bstr(name).Get(), flags, nullptr, enumerator.Put());
    }

    /// The text of a property: BSTRs as they are, numbers decimal, NULL as "null", an unknown one as
    /// "unknown".
    static std::wstring Text(IWbemClassObject& object, const wchar_t* name) {
        velk::Variant value;
        if (FAILED(object.Get(name, 0, value.Put(), nullptr, nullptr))) return L"unknown";
        if (value.Type() == VT_NULL) return L"null";
        if (value.Type() == VT_BSTR) return value.Get().bstrVal;
        return value.Type() == VT_I4 ? std::to_wstring(value.Get().lVal) : L"other";
    }
    /// The named property of everything that the enumerator still has; `end` is the status that ended it.
    static std::vector<std::wstring> Drain(IEnumWbemClassObject& enumerator, const wchar_t* property = L"Id",
                                           HRESULT* end = nullptr) {
        std::vector<std::wstring> texts;
        for (;;) {
            velk::ComPtr<IWbemClassObject> object;
            ULONG returned = 0;
            const HRESULT result = enumerator.Next(10000, 1, object.Put(), &returned);
            if (returned == 0) {
                if (end != nullptr) *end = result;
                return texts;
            }
            texts.push_back(Text(*object, property));
        }
    }
    std::vector<std::wstring> QueryTexts(const wchar_t* text, const wchar_t* property = L"Id") {
        velk::ComPtr<IEnumWbemClassObject> enumerator;
        const HRESULT result = Query(text, enumerator);
        EXPECT_EQ(result, S_OK);
        return SUCCEEDED(result) ? Drain(*enumerator, property) : std::vector<std::wstring>{};
    }

    const long before_ = velkhost::LiveComObjects();
    const std::shared_ptr<FakeScript> script_ = std::make_shared<FakeScript>();
    std::mutex reportMutex_;
    std::vector<std::wstring> reports_;
    std::optional<velkhost::WmiHost> host_;
    std::optional<velkhost::ClassRegistration> registration_;
    velk::ComPtr<IWbemServices> services_;
};

}  // namespace velktest
