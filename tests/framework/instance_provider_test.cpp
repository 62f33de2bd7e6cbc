// The provider template, with a toy class: a thing with a name, keyed by it and by the computer.

#include "framework/instance_provider.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "common/wbem_status.h"
#include "support/log_capture.h"
#include "support/provider_bench.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::RecordingSink;
using velktest::StandIn;

constexpr wchar_t kWmiClass[] = L"Test_Thing";
constexpr const wchar_t* kKeys[] = {L"Name", L"SystemName"};
constexpr ProviderClass kProviderClass = {L"CThingProv", kWmiClass, L"ThingProv", kKeys, true};

struct Thing {
    CString name;
};
constexpr PropertyRow<Thing> kProperties[] = {{L"Name", &Thing::name}, {L"SystemName", ComputerName{}}};

/// What the next rebuild of a thing list does.
struct Source {
    std::vector<CString> names;
    bool succeeds = true;
    bool throws = false;
    bool originSucceeds = true;
    int rebuilds = 0;
};
Source g_source;

/// A list that things are made from; it has no records of its own.
class OriginList : public CInstanceList<int> {
    bool RebuildList() override { return g_source.originSucceeds; }
};
OriginList* g_origin = nullptr;

class ThingList : public CInstanceList<Thing> {
  public:
    ThingList() : CInstanceList({g_origin}) {}

  private:
    bool RebuildList() override {
        ++g_source.rebuilds;
        Clear();
        if (g_source.throws) throw std::bad_alloc();
        for (const CString& name : g_source.names) Append({name});
        return g_source.succeeds;
    }
};

class ThingProv final : public CInstanceProvider<ThingList> {
  public:
    ThingProv() : CInstanceProvider(kProviderClass, list_, kProperties) {}

  private:
    bool KeysMatch(const RequestedKeys& keys, const Thing& thing) const override {
        return keys.values[0] == thing.name && keys.values[1] == keys.computerName;
    }
    ThingList list_;
};

DWORD g_computerNameError = ERROR_SUCCESS;
BOOL WINAPI NameTheComputer(COMPUTER_NAME_FORMAT, wchar_t* buffer, DWORD* size) {
    constexpr wchar_t kName[] = L"SRV01";
    if (g_computerNameError != ERROR_SUCCESS) {
        ::SetLastError(g_computerNameError);
        return FALSE;
    }
    std::copy(std::begin(kName), std::end(kName), buffer);
    *size = static_cast<DWORD>(std::size(kName)) - 1;
    return TRUE;
}

class InstanceProvider : public velktest::ProviderBench {
  protected:
    InstanceProvider() {
        g_source = {};
        g_origin = &origin_;
        g_computerNameError = ERROR_SUCCESS;
    }

    ComPtr<ThingProv> Provider() { return Initialized<ThingProv>(kWmiClass); }
    std::vector<CString> DeliveredNames() {
        std::vector<CString> names;
        for (const auto& object : Delivered()) names.push_back(object->Text(L"Name"));
        return names;
    }
    std::vector<RecordingSink::Status> Statuses() { return sink->statuses; }

    OriginList origin_;
    StandIn<decltype(&NameTheComputer)> computerName_{"GetComputerNameExW", &NameTheComputer};
};

constexpr wchar_t kPathOfB[] = L"Test_Thing.Name=\"b\",SystemName=\"SRV01\"";

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

TEST_F(InstanceProvider, DeliversAllInstancesInOneIndicateAndThenTheStatus) {
    g_source.names = {L"a", L"b", L"c"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_EQ(sink->indications.size(), 1u);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"a", L"b", L"c"));
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
    EXPECT_TRUE(sink->plainStatuses);
}

TEST_F(InstanceProvider, AnEmptyListMakesNoIndicateAndSucceeds) {
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_TRUE(sink->indications.empty());
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Verbose] CThingProv::CreateInstanceEnumAsync| Entering",
                            L"[Information] CThingProv::CreateInstanceEnumAsync| Returning 0 instances"));
}

TEST_F(InstanceProvider, EnumerationAndGetRefuseANullSink) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr), kWbemInvalidParameter);
    EXPECT_EQ(provider->GetObjectAsync(const_cast<BSTR>(kPathOfB), 0, nullptr, nullptr),
              kWbemInvalidParameter);
    EXPECT_EQ(g_source.rebuilds, 0);
}

