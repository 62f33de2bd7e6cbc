// Clients that use the interfaces in every order but the usual one.

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "common/handle.h"
#include "host/com/wbem_codes.h"
#include "services_fixture.h"
#include "support/waiting.h"

namespace {

using namespace velktest;
using namespace velkhost;
using testing::ElementsAre;
using testing::SizeIs;

constexpr LONG kSemisynchronous = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;

velk::UniqueHandle MakeEvent() { return velk::UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)); }

/// Does something of its own when it is called, and counts.
class MeddlingSink final : public ComObject<IWbemObjectSink> {
  public:
    explicit MeddlingSink(std::function<void()> onIndicate = {}, std::function<void()> onStatus = {})
        : onIndicate_(std::move(onIndicate)), onStatus_(std::move(onStatus)) {}

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject**) noexcept override {
        if (statuses > 0) ++objectsAfterStatus;
        objects += count;
        if (onIndicate_) onIndicate_();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT result, BSTR, IWbemClassObject*) noexcept override {
        status = result;
        ++statuses;
        if (onStatus_) onStatus_();
        ::SetEvent(done.Get());
        return S_OK;
    }

    std::atomic<LONG> objects = 0;
    std::atomic<int> statuses = 0;
    std::atomic<int> objectsAfterStatus = 0;
    std::atomic<HRESULT> status = E_PENDING;
    const velk::UniqueHandle done = MakeEvent();

  private:
    const std::function<void()> onIndicate_, onStatus_;
};

/// Runs the body on a thread that is a single-threaded apartment.
template <class Body>
void OnStaThread(Body body) {
    std::thread([&] {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        body();
        ::CoUninitialize();
    }).join();
}

APTTYPE CurrentApartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    ::CoGetApartmentType(&type, &qualifier);
    return type;
}

class ProtocolAbuse : public ServicesTest {
  protected:
    HRESULT EnumerateAsync(IWbemObjectSink* sink) {
        return services_->CreateInstanceEnumAsync(velk::Bstr(L"Item").Get(), 0, nullptr, sink);
    }
    /// The provider waits for `goOn` before it answers; `asked` tells that it is waiting.
    void HoldTheProvider() {
        script_->enumerate = [this](IWbemServices* nameSpace, IWbemObjectSink* sink) {
            ::SetEvent(asked_.Get());
            BecomesSignalled(goOn_.Get());
            return AnswerItems(nameSpace, sink, 3);
        };
    }

    const velk::UniqueHandle asked_ = MakeEvent();
    const velk::UniqueHandle goOn_ = MakeEvent();
};

TEST_F(ProtocolAbuse, AnEnumeratorOutlivesTheServicesThatMadeIt) {
    HoldTheProvider();
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(Enumerate(L"Item", enumerator, kSemisynchronous), S_OK);
    services_.Reset();
    ::SetEvent(goOn_.Get());
    EXPECT_THAT(Drain(*enumerator), ElementsAre(L"1", L"2", L"3"));
}

TEST_F(ProtocolAbuse, AnEnumeratorIsReleasedWhileItsProviderWorks) {
    HoldTheProvider();
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(Enumerate(L"Item", enumerator, kSemisynchronous), S_OK);
    ASSERT_TRUE(BecomesSignalled(asked_.Get()));
    enumerator.Reset();
    ::SetEvent(goOn_.Get());
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), SizeIs(3));
}

TEST_F(ProtocolAbuse, AnObjectOutlivesTheHost) {
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"Fixed=\"one\"", object), S_OK);
    services_.Reset();
    registration_.reset();
    host_.reset();
    EXPECT_EQ(Text(*object, L"__PATH"), L"\\\\SRV01\\root\\VKQ:Fixed.Id=\"one\"");
}

TEST_F(ProtocolAbuse, AClientAsksAgainFromWithinIndicateAndSetStatus) {
    std::atomic<std::size_t> found = 0;
    const auto ask = [&] { found += QueryTexts(L"SELECT * FROM Item").size(); };
    const auto sink = MakeComObject<MeddlingSink>(ask, ask);
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_TRUE(BecomesSignalled(sink->done.Get()));
    EXPECT_EQ(sink->status, S_OK);
    EXPECT_EQ(sink->objects, 3);
    EXPECT_EQ(found, 12u);
}

