// Enumerations by the provider template.

#include <gmock/gmock.h>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "common/wbem_status.h"
#include "framework/instance_provider_fixture.h"
#include "support/log_capture.h"
#include "support/recording_sink.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::g_computerNameError;
using velktest::g_source;
using velktest::InstanceProvider;
using velktest::RecordingSink;
using velktest::ThingProv;

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

/// A client that asks again while it is being handed the instances, and looks at these afterwards.
class ReentrantSink final : public velktest::FakeUnknown<IWbemObjectSink, IID_IWbemObjectSink> {
  public:
    explicit ReentrantSink(ThingProv& provider) : provider_(provider) {}

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override {
        const auto again = RecordingSink::Make();
        EXPECT_EQ(provider_.CreateInstanceEnumAsync(nullptr, 0, nullptr, again.Get()), S_OK);
        EXPECT_EQ(again->indications.size(), 1u);
        for (LONG at = 0; at < count; ++at) {
            objects[at]->AddRef();
            references.push_back(objects[at]->Release());
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT, BSTR, IWbemClassObject*) override { return S_OK; }

    std::vector<ULONG> references;  ///< on each object, after the second request

  private:
    ThingProv& provider_;
};

TEST_F(InstanceProvider, InstancesThatAreBeingDeliveredOutliveARequestFromInsideIndicate) {
    g_source.names = {L"a", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    const ComPtr<ReentrantSink> reentrant(new ReentrantSink(*provider.Get()));
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, reentrant.Get()), S_OK);
    // Their class's list of what was spawned holds one reference on each, the delivery the other.
    EXPECT_THAT(reentrant->references, ElementsAre(2u, 2u));
    EXPECT_EQ(classObject->spawned.size(), 4u);
}

TEST_F(InstanceProvider, WhatAFailedFillLeftBehindIsNoCache) {
    g_source.names = {L"a", L"b"};
    const ComPtr<ThingProv> provider = Provider();
    classObject->FailPut(L"SystemName", kWbemOutOfMemory);
    EXPECT_EQ(Enumerate(*provider.Get()), kWbemFailed);
    classObject->FailPut(L"SystemName", S_OK);
    // The generation is then again the one in which the fill failed.
    FailARebuild(*provider.Get());
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"a", L"b"));
}

// Known and kept: the generation starts again with 2 after a failed rebuild, and a cache of generation 2 is
// believed then, whatever the list holds by now.
TEST_F(InstanceProvider, ACacheOfTheSameGenerationIsDeliveredThoughTheRecordsChanged) {
    g_source.names = {L"a"};
    const ComPtr<ThingProv> provider = Provider();
    Enumerate(*provider.Get());
    FailARebuild(*provider.Get());
    g_source.names = {L"x", L"y"};
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"a"));
    EXPECT_EQ(Enumerate(*provider.Get()), S_OK);
    EXPECT_THAT(DeliveredNames(), ElementsAre(L"x", L"y")) << "the next generation is another";
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

}  // namespace
}  // namespace velk