TEST_F(InstanceProvider, EveryEnumerationRebuildsListAndCache) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    const auto first = Delivered();
    g_source.names = {L"x", L"y"};
    Enumerate(*provider.Get());
    EXPECT_EQ(g_source.rebuilds, 2);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"x", L"y"));
    EXPECT_EQ(classObject->spawned.size(), 3u);
}

TEST_F(InstanceProvider, AFailedRebuildIsReportedThroughTheSinkEachTime) {
    const ComPtr<ThingProv> provider = Provider();
    g_source.succeeds = false;
    velktest::LogCapture log;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
        EXPECT_TRUE(sink->indications.empty());
        EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, kWbemFailed}));
        EXPECT_TRUE(sink->plainStatuses);
    }
    EXPECT_EQ(log.Lines().back(), L"[Error] CThingProv::CreateInstanceEnumAsync| Cannot return instances");
    g_source.succeeds = true;
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
}

TEST_F(InstanceProvider, OldRecordsOfAListWhoseSourceFailedAreNotPublished) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    g_source.originSucceeds = false;
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    EXPECT_EQ(classObject->spawned.size(), 1u) << "nothing is made of them";
    EXPECT_TRUE(sink->indications.empty());
}

TEST_F(InstanceProvider, ASpawnThatFailsEndsTheEnumerationWithItsStatus) {
    g_source.names = {L"a", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    classObject->spawnStatus = kWbemOutOfMemory;
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemOutOfMemory);
    EXPECT_TRUE(sink->indications.empty());
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, kWbemOutOfMemory}));

    classObject->spawnStatus = S_OK;
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"a", L"b")) << "the failed round left nothing in the cache";
}

TEST_F(InstanceProvider, AWriteThatFailsEndsTheEnumerationWithFailed) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    g_computerNameError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, kWbemFailed}));
}

TEST_F(InstanceProvider, WhatIndicateAnswersIsTheResultAndNoFailureOfTheList) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    sink = RecordingSink::Make();
    sink->indicateStatus = static_cast<HRESULT>(WBEM_E_CALL_CANCELLED);
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), sink->indicateStatus);
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, sink->indicateStatus}));
    EXPECT_EQ(log.Lines().back(),
              L"[Information] CThingProv::CreateInstanceEnumAsync| Returning 1 instances");
}

TEST_F(InstanceProvider, OutOfMemoryEndsTheEnumerationLikeAnyFailure) {
    const ComPtr<ThingProv> provider = Provider();
    g_source.throws = true;
    EXPECT_EQ(Enumerate(*provider.Get()), E_OUTOFMEMORY);
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, E_OUTOFMEMORY}));
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), E_OUTOFMEMORY);
    EXPECT_TRUE(sink->statuses.empty());

    g_source.throws = false;
    g_source.names = {L"b"};
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK) << "no lock was left held";
}

TEST_F(InstanceProvider, AnUninitialisedProviderFailsCleanly) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider(new ThingProv);
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemInvalidParameter);
}

TEST_F(InstanceProvider, ReportsTheStatusAfterBothLocksAreReleased) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    sink = RecordingSink::Make();
    DWORD otherThread = WAIT_FAILED;
    sink->onStatus = [&] {
        const auto again = [](void* context) -> DWORD {
            const auto second = RecordingSink::Make();
            return static_cast<DWORD>(
                static_cast<ThingProv*>(context)->CreateInstanceEnumAsync(nullptr, 0, nullptr, second.Get()));
        };
        const UniqueHandle thread(::CreateThread(nullptr, 0, again, provider.Get(), 0, nullptr));
        otherThread = ::WaitForSingleObject(thread.Get(), 10000);
    };
    provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get());
    EXPECT_EQ(otherThread, WAIT_OBJECT_0) << "a request from another thread hung while SetStatus ran";
}

TEST_F(InstanceProvider, GetsTheInstanceThatThePathNames) {
    g_source.names = {L"a", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"b"));
    EXPECT_THAT(Statuses(), ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, S_OK}));
    EXPECT_TRUE(sink->plainStatuses);
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Verbose] CThingProv::GetObjectAsync| Entering",
                            L"[Verbose] CThingProv::GetInstanceByPath| Entering",
                            L"[Verbose] CThingProv::FillInstance| Entering",
                            L"[Information] CThingProv::GetInstanceByPath| Returning instance by path"));
}

TEST_F(InstanceProvider, KeysMayComeInAnyOrderAndTheirNamesInAnyCase) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"test_THING.systemname=\"SRV01\",NAME=\"b\""), S_OK);
    EXPECT_EQ(Get(*provider.Get(), L"\\\\.\\root\\VKQ:Test_Thing.Name=\"b\",SystemName=\"SRV01\""), S_OK);
}

