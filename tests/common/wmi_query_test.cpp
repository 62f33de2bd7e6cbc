#include "common/wmi_query.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/wbem_status.h"
#include "support/fake_wbem.h"
#include "support/registry_fixture.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::FakeClassObject;
using velktest::FakeObjects;
using velktest::FakeQueryResult;

constexpr wchar_t kStatusQuery[] = L"SELECT * FROM DataStoreStatus";
constexpr HRESULT kOddSuccess = 0x40010;

/// Objects with an "Id" from `first` on.
FakeObjects MakeObjects(int count, int first = 0) {
    FakeObjects objects;
    for (int i = 0; i < count; ++i) {
        objects.push_back(FakeClassObject::Make());
        objects.back()->Set(L"Id", Variant::SInt32(first + i));
    }
    return objects;
}

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

class QueryWmiTest : public ::testing::Test {
  protected:
    ~QueryWmiTest() override {
        out_.clear();
        wmi_.reset();
        EXPECT_EQ(velktest::LiveFakes(), 0) << "a reference leaked";
    }

    HRESULT Query(const CString& ns, const CString& text) {
        query_ = text;
        return QueryWmi(ns, query_, out_, nullptr);
    }
    velktest::FakeServices& Suite() { return wmi_->Namespace(L"root\\VKQ"); }
    velktest::FakeServices& Wmi() { return wmi_->Namespace(L"root\\wmi"); }

    std::optional<velktest::FakeWmi> wmi_{std::in_place};
    CString query_;
    WmiObjects out_;
};

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

/// Queries against the health driver's data store.
class DataStoreTest : public QueryWmiTest {
  protected:
    /// The store answers with one instance for each of these, in this order.
    void SetAvailable(std::initializer_list<bool> values) {
        FakeQueryResult result;
        for (const bool value : values) {
            result.objects.push_back(FakeClassObject::Make());
            result.objects.back()->Set(L"DataAvailable", Variant::Bool(value));
        }
        Wmi().Answer(kStatusQuery, std::move(result));
    }
    std::vector<std::optional<DWORD>> Counters() const {
        std::vector<std::optional<DWORD>> values;
        for (const MissCounter& counter : MissCounters()) {
            values.push_back(registry_.GetDword(counter.keyPath, counter.valueName));
        }
        return values;
    }
    static std::vector<std::optional<DWORD>> All(std::optional<DWORD> value) {
        return std::vector<std::optional<DWORD>>(5, value);
    }

    velktest::RegistryFixture registry_;
};

