#include "framework/instance_provider.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <utility>

#include "common/com_ptr.h"
#include "common/wbem_status.h"
#include "framework/instance_provider_fixture.h"
#include "framework/own_list.h"
#include "support/fake_wbem.h"
#include "support/log_capture.h"
#include "support/recording_sink.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::g_source;
using velktest::InstanceProvider;
using velktest::kProperties;
using velktest::kProviderClass;
using velktest::kWmiClass;
using velktest::RecordingSink;
using velktest::StandIn;
using velktest::Thing;
using velktest::ThingProv;

TEST_F(InstanceProvider, AnswersItsInterfacesWithOneIdentity) {
    const ComPtr<ThingProv> provider = Provider();
    ComPtr<IUnknown> identity;
    ComPtr<IWbemServices> asServices;
    ComPtr<IUnknown> again;
    EXPECT_EQ(provider->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
    EXPECT_EQ(provider->QueryInterface(IID_IWbemServices, asServices.PutVoid()), S_OK);
    EXPECT_EQ(asServices->QueryInterface(IID_IUnknown, again.PutVoid()), S_OK);
    EXPECT_EQ(identity.Get(), again.Get());
    ComPtr<IWbemLocator> other;
    EXPECT_EQ(provider->QueryInterface(IID_IWbemLocator, other.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(provider->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

LONG g_countAtTheListsEnd = 0;
struct NotingList : CInstanceList<Thing> {
    ~NotingList() { g_countAtTheListsEnd = ModuleLock::Count(); }
    bool RebuildList() override { return true; }
};
class NotingProv final : private OwnList<NotingList>, public CInstanceProvider<NotingList> {
  public:
    NotingProv() : CInstanceProvider(kProviderClass, ownList_, kProperties) {}

  private:
    bool KeysMatch(const RequestedKeys&, const Thing&) const override { return false; }
};

TEST_F(InstanceProvider, TheModuleStaysLoadedUntilTheProvidersListIsGone) {
    const LONG before = ModuleLock::Count();
    { const ComPtr<NotingProv> provider(new NotingProv); }
    EXPECT_GT(g_countAtTheListsEnd, before);
    EXPECT_EQ(ModuleLock::Count(), before);
}

TEST_F(InstanceProvider, InitializeFetchesItsClassAndReportsToTheSink) {
    Provider();
    EXPECT_THAT(services->gotPaths, ElementsAre(L"Test_Thing", L"__ExtendedStatus"));
    EXPECT_THAT(initSink->statuses, ElementsAre(RecordingSink::Status{0, WBEM_S_INITIALIZED}));
}

TEST_F(InstanceProvider, InitializeRefusesAMissingNamespaceOrSinkWithoutCallingTheSink) {
    const ComPtr<ThingProv> provider(new ThingProv);
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, nullptr, nullptr, initSink.Get()),
              kWbemInvalidParameter);
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, services.Get(), nullptr, nullptr),
              kWbemInvalidParameter);
    EXPECT_TRUE(initSink->statuses.empty());
    EXPECT_TRUE(services->gotPaths.empty());
}

TEST_F(InstanceProvider, InitializeFailsWithoutItsClassAndDoesNotCallTheSink) {
    const ComPtr<ThingProv> provider(new ThingProv);
    EXPECT_EQ(Initialize(*provider.Get()), kWbemFailed);
    EXPECT_TRUE(initSink->statuses.empty());
}

TEST_F(InstanceProvider, InitializeFailsWithoutThePathParserAndDoesNotCallTheSink) {
    const ComPtr<ThingProv> provider(new ThingProv);
    services->AddObject(kWmiClass, velktest::FakeClassObject::Make());
    const velktest::NoClasses noParser;
    EXPECT_EQ(Initialize(*provider.Get()), kWbemFailed);
    EXPECT_TRUE(initSink->statuses.empty());
}

bool g_refusesNext = false;
decltype(&::malloc) g_malloc = nullptr;
void* RefuseOnce(std::size_t size) {
    // Once, so that the exception itself can be made.
    return std::exchange(g_refusesNext, false) ? nullptr : g_malloc(size);
}
decltype(&::CoGetClassObject) g_getClassObject = nullptr;
HRESULT WINAPI FindTheLastThing(REFCLSID clsid, DWORD context, void* server, REFIID iid, void** object) {
    const HRESULT result = g_getClassObject(clsid, context, server, iid, object);
    g_refusesNext = true;
    return result;
}

TEST_F(InstanceProvider, InitializeWithoutMemoryForTheHelperFailsAndLeavesNone) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    {
        const StandIn allocate("malloc", &RefuseOnce);
        g_malloc = allocate.Original<decltype(g_malloc)>();
        const StandIn<decltype(&FindTheLastThing)> find("CoGetClassObject", &FindTheLastThing);
        g_getClassObject = find.Original<decltype(g_getClassObject)>();
        EXPECT_EQ(Initialize(*provider.Get()), kWbemOutOfMemory);
        EXPECT_FALSE(g_refusesNext);
    }
    EXPECT_EQ(initSink->statuses.size(), 1U) << "that of the first time";
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
}