TEST_F(InstanceProvider, KeyValuesMustMatchExactly) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"B\",SystemName=\"SRV01\""), kWbemNotFound);
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"b\",SystemName=\"srv01\""), kWbemNotFound);
}

TEST_F(InstanceProvider, AMissingKeyCountsAsEmpty) {
    g_source.names = {L"b", L""};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.SystemName=\"SRV01\""), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L""));
}

TEST_F(InstanceProvider, UnknownKeysAreIgnored) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"b\",Colour=\"red\",SystemName=\"SRV01\""), S_OK);
}

TEST_F(InstanceProvider, KeysThatAreNoTextAreIgnored) {
    g_source.names = {L"7"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=7,SystemName=\"SRV01\""), kWbemNotFound);
    EXPECT_EQ(Get(*provider.Get(), L"Test_Thing.Name=\"7\",SystemName=\"SRV01\""), S_OK);
}

TEST_F(InstanceProvider, TheFirstRecordThatMatchesWins) {
    g_source.names = {L"b", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Get(*provider.Get(), kPathOfB);
    EXPECT_EQ(classObject->spawned.size(), 1u);
}

class PathsThatNameNoInstance : public InstanceProvider,
                                public ::testing::WithParamInterface<const wchar_t*> {};

TEST_P(PathsThatNameNoInstance, AreRefusedWithoutASetStatus) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), GetParam()), kWbemInvalidParameter);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
    EXPECT_EQ(g_source.rebuilds, 0);
}

INSTANTIATE_TEST_SUITE_P(InstanceProvider, PathsThatNameNoInstance,
                         ::testing::Values(L"Other_Thing.Name=\"b\",SystemName=\"SRV01\"", L"Test_Thing", L"",
                                           L"Test_Thing.Name=", L"\\\\.\\root\\VKQ", L"Test_Thing.Name=\"b"));

TEST_F(InstanceProvider, ANullPathIsRefused) {
    const ComPtr<ThingProv> provider = Provider();
    sink = RecordingSink::Make();
    EXPECT_EQ(provider->GetObjectAsync(nullptr, 0, nullptr, sink.Get()), kWbemInvalidParameter);
}

TEST_F(InstanceProvider, AGetThatFindsNothingSaysSoWithoutASetStatus) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    velktest::LogCapture log;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_EQ(log.Lines().back(), L"[Error] CThingProv::GetInstanceByPath| Cannot return instance by path");
}

TEST_F(InstanceProvider, EveryCauseOfAFailedGetIsNotFound) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    g_source.succeeds = false;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "the rebuild failed";
    g_source.succeeds = true;
    classObject->spawnStatus = kWbemOutOfMemory;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "the spawn failed";
    classObject->spawnStatus = S_OK;
    classObject->FailPut(L"Name", kWbemOutOfMemory);
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemNotFound) << "a write failed";
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_TRUE(sink->indications.empty());
}

TEST_F(InstanceProvider, AGetWithoutAComputerNameFails) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    g_computerNameError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), kWbemFailed);
    EXPECT_TRUE(sink->statuses.empty());
    EXPECT_EQ(g_source.rebuilds, 0);
}

TEST_F(InstanceProvider, AGetRebuildsTheListAndLeavesTheCacheAlone) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    const auto cached = Delivered();
    Get(*provider.Get(), kPathOfB);
    EXPECT_EQ(g_source.rebuilds, 2);
    EXPECT_NE(Delivered().front().Get(), cached.front().Get())
        << "the list changed: a freshly filled instance";
}

TEST_F(InstanceProvider, AGetHandsOutTheCachedInstanceWhenTheGenerationIsTheCachesOwn) {
    g_source.names = {L"b"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    const auto cached = Delivered();
    // A failed rebuild sets the generation back, so that the next good one is again the one that the cache
    // was made of.
    g_source.succeeds = false;
    Get(*provider.Get(), kPathOfB);
    g_source.succeeds = true;
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_EQ(Delivered().front().Get(), cached.front().Get());
}

TEST_F(InstanceProvider, ACacheThatIsShorterThanTheListIsNotReadBeyondItsEnd) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    g_source.succeeds = false;
    Get(*provider.Get(), kPathOfB);
    g_source.succeeds = true;
    g_source.names = {L"a", L"b"};
    EXPECT_EQ(Get(*provider.Get(), kPathOfB), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"b"));
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
