// The queries that depend on the health driver's data store.

#include <gmock/gmock.h>

#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

#include "common/com_ptr.h"
#include "common/text.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "common/wmi_query.h"
#include "common/wmi_query_fixture.h"
#include "support/fake_wbem.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::FakeClassObject;
using velktest::FakeObjects;
using velktest::FakeQueryResult;
using velktest::QueryWmiTest;

constexpr wchar_t kStatusQuery[] = L"SELECT * FROM DataStoreStatus";

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

TEST_F(DataStoreTest, InstanceThatTheCountDoesNotCoverIsNeitherReadNorReleased) {
    const ComPtr<FakeClassObject> object = FakeClassObject::Make();
    const ComPtr<FakeClassObject> second = object;
    object->Set(L"DataAvailable", Variant::Bool(false));
    Wmi().Answer(kStatusQuery, {.batches = {{S_OK, {object}, 0}, {kWbemFalse, {}}}});
    EXPECT_TRUE(CheckDataStoreAvailable(nullptr));
    EXPECT_EQ(Wmi().nextCalls.size(), 2U) << "the loop goes on";
    Wmi().Answer(kStatusQuery, {});
    object->AddRef();
    EXPECT_EQ(object->Release(), 2U);
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