TEST_F(InstanceProvider, MayBeInitialisedAgainForAnotherNamespace) {
    const ComPtr<ThingProv> provider = Provider();
    const auto other = velktest::FakeServices::Make();
    other->AddObject(kWmiClass, classObject);
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, other.Get(), nullptr, initSink.Get()), S_OK);
    EXPECT_THAT(other->gotPaths, ElementsAre(L"Test_Thing", L"__ExtendedStatus"));
    EXPECT_EQ(initSink->statuses.size(), 2u);
}

TEST_F(InstanceProvider, RefusesWritesDeletesAndQueriesWithoutTouchingTheSink) {
    const ComPtr<ThingProv> provider = Provider();
    sink = RecordingSink::Make();
    EXPECT_EQ(provider->PutInstanceAsync(classObject.Get(), 0, nullptr, sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(provider->DeleteInstanceAsync(nullptr, 0, nullptr, sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(provider->ExecQueryAsync(nullptr, nullptr, 0, nullptr, sink.Get()), kWbemNotSupported);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
}

TEST_F(InstanceProvider, EnumerationAndGetRefuseANullSink) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr), kWbemInvalidParameter);
    EXPECT_EQ(provider->GetObjectAsync(const_cast<BSTR>(kPathOfB), 0, nullptr, nullptr),
              kWbemInvalidParameter);
    EXPECT_EQ(g_source.rebuilds, 0);
}

TEST_F(InstanceProvider, AnUninitialisedProviderFailsCleanly) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider(new ThingProv);
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
}

TEST_F(InstanceProvider, EveryEntryPointLogsThatItWasEntered) {
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    Initialize(*provider.Get());
    provider->PutInstanceAsync(nullptr, 0, nullptr, nullptr);
    provider->DeleteInstanceAsync(nullptr, 0, nullptr, nullptr);
    provider->ExecQueryAsync(nullptr, nullptr, 0, nullptr, nullptr);
    provider->GetObjectAsync(nullptr, 0, nullptr, nullptr);
    provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr);
    EXPECT_THAT(log.Lines(), ElementsAre(L"[Verbose] CThingProv::Initialize| Entering",
                                         L"[Verbose] CThingProv::PutInstanceAsync| Entering",
                                         L"[Verbose] CThingProv::DeleteInstanceAsync| Entering",
                                         L"[Verbose] CThingProv::ExecQueryAsync| Entering",
                                         L"[Verbose] CThingProv::GetObjectAsync| Entering",
                                         L"[Verbose] CThingProv::CreateInstanceEnumAsync| Entering"));
}

/// What a caller left in an out parameter.
template <class Interface>
Interface* Stale() {
    return reinterpret_cast<Interface*>(&g_source);
}