TEST_F(DataStoreTest, MissCountersStandWhereTheSuiteReadsThem) {
    const wchar_t* const kExpected[][2] = {
        {L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication", L"Velk_FanEvent"},
        {L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication", L"Velk_PowerSupplyEvent"},
        {L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SensorHardwareIndication", L"Velk_TempSensorFailureEvent"},
        {L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_MemoryIndication", L"Velk_MemoryEvent"},
        {L"SOFTWARE\\Velkor\\WBEM\\Server\\Velk_SystemHardwareIndication", L"Velk_QrmStateChangeEvent"},
    };
    ASSERT_EQ(MissCounters().size(), 5U);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(MissCounters()[i].root, HKEY_LOCAL_MACHINE);
        EXPECT_STREQ(MissCounters()[i].keyPath, kExpected[i][0]);
        EXPECT_STREQ(MissCounters()[i].valueName, kExpected[i][1]);
    }
}

TEST_F(DataStoreTest, EveryClassOfTheStoreIsGated) {
    SetAvailable({false});
    DWORD misses = 0;
    for (const wchar_t* name : kDataStoreClasses) {
        EXPECT_EQ(CString(name), ToUpper(name)) << "or it would never be found";
        EXPECT_EQ(Query(L"ROOT\\Wmi", FormatText(L"select * from x%sx", name)), S_OK);
        EXPECT_TRUE(out_.empty());
        EXPECT_EQ(Counters(), All(++misses));
    }
    for (const auto& query : Wmi().queries) EXPECT_EQ(query.text, kStatusQuery) << "only the status is asked";
    EXPECT_EQ(misses, 12U);
}

TEST_F(DataStoreTest, ClassNamesAreFoundWhateverTheirCase) {
    SetAvailable({false});
    Query(L"root\\wmi", L"select * from " + CString(L"vkh_fan"));
    EXPECT_EQ(Counters(), All(1));
    EXPECT_EQ(query_, L"SELECT * FROM VKH_FAN") << "changed although it is not run";
}

TEST_F(DataStoreTest, StoreWithDataIsQueried) {
    SetAvailable({true});
    Wmi().Answer(L"SELECT * FROM VKH_FAN", {.objects = MakeObjects(2)});
    EXPECT_EQ(Query(L"root\\wmi", L"SELECT * FROM VKH_FAN"), S_OK);
    EXPECT_EQ(out_.size(), 2U);
    EXPECT_EQ(Counters(), All(std::nullopt));
    ASSERT_EQ(Wmi().queries.size(), 2U);
    EXPECT_EQ(Wmi().queries[0].language, L"WQL");
    EXPECT_EQ(Wmi().queries[0].flags, 0x30);
    EXPECT_EQ(wmi_->connections.size(), 2U) << "the status has a connection of its own";
    EXPECT_THAT(wmi_->contexts, ElementsAre(DWORD{CLSCTX_INPROC_SERVER}, DWORD{CLSCTX_INPROC_SERVER}));
}

TEST_F(DataStoreTest, OtherClassesAreNotGated) {
    SetAvailable({false});
    Wmi().Answer(L"SELECT * FROM MSSMBIOS_RAWSMBIOSTABLES", {.objects = MakeObjects(1)});
    EXPECT_EQ(Query(L"root\\wmi", L"SELECT * FROM MSSmBios_RawSMBiosTables"), S_OK);
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_EQ(Wmi().queries.size(), 1U);
    EXPECT_EQ(Counters(), All(std::nullopt));
}

TEST_F(DataStoreTest, OtherNamespacesAreNotGated) {
    SetAvailable({false});
    Suite().Answer(L"SELECT * FROM VKH_FAN", {.objects = MakeObjects(1)});
    EXPECT_EQ(Query(L"root\\VKQ", L"SELECT * FROM VKH_FAN"), S_OK);
    EXPECT_EQ(out_.size(), 1U);
    EXPECT_EQ(Counters(), All(std::nullopt));
}

TEST_F(DataStoreTest, CallersTimeoutIsPassedToTheStatusQuery) {
    SetAvailable({false});
    query_ = L"SELECT * FROM VKH_FAN";
    QueryWmi(L"root\\wmi", query_, out_, nullptr, nullptr, 777);
    ASSERT_FALSE(Wmi().nextCalls.empty());
    EXPECT_EQ(Wmi().nextCalls[0].timeout, 777);
    EXPECT_EQ(Wmi().nextCalls[0].count, 1U);
    Wmi().nextCalls.clear();
    QueryWmi(L"root\\wmi", query_, out_, nullptr, nullptr, 0);
    EXPECT_EQ(Wmi().nextCalls[0].timeout, -1);
}

TEST_F(DataStoreTest, LastInstanceDecides) {
    SetAvailable({false, true});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(Counters(), All(std::nullopt));
    SetAvailable({true, false});
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(Counters(), All(1));
    EXPECT_EQ(Wmi().nextCalls[0].timeout, 30000);
}

TEST_F(DataStoreTest, StatusThatCannotBeReadCountsAsAvailable) {
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no namespace";
    SetAvailable({});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no instance";
    Wmi().Answer(kStatusQuery, {.status = kWbemFailed});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no query";
    Wmi().Answer(kStatusQuery, {.noEnumerator = true});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no enumerator";
    wmi_->connectsToNothing = true;
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no services";
    wmi_->createStatus = E_FAIL;
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr)) << "no locator";
    EXPECT_EQ(Counters(), All(std::nullopt));
}

TEST_F(DataStoreTest, UnreadableInstanceEndsTheLoopAndKeepsWhatWasRead) {
    FakeObjects objects;
    for (int i = 0; i < 3; ++i) objects.push_back(FakeClassObject::Make());
    objects[0]->Set(L"DataAvailable", Variant::Bool(false));
    objects[1]->Set(L"DataAvailable", Variant::SInt32(1));
    objects[2]->Set(L"DataAvailable", Variant::Bool(true));
    Wmi().Answer(kStatusQuery, {.objects = objects});
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(Wmi().nextCalls.size(), 2U);

    objects[1] = FakeClassObject::Make();  // without the property
    Wmi().Answer(kStatusQuery, {.objects = objects});
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(Wmi().nextCalls.size(), 4U);

    objects[0]->Set(L"DataAvailable", Variant::SInt32(0));
    Wmi().Answer(kStatusQuery, {.objects = objects});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr));
}