TEST_F(ProtocolAbuse, AClientThatAsksFromWithinIndicateFindsTheProviderFree) {
    std::mutex provider;
    script_->enumerate = [&](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        const std::unique_lock inside(provider, std::try_to_lock);
        if (!inside) return velk::kWbemFailed;
        return AnswerItems(nameSpace, sink, 3);
    };
    std::vector<std::size_t> found;
    const auto sink = MakeComObject<MeddlingSink>([&] {
        velk::ComPtr<IEnumWbemClassObject> enumerator;
        ASSERT_EQ(Enumerate(L"Item", enumerator, kSemisynchronous), S_OK);
        found.push_back(Drain(*enumerator).size());
    });
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_TRUE(BecomesSignalled(sink->done.Get()));
    EXPECT_THAT(found, ElementsAre(3u, 3u, 3u));
}

TEST_F(ProtocolAbuse, ACancelledCallGetsItsOneStatusAtOnceAndNoObjectAfterwards) {
    HoldTheProvider();
    const auto sink = MakeComObject<MeddlingSink>();
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_TRUE(BecomesSignalled(asked_.Get()));
    EXPECT_EQ(services_->CancelAsyncCall(sink.Get()), S_OK);
    EXPECT_EQ(sink->status, kWbemCallCancelled) << "before the provider is through";
    ::SetEvent(goOn_.Get());
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), SizeIs(3));
    host_.reset();  // waits for the thread of the cancelled call
    EXPECT_EQ(sink->statuses, 1);
    EXPECT_EQ(sink->objects, 0);
}

TEST_F(ProtocolAbuse, ACallIsCancelledFromWithinIndicate) {
    velk::ComPtr<MeddlingSink> sink;
    HRESULT cancelled = E_PENDING;
    sink = MakeComObject<MeddlingSink>([&] { cancelled = services_->CancelAsyncCall(sink.Get()); });
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_TRUE(BecomesSignalled(sink->done.Get()));
    EXPECT_EQ(cancelled, S_OK);
    EXPECT_EQ(sink->status, kWbemCallCancelled);
    EXPECT_EQ(sink->objects, 1) << "of three";
    host_.reset();
    EXPECT_EQ(sink->statuses, 1);
    EXPECT_EQ(sink->objectsAfterStatus, 0);
}

TEST_F(ProtocolAbuse, ASinkWithoutACallCannotBeCancelled) {
    const auto sink = MakeComObject<MeddlingSink>();
    EXPECT_EQ(services_->CancelAsyncCall(sink.Get()), velk::kWbemNotFound);
    EXPECT_EQ(services_->CancelAsyncCall(nullptr), velk::kWbemInvalidParameter);
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_TRUE(BecomesSignalled(sink->done.Get()));
    // Its thread may still be on the way out; then there is a call, which is over.
    services_->CancelAsyncCall(sink.Get());
    host_.reset();
    EXPECT_EQ(sink->statuses, 1);
    EXPECT_EQ(sink->status, S_OK);
}

TEST_F(ProtocolAbuse, TwoCallsWithOneSinkAreBothCancelled) {
    HoldTheProvider();
    const auto sink = MakeComObject<MeddlingSink>();
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    ASSERT_EQ(EnumerateAsync(sink.Get()), S_OK);
    EXPECT_EQ(services_->CancelAsyncCall(sink.Get()), S_OK);
    EXPECT_EQ(sink->statuses, 2);
    ::SetEvent(goOn_.Get());
}

