#include "framework/instance_provider.h"

#include <gmock/gmock.h>

#include "common/com_ptr.h"
#include "common/wbem_status.h"
#include "framework/instance_provider_fixture.h"
#include "support/fake_wbem.h"
#include "support/log_capture.h"
#include "support/recording_sink.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::g_source;
using velktest::InstanceProvider;
using velktest::kWmiClass;
using velktest::RecordingSink;
using velktest::StandIn;
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

HRESULT WINAPI NoClassObject(REFCLSID, DWORD, void*, REFIID, void**) { return REGDB_E_CLASSNOTREG; }

TEST_F(InstanceProvider, InitializeFailsWithoutThePathParserAndDoesNotCallTheSink) {
    const ComPtr<ThingProv> provider(new ThingProv);
    services->AddObject(kWmiClass, velktest::FakeClassObject::Make());
    const StandIn<decltype(&NoClassObject)> noParser("CoGetClassObject", &NoClassObject);
    EXPECT_EQ(Initialize(*provider.Get()), kWbemFailed);
    EXPECT_TRUE(initSink->statuses.empty());
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

TEST_F(InstanceProvider, RequestsOfTheBaseInterfacesAreNotCapable) {
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(provider->OpenNamespace(nullptr, 0, nullptr, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->GetObject(nullptr, 0, nullptr, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->CreateInstanceEnum(nullptr, 0, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->ExecQuery(nullptr, nullptr, 0, nullptr, nullptr), kWbemProviderNotCapable);
    EXPECT_EQ(provider->ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, nullptr),
              kWbemProviderNotCapable);
    EXPECT_EQ(provider->CancelAsyncCall(nullptr), kWbemProviderNotCapable);
}

}  // namespace
}  // namespace velk