TEST_F(DataStoreTest, InstanceThatComesWithTheEndOrATimeoutIsRead) {
    for (const HRESULT status : {kWbemFalse, kWbemTimedOut}) {
        const ComPtr<FakeClassObject> object = FakeClassObject::Make();
        object->Set(L"DataAvailable", Variant::Bool(false));
        Wmi().nextCalls.clear();
        Wmi().Answer(kStatusQuery, {.batches = {{status, {object}}}});
        EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
        EXPECT_EQ(Wmi().nextCalls.size(), 1U);
    }
}

TEST_F(DataStoreTest, FailureEndsTheLoopAndKeepsWhatWasRead) {
    const ComPtr<FakeClassObject> no = FakeClassObject::Make();
    no->Set(L"DataAvailable", Variant::Bool(false));
    const ComPtr<FakeClassObject> yes = FakeClassObject::Make();
    yes->Set(L"DataAvailable", Variant::Bool(true));
    Wmi().Answer(kStatusQuery, {.batches = {{S_OK, {no}}, {kWbemFailed, {yes}}}});
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    Wmi().Answer(kStatusQuery, {.batches = {{S_OK, {no}}, {kOddSuccess, {yes}}}});
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr)) << "an unknown success delivers nothing";
}

TEST_F(DataStoreTest, CountersCountOnAndRestartFromAnotherType) {
    SetAvailable({false});
    const auto counters = MissCounters();
    registry_.SetDword(counters[0].keyPath, counters[0].valueName, 41);
    registry_.SetText(counters[1].keyPath, counters[1].valueName, L"x");
    registry_.SetBytes(counters[2].keyPath, counters[2].valueName, REG_DWORD, "\7\0", 2);
    registry_.SetBytes(counters[3].keyPath, counters[3].valueName, REG_BINARY, "\7\0\0\0", 4);
    registry_.SetDword(counters[4].keyPath, counters[4].valueName, 0xFFFFFFFF);
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    const std::vector<std::optional<DWORD>> expected = {42, 1, 1, 1, 0};
    EXPECT_EQ(Counters(), expected);
}

TEST_F(DataStoreTest, CounterThatCannotBeOpenedIsPassedOver) {
    SetAvailable({false});
    // The table can be written to.
    const HKEY root = std::exchange(MissCounters()[1].root, nullptr);
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    MissCounters()[1].root = root;
    const std::vector<std::optional<DWORD>> expected = {1, std::nullopt, 1, 1, 1};
    EXPECT_EQ(Counters(), expected);
}

DWORD keyOptions = 0;
REGSAM keyAccess = 0;
decltype(&::RegCreateKeyExW) realCreateKey = nullptr;
LSTATUS WINAPI RecordCreateKey(HKEY root, const wchar_t* path, DWORD reserved, wchar_t* className,
                               DWORD options, REGSAM access, const LPSECURITY_ATTRIBUTES security, PHKEY key,
                               LPDWORD disposition) {
    keyOptions = options;
    keyAccess = access;
    return realCreateKey(root, path, reserved, className, options, access, security, key, disposition);
}

TEST_F(DataStoreTest, CounterKeysAreMadeVolatile) {
    SetAvailable({false});
    const velktest::StandIn create("RegCreateKeyExW", &RecordCreateKey);
    realCreateKey = create.Original<decltype(&::RegCreateKeyExW)>();
    EXPECT_FALSE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(keyOptions, DWORD{REG_OPTION_VOLATILE});
    EXPECT_EQ(keyAccess, 0x2001FU);
}

}  // namespace
}  // namespace velk