TEST_F(ProtocolAbuse, AProviderIsAskedInTheMultiThreadedApartmentWhoeverAsks) {
    std::atomic<APTTYPE> made = APTTYPE_CURRENT, asked = APTTYPE_CURRENT;
    script_->enumerate = [&](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        asked = CurrentApartment();
        return AnswerItems(nameSpace, sink, 3);
    };
    script_->get = [&](const std::wstring&, IWbemServices* nameSpace, IWbemObjectSink* sink) {
        made = CurrentApartment();
        return AnswerItems(nameSpace, sink, 1);
    };
    OnStaThread([&] {
        EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), SizeIs(3));
        velk::ComPtr<IWbemClassObject> object;
        EXPECT_EQ(Get(L"Item=\"1\"", object), S_OK);
    });
    EXPECT_EQ(asked, APTTYPE_MTA);
    EXPECT_EQ(made, APTTYPE_MTA);
}

TEST_F(ProtocolAbuse, AnStaClientIsToldOfTheHostsEnd) {
    velk::ComPtr<IWbemServices> services = services_;
    registration_.reset();
    services_.Reset();
    host_.reset();
    OnStaThread([&] {
        velk::ComPtr<IWbemClassObject> object;
        EXPECT_EQ(services->GetObject(velk::Bstr(L"Fixed=\"one\"").Get(), 0, nullptr, object.Put(), nullptr),
                  kWbemShuttingDown);
    });
}

TEST_F(ProtocolAbuse, SeveralConnectionsAndLocalesShareOneProvider) {
    velk::ComPtr<IWbemLocator> locator;
    ASSERT_EQ(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                 locator.PutVoid()),
              S_OK);
    for (const wchar_t* locale : {L"MS_409", L"MS_407", L"MS_411"}) {
        ASSERT_EQ(locator->ConnectServer(velk::Bstr(L"root\\VKQ").Get(), nullptr, nullptr,
                                         velk::Bstr(locale).Get(), 0, nullptr, nullptr, services_.Put()),
                  S_OK);
        EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), ElementsAre(L"1", L"2", L"3"));
    }
    EXPECT_EQ(script_->created, 1) << "PerLocaleInitialization is FALSE";
}

TEST_F(ProtocolAbuse, CredentialsAndUnknownFlagsAreRefusedOnTheOwnMachine) {
    velk::ComPtr<IWbemLocator> locator;
    ASSERT_EQ(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                 locator.PutVoid()),
              S_OK);
    const auto connect = [&](const wchar_t* user, LONG flags) {
        velk::ComPtr<IWbemServices> services;
        return locator->ConnectServer(velk::Bstr(L"root\\VKQ").Get(), velk::Bstr(user).Get(), nullptr,
                                      nullptr, flags, nullptr, nullptr, services.Put());
    };
    EXPECT_EQ(connect(L"admin", 0), kWbemLocalCredentials);
    EXPECT_EQ(connect(L"", WBEM_FLAG_CONNECT_USE_MAX_WAIT), S_OK);
    EXPECT_EQ(connect(L"", 1), velk::kWbemInvalidParameter);
}

TEST_F(ProtocolAbuse, ClientsSetTheSecurityOfTheirCalls) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(Enumerate(L"Item", enumerator), S_OK);
    for (IUnknown* proxy :
         {static_cast<IUnknown*>(services_.Get()), static_cast<IUnknown*>(enumerator.Get())}) {
        EXPECT_EQ(::CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                      RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                      EOAC_NONE),
                  S_OK);
        DWORD level = 0, impersonation = 0;
        EXPECT_EQ(
            ::CoQueryProxyBlanket(proxy, nullptr, nullptr, nullptr, &level, &impersonation, nullptr, nullptr),
            S_OK);
        EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_PKT_PRIVACY));
        EXPECT_EQ(impersonation, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
        velk::ComPtr<IUnknown> again;
        velk::ComPtr<IClientSecurity> security;
        ASSERT_EQ(proxy->QueryInterface(IID_IClientSecurity, security.PutVoid()), S_OK);
        ASSERT_EQ(security->QueryInterface(IID_IUnknown, again.PutVoid()), S_OK);
        velk::ComPtr<IUnknown> first;
        ASSERT_EQ(proxy->QueryInterface(IID_IUnknown, first.PutVoid()), S_OK);
        EXPECT_EQ(again.Get(), first.Get()) << "one object, one identity";
    }
}

}  // namespace
