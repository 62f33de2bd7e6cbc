#include "common/wmi_query.h"

#include <gmock/gmock.h>

#include <vector>

#include "common/com_ptr.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "common/wmi_query_fixture.h"
#include "support/fake_wbem.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::QueryWmiTest;

std::vector<LONG> Ids(const WmiObjects& objects) {
    std::vector<LONG> ids;
    for (const ComPtr<IWbemClassObject>& object : objects) {
        Variant value;
        object->Get(L"Id", 0, value.Put(), nullptr, nullptr);
        ids.push_back(value.Get().lVal);
    }
    return ids;
}

std::vector<LONG> Numbers(LONG count) {
    std::vector<LONG> numbers;
    for (LONG i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
}

TEST_F(QueryWmiTest, ConnectsInProcessWithoutCredentialsAndAsksInUpperCase) {
    Suite().Answer(L"SELECT * FROM FILEINFO", {.objects = MakeObjects(2)});
    EXPECT_EQ(Query(L"root\\VKQ", L"select * from fileinfo"), S_OK);
    EXPECT_EQ(query_, L"SELECT * FROM FILEINFO") << "the caller's text is changed";
    EXPECT_EQ(Ids(out_), Numbers(2));
    EXPECT_THAT(wmi_->contexts, ElementsAre(DWORD{CLSCTX_INPROC_SERVER}));
    EXPECT_THAT(wmi_->connections, ElementsAre(L"root\\VKQ"));
    EXPECT_TRUE(wmi_->plainConnections);
    ASSERT_EQ(Suite().queries.size(), 1U);
    EXPECT_EQ(Suite().queries[0].language, L"WQL");
    EXPECT_EQ(Suite().queries[0].text, L"SELECT * FROM FILEINFO");
    EXPECT_EQ(Suite().queries[0].flags, 0x30);
}

TEST_F(QueryWmiTest, EveryCallConnectsAnew) {
    Suite().Answer(L"Q", {});
    Query(L"root\\VKQ", L"q");
    Query(L"root\\VKQ", L"q");
    EXPECT_EQ(wmi_->connections.size(), 2U);
}

TEST_F(QueryWmiTest, ResultArrivesInBatchesOfTenInOrder) {
    Suite().Answer(L"Q", {.objects = MakeObjects(25)});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_EQ(Ids(out_), Numbers(25));
    ASSERT_EQ(Suite().nextCalls.size(), 3U);
    const ULONG kReturned[] = {10, 10, 5};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Suite().nextCalls[i].timeout, 30000);
        EXPECT_EQ(Suite().nextCalls[i].count, 10U);
        EXPECT_EQ(Suite().nextCalls[i].returned, kReturned[i]);
    }
}

TEST_F(QueryWmiTest, FullLastBatchIsFollowedByAnotherCall) {
    Suite().Answer(L"Q", {.objects = MakeObjects(10)});
    Query(L"root\\VKQ", L"q");
    EXPECT_EQ(Ids(out_), Numbers(10));
    EXPECT_EQ(Suite().nextCalls.size(), 2U);
}

TEST_F(QueryWmiTest, OutputIsEmptiedFirst) {
    Suite().Answer(L"Q", {.objects = MakeObjects(1)});
    for (int i = 0; i < 2; ++i) Query(L"root\\VKQ", L"q");
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_EQ(Query(L"root\\missing", L"q"), S_OK);
    EXPECT_TRUE(out_.empty());
}

TEST_F(QueryWmiTest, MissingNamespaceIsAnEmptySuccess) {
    EXPECT_EQ(Query(L"root\\missing", L"q"), S_OK);
    EXPECT_EQ(wmi_->connections.size(), 1U);
}

TEST_F(QueryWmiTest, MissingLocatorIsAnEmptySuccess) {
    wmi_->createStatus = REGDB_E_CLASSNOTREG;
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_TRUE(wmi_->connections.empty());
}

TEST_F(QueryWmiTest, ConnectionWithoutServicesIsAnEmptySuccess) {
    wmi_->connectsToNothing = true;
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
}

TEST_F(QueryWmiTest, FailedQueryIsAnEmptySuccess) {
    Suite().Answer(L"Q", {.status = kWbemFailed});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_EQ(Suite().queries.size(), 1U);
    EXPECT_TRUE(Suite().nextCalls.empty());
}

TEST_F(QueryWmiTest, QueryWithoutEnumeratorIsAnEmptySuccess) {
    Suite().Answer(L"Q", {.noEnumerator = true});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
}

TEST_F(QueryWmiTest, FailedEnumerationIsAPartialSuccess) {
    Suite().Answer(L"Q", {.batches = {{S_OK, MakeObjects(3)}, {kWbemFailed, MakeObjects(2)}}});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_EQ(Ids(out_), Numbers(3)) << "objects that come with a failure are not taken";
    EXPECT_EQ(Suite().nextCalls.size(), 2U);
}