TEST_F(InstanceProvider, RequestsOfTheBaseInterfacesAreNotCapableAndHandOutNull) {
    const ComPtr<ThingProv> provider = Provider();
    IWbemServices* inner = nullptr;
    IWbemCallResult* call = nullptr;
    IWbemObjectSink* handler = nullptr;
    IWbemClassObject* object = nullptr;
    IEnumWbemClassObject* enumerator = nullptr;
    const auto refused = [&](const char* method, const auto& request) {
        inner = Stale<IWbemServices>();
        call = Stale<IWbemCallResult>();
        handler = Stale<IWbemObjectSink>();
        object = Stale<IWbemClassObject>();
        enumerator = Stale<IEnumWbemClassObject>();
        EXPECT_EQ(request(), kWbemProviderNotCapable) << method;
        // Those of the five that the method does not take stay as they are.
        const int nulls = (inner == nullptr) + (call == nullptr) + (handler == nullptr) +
                          (object == nullptr) + (enumerator == nullptr);
        return nulls;
    };
    ThingProv& asked = *provider.Get();
    // clang-format off
    EXPECT_EQ(refused("OpenNamespace", [&] { return asked.OpenNamespace(nullptr, 0, nullptr, &inner, &call); }), 2);
    EXPECT_EQ(refused("QueryObjectSink", [&] { return asked.QueryObjectSink(0, &handler); }), 1);
    EXPECT_EQ(refused("GetObject", [&] { return asked.GetObject(nullptr, 0, nullptr, &object, &call); }), 2);
    EXPECT_EQ(refused("PutClass", [&] { return asked.PutClass(nullptr, 0, nullptr, &call); }), 1);
    EXPECT_EQ(refused("DeleteClass", [&] { return asked.DeleteClass(nullptr, 0, nullptr, &call); }), 1);
    EXPECT_EQ(refused("CreateClassEnum", [&] { return asked.CreateClassEnum(nullptr, 0, nullptr, &enumerator); }), 1);
    EXPECT_EQ(refused("PutInstance", [&] { return asked.PutInstance(nullptr, 0, nullptr, &call); }), 1);
    EXPECT_EQ(refused("DeleteInstance", [&] { return asked.DeleteInstance(nullptr, 0, nullptr, &call); }), 1);
    EXPECT_EQ(refused("CreateInstanceEnum", [&] { return asked.CreateInstanceEnum(nullptr, 0, nullptr, &enumerator); }), 1);
    EXPECT_EQ(refused("ExecQuery", [&] { return asked.ExecQuery(nullptr, nullptr, 0, nullptr, &enumerator); }), 1);
    EXPECT_EQ(refused("ExecNotificationQuery", [&] { return asked.ExecNotificationQuery(nullptr, nullptr, 0, nullptr, &enumerator); }), 1);
    EXPECT_EQ(refused("ExecMethod", [&] { return asked.ExecMethod(nullptr, nullptr, 0, nullptr, nullptr, &object, &call); }), 2);
    // clang-format on
}

TEST_F(InstanceProvider, RequestsOfTheBaseInterfacesTakeNullForWhatIsNotWanted) {
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(provider->OpenNamespace(nullptr, 0, nullptr, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->QueryObjectSink(0, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->GetObject(nullptr, 0, nullptr, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->CreateInstanceEnum(nullptr, 0, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->ExecMethod(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr),
              kWbemProviderNotCapable);
}

TEST_F(InstanceProvider, AsynchronousRequestsOfTheBaseInterfacesLeaveTheSinkAlone) {
    const ComPtr<ThingProv> provider = Provider();
    sink = RecordingSink::Make();
    ThingProv& asked = *provider.Get();
    EXPECT_EQ(asked.CancelAsyncCall(sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(asked.PutClassAsync(nullptr, 0, nullptr, sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(asked.DeleteClassAsync(nullptr, 0, nullptr, sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(asked.CreateClassEnumAsync(nullptr, 0, nullptr, sink.Get()), kWbemProviderNotCapable);
    EXPECT_EQ(asked.ExecNotificationQueryAsync(nullptr, nullptr, 0, nullptr, sink.Get()),
              kWbemProviderNotCapable);
    EXPECT_EQ(asked.ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, sink.Get()),
              kWbemProviderNotCapable);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
}

}  // namespace
}  // namespace velk
