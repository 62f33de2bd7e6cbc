// What the host makes of its providers: of what they answer, when and with which status.

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "host/com/wbem_codes.h"
#include "services_fixture.h"

namespace {

using namespace velktest;
using namespace velkhost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Runs the body on a thread of its own after a short while; joined at destruction.
class Later {
  public:
    template <class Body>
    explicit Later(Body body)
        : thread_([body = std::move(body)]() mutable {
              std::this_thread::sleep_for(std::chrono::milliseconds(30));
              body();
          }) {}
    ~Later() { thread_.join(); }

  private:
    std::thread thread_;
};

TEST_F(ServicesTest, OneProviderServesAllRequestsOfItsClass) {
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), ElementsAre(L"1", L"2", L"3"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), SizeIs(3));
    EXPECT_EQ(script_->created, 1);
    EXPECT_EQ(script_->nameSpace, L"root\\VKQ");
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(ServicesTest, DeliveryFromAnotherThreadAfterTheReturnIsAwaited) {
    std::optional<Later> worker;
    script_->enumerate = [&](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        worker.emplace([held = velk::ComPtr<IWbemServices>(nameSpace),
                        to = velk::ComPtr<IWbemObjectSink>(sink)] { AnswerItems(held.Get(), to.Get(), 4); });
        return S_OK;
    };
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), SizeIs(4));
    worker.reset();
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(ServicesTest, AFailureReturnedOwesNoStatus) {
    script_->enumerate = [](IWbemServices*, IWbemObjectSink*) { return velk::kWbemOutOfMemory; };
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"Item", enumerator), velk::kWbemOutOfMemory);
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(ServicesTest, AFailingStatusIsTheResult) {
    script_->enumerate = [](IWbemServices*, IWbemObjectSink* sink) {
        sink->SetStatus(WBEM_STATUS_COMPLETE, velk::kWbemFailed, nullptr, nullptr);
        return S_OK;
    };
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"Item", enumerator), velk::kWbemFailed);
}

TEST_F(ServicesTest, AMissingStatusEndsTheRequestInTimeAndIsReported) {
    velk::ComPtr<IWbemObjectSink> kept;
    script_->enumerate = [&](IWbemServices*, IWbemObjectSink* sink) {
        kept = velk::ComPtr<IWbemObjectSink>(sink);
        return S_OK;
    };
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"Item", enumerator), kWbemProviderTimedOut);
    EXPECT_THAT(Reports(), ElementsAre(L"CreateInstanceEnumAsync Item: SetStatus was not called in time"));
    EXPECT_EQ(IndicateItems(services_.Get(), kept.Get(), 1), kWbemCallCancelled)
        << "too late is refused, not lost";
}

TEST_F(ServicesTest, ASecondStatusAndLateObjectsAreReported) {
    script_->enumerate = [](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        AnswerItems(nameSpace, sink, 1);
        sink->SetStatus(WBEM_STATUS_COMPLETE, velk::kWbemFailed, nullptr, nullptr);
        IndicateItems(nameSpace, sink, 1);
        return S_OK;
    };
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), ElementsAre(L"1"));
    EXPECT_THAT(Reports(), ElementsAre(L"CreateInstanceEnumAsync Item: SetStatus was called more than once",
                                       L"CreateInstanceEnumAsync Item: Indicate was called after SetStatus"));
}

TEST_F(ServicesTest, AnObjectOfAnotherClassIsReportedAndLeftOut) {
    script_->enumerate = [](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        velk::ComPtr<IWbemClassObject> other;
        nameSpace->GetObject(velk::Bstr(L"Fixed.Id=\"one\"").Get(), 0, nullptr, other.Put(), nullptr);
        IWbemClassObject* plain = other.Get();
        sink->Indicate(1, &plain);
        sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
        return S_OK;
    };
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item"), IsEmpty());
    EXPECT_THAT(Reports(), SizeIs(1));
}

TEST_F(ServicesTest, ClientsReceiveCopiesOfWhatAProviderKeeps) {
    velk::ComPtr<IWbemClassObject> kept;
    script_->get = [&](const std::wstring&, IWbemServices* nameSpace, IWbemObjectSink* sink) {
        if (!kept) kept = MakeItem(nameSpace, L"7", 7);
        IWbemClassObject* plain = kept.Get();
        sink->Indicate(1, &plain);
        sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
        return S_OK;
    };
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"Item.Id=\"7\"", object), S_OK);
    object->Put(L"Text", 0, velk::Variant::FromText(velk::Bstr(L"changed")).Address(), 0);
    EXPECT_EQ(Text(*kept, L"Text"), L"null");
    kept.Reset();
}

TEST_F(ServicesTest, GetByPathHandsTheProviderTheRelativePath) {
    std::wstring asked;
    script_->get = [&](const std::wstring& path, IWbemServices* nameSpace, IWbemObjectSink* sink) {
        asked = path;
        return AnswerItems(nameSpace, sink, 1);
    };
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"\\\\.\\root\\VKQ:Item.id=\"a\\\\b\"", object), S_OK);
    EXPECT_EQ(asked, L"Item.id=\"a\\\\b\"");
    ASSERT_EQ(Get(L"Base.Id=\"1\"", object), S_OK) << "a path may name a superclass";
    EXPECT_EQ(asked, L"Item.Id=\"1\"");
    script_->get = [](const std::wstring&, IWbemServices*, IWbemObjectSink*) {
        return velk::kWbemInvalidParameter;
    };
    EXPECT_EQ(Get(L"Item.Id=\"1\"", object), velk::kWbemInvalidParameter);
    script_->get = [](const std::wstring&, IWbemServices* nameSpace, IWbemObjectSink* sink) {
        return AnswerItems(nameSpace, sink, 0);
    };
    EXPECT_EQ(Get(L"Item.Id=\"1\"", object), velk::kWbemNotFound);
}

TEST_F(ServicesTest, AProviderThatCannotBeHadSaysWhatToDo) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"Orphan", enumerator), kWbemProviderNotFound);
    EXPECT_EQ(Enumerate(L"Unregistered", enumerator), kWbemProviderLoadFailure);
    ASSERT_THAT(Reports(), SizeIs(2));
    EXPECT_THAT(Reports()[1], HasSubstr(L"regsvr32 VelkWmiPci.dll"));
}

TEST_F(ServicesTest, AFailingInitializeIsTheResultAndIsTriedAgain) {
    script_->initializeResult = velk::kWbemFailed;
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"Item", enumerator), velk::kWbemFailed);
    script_->initializeResult = S_OK;
    script_->initializeStatus = static_cast<LONG>(WBEM_E_FAILED);
    EXPECT_EQ(Enumerate(L"Item", enumerator), kWbemProviderLoadFailure);
    script_->initializeStatus = WBEM_S_INITIALIZED;
    EXPECT_EQ(Enumerate(L"Item", enumerator), S_OK);
    EXPECT_EQ(script_->created, 3);
}

}  // namespace