TEST_F(QueryWmiTest, TimeoutIsReportedWithWhatCameSoFar) {
    Suite().Answer(L"Q", {.batches = {{S_OK, MakeObjects(10)}, {kWbemTimedOut, MakeObjects(4, 10)}}});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), 0x40004);
    EXPECT_EQ(Ids(out_), Numbers(14));
    EXPECT_EQ(Suite().nextCalls.size(), 2U);
}

TEST_F(QueryWmiTest, OtherSuccessesDeliverNothingAndGoOn) {
    Suite().Answer(L"Q", {.batches = {{kOddSuccess, MakeObjects(2)}}, .objects = MakeObjects(3)});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_EQ(Ids(out_), Numbers(3));
}

/// How many references there are besides the caller's own.
ULONG ReferencesOn(const ComPtr<velktest::FakeClassObject>& object) {
    object->AddRef();
    return object->Release() - 1;
}

TEST_F(QueryWmiTest, OnlyTheObjectsThatTheCountCoversAreTakenOver) {
    const velktest::FakeObjects objects = MakeObjects(4);
    const ULONG before = ReferencesOn(objects[2]);
    // A second reference each, so that a release too many is seen here and does not end the object.
    const velktest::FakeObjects held = objects;
    {
        Suite().Answer(L"Q", {.batches = {{S_OK, objects, 2}, {kWbemFalse, MakeObjects(1, 9), 0}}});
        EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
        EXPECT_EQ(Ids(out_), Numbers(2));
        out_.clear();
        Suite().Answer(L"Q", {});
    }
    for (const auto& object : objects)
        EXPECT_EQ(ReferencesOn(object), before + 1) << "neither used nor released";
}

TEST_F(QueryWmiTest, ACountBeyondTheBatchTakesNoMoreThanTheBatch) {
    Suite().Answer(L"Q", {.batches = {{kWbemFalse, MakeObjects(10), 1000}}});
    EXPECT_EQ(Query(L"root\\VKQ", L"q"), S_OK);
    EXPECT_EQ(Ids(out_), Numbers(10));
}

TEST_F(QueryWmiTest, TimeoutOf0IsInfinite) {
    Suite().Answer(L"Q", {});
    query_ = L"q";
    QueryWmi(L"root\\VKQ", query_, out_, nullptr, nullptr, 0);
    ASSERT_EQ(Suite().nextCalls.size(), 1U);
    EXPECT_EQ(Suite().nextCalls[0].timeout, -1);
}

TEST_F(QueryWmiTest, GivenServicesAreUsedInsteadOfAConnection) {
    const ComPtr<velktest::FakeServices> services = velktest::FakeServices::Make();
    services->Answer(L"Q", {.objects = MakeObjects(1)});
    query_ = L"q";
    EXPECT_EQ(QueryWmi(L"root\\VKQ", query_, out_, nullptr, services.Get(), 1234), S_OK);
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_TRUE(wmi_->contexts.empty());
    EXPECT_EQ(services->nextCalls[0].timeout, 1234);
}

TEST_F(QueryWmiTest, FormsFromPlainTextAskTheSame) {
    Suite().Answer(L"Q", {.objects = MakeObjects(1)});
    EXPECT_EQ(QueryWmi(L"root\\VKQ", L"q", out_, nullptr), S_OK);
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_EQ(Suite().nextCalls[0].timeout, 30000);
    EXPECT_EQ(QueryWmi(L"root\\VKQ", L"q", out_, nullptr, &Suite(), 5), S_OK);
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_EQ(Suite().nextCalls[1].timeout, 5);
}

TEST_F(QueryWmiTest, GetObjectConnectsInAnyContext) {
    Suite().AddObject(L"Class.Key=\"1\"", MakeObjects(1)[0]);
    ComPtr<IWbemClassObject> object;
    EXPECT_EQ(GetWmiObject(L"root\\VKQ", L"Class.Key=\"1\"", object), S_OK);
    EXPECT_TRUE(object);
    EXPECT_THAT(wmi_->contexts, ElementsAre(DWORD{CLSCTX_ALL}));
    EXPECT_TRUE(wmi_->plainConnections);
}

TEST_F(QueryWmiTest, GetObjectReturnsTheStatusOfTheStepThatFailed) {
    ComPtr<IWbemClassObject> object;
    Suite();
    EXPECT_EQ(GetWmiObject(L"root\\VKQ", L"Class.Key=\"1\"", object), kWbemNotFound);
    EXPECT_EQ(GetWmiObject(L"root\\missing", L"P", object), static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE));
    wmi_->createStatus = E_ACCESSDENIED;
    EXPECT_EQ(GetWmiObject(L"root\\VKQ", L"P", object), E_ACCESSDENIED);
    wmi_->createStatus = S_OK;
    wmi_->connectsToNothing = true;
    EXPECT_EQ(GetWmiObject(L"root\\VKQ", L"P", object), kWbemFailed) << "no services came of it";
    EXPECT_FALSE(object);
}

}  // namespace
}  // namespace velk
