#include <gmock/gmock.h>

#include <atomic>
#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/handle.h"
#include "common/wbem_status.h"
#include "host/com/class_factory.h"
#include "host/com/com_object.h"
#include "host/com/wbem_codes.h"
#include "host/model/repository.h"
#include "services_fixture.h"

namespace {

using namespace velktest;
using namespace velkhost;
using testing::ElementsAre;
using testing::IsEmpty;

/// A client's sink that can be waited for.
class WaitingSink final : public ComObject<IWbemObjectSink> {
  public:
    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject**) noexcept override {
        objects += count;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT result, BSTR, IWbemClassObject*) noexcept override {
        status = result;
        ++statuses;
        ::SetEvent(done.Get());
        return S_OK;
    }
    bool Wait() { return ::WaitForSingleObject(done.Get(), 30000) == WAIT_OBJECT_0; }

    std::atomic<LONG> objects = 0;
    std::atomic<int> statuses = 0;
    std::atomic<HRESULT> status = E_PENDING;
    const velk::UniqueHandle done{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

TEST_F(ServicesTest, AClassIsGottenByItsNameOrFullPath) {
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"item", object), S_OK);
    EXPECT_EQ(Text(*object, L"__CLASS"), L"Item");
    EXPECT_EQ(Text(*object, L"__SERVER"), L"SRV01");
    ASSERT_EQ(Get(L"\\\\SRV01\\root\\VKQ:Item", object), S_OK);
    ASSERT_EQ(Get(L"__ExtendedStatus", object), S_OK);
    ASSERT_EQ(Get(L"", object), S_OK) << "a class that is to be made";
}

TEST_F(ServicesTest, WhatIsNotThereHasItsOwnStatus) {
    velk::ComPtr<IWbemClassObject> object;
    EXPECT_EQ(Get(L"NoSuchClass", object), velk::kWbemNotFound);
    EXPECT_EQ(Get(L"Fixed.Id=\"three\"", object), velk::kWbemNotFound);
    EXPECT_EQ(Get(L"Fixed.Id=", object), velk::kWbemInvalidObjectPath);
    EXPECT_EQ(Get(L"\\\\OTHER\\root\\VKQ:Item", object), kWbemTransportFailure);
    EXPECT_EQ(Get(L"root\\nowhere:Item", object), kWbemInvalidNamespace);
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Enumerate(L"NoSuchClass", enumerator), kWbemInvalidClass);
    EXPECT_FALSE(enumerator);
}

TEST_F(ServicesTest, StaticInstancesAreListedAndGottenByPath) {
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Fixed"), ElementsAre(L"one", L"a\\b"));
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"fixed.ID=\"a\\\\b\"", object), S_OK);
    EXPECT_EQ(Text(*object, L"Number"), L"-1");
    ASSERT_EQ(Get(L"Fixed=\"one\"", object), S_OK) << "the name of the only key may be left out";
    EXPECT_EQ(script_->created, 0) << "no provider has to be asked";
}

TEST_F(ServicesTest, AnotherNamespaceIsReachedByPathAndByOpening) {
    velk::ComPtr<IWbemClassObject> object;
    EXPECT_EQ(Get(L"root:__Namespace.Name=\"VKQ\"", object), S_OK);
    velk::ComPtr<IWbemServices> root = host_->Connect(L"root");
    velk::ComPtr<IWbemServices> opened;
    EXPECT_EQ(root->OpenNamespace(velk::Bstr(L"vkq").Get(), 0, nullptr, opened.Put(), nullptr), S_OK);
    EXPECT_EQ(root->OpenNamespace(velk::Bstr(L"no").Get(), 0, nullptr, opened.Put(), nullptr),
              kWbemInvalidNamespace);
}

TEST_F(ServicesTest, ASuperclassListsTheInstancesOfItsSubclassesUnlessShallow) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(Enumerate(L"Base", enumerator), S_OK);
    EXPECT_THAT(Drain(*enumerator, L"__CLASS"), ElementsAre(L"Item", L"Item", L"Item"));
    ASSERT_EQ(Enumerate(L"Base", enumerator, WBEM_FLAG_SHALLOW), S_OK);
    EXPECT_THAT(Drain(*enumerator), IsEmpty());
}

TEST_F(ServicesTest, WhereFiltersByEveryTypeOfValue) {
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE number = 2"), ElementsAre(L"2"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Number = \"3\" AND Flag = FALSE"), ElementsAre(L"3"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Flag = 1"), ElementsAre(L"2"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Big = 4294967295"), ElementsAre(L"1"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Big = -1"), IsEmpty());
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Signed = -2"), ElementsAre(L"2"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE Text = \"\""), IsEmpty()) << "NULL equals nothing";
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Fixed WHERE ID = \"ONE\""), ElementsAre(L"one"))
        << "texts in any case";
    EXPECT_THAT(QueryTexts(L"SELECT * FROM Item WHERE __RELPATH = \"Item.Id=\\\"1\\\"\""), ElementsAre(L"1"));
}

TEST_F(ServicesTest, SelectedPropertiesAreTheOnlyOnes) {
    EXPECT_THAT(QueryTexts(L"SELECT Number FROM Item", L"Number"), ElementsAre(L"1", L"2", L"3"));
    EXPECT_THAT(QueryTexts(L"SELECT Number FROM Item WHERE Id = \"1\"", L"Id"), ElementsAre(L"unknown"));
    EXPECT_THAT(QueryTexts(L"SELECT Number FROM Fixed WHERE Id = \"one\"", L"__PATH"), ElementsAre(L"null"));
}

TEST_F(ServicesTest, QueriesThatDoNotFitAreInvalid) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(Query(L"garbage", enumerator, kSemisynchronous), kWbemInvalidQuery);
    EXPECT_EQ(Query(L"SELECT Nothing FROM Item", enumerator), kWbemInvalidQuery);
    EXPECT_EQ(Query(L"SELECT * FROM Item WHERE Nothing = 1", enumerator), kWbemInvalidQuery);
    EXPECT_EQ(Query(L"SELECT * FROM NoSuchClass", enumerator), kWbemInvalidClass);
    EXPECT_EQ(services_->ExecQuery(velk::Bstr(L"SQL").Get(), velk::Bstr(L"SELECT * FROM Item").Get(), 0,
                                   nullptr, enumerator.Put()),
              kWbemInvalidQueryType);
    ASSERT_EQ(Query(L"SELECT * FROM NoSuchClass", enumerator, kSemisynchronous), S_OK);
    HRESULT end = S_OK;
    EXPECT_THAT(Drain(*enumerator, L"Id", &end), IsEmpty());
    EXPECT_EQ(end, kWbemInvalidClass) << "a semisynchronous query tells it with the first object";
}

TEST_F(ServicesTest, MetaClassQueriesReturnClasses) {
    EXPECT_THAT(QueryTexts(L"SELECT * FROM META_CLASS WHERE __CLASS = \"ITEM\"", L"__PATH"),
                ElementsAre(L"\\\\SRV01\\root\\VKQ:Item"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM meta_class WHERE __CLASS = \"None\""), IsEmpty());
    EXPECT_THAT(QueryTexts(L"SELECT * FROM meta_class WHERE __this ISA \"base\"", L"__CLASS"),
                ElementsAre(L"Base", L"Item"));
    EXPECT_THAT(QueryTexts(L"SELECT * FROM meta_class WHERE __Superclass = \"Base\"", L"__CLASS"),
                ElementsAre(L"Item"));
}

TEST_F(ServicesTest, ClassesAreEnumeratedDeepOrShallow) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    const velk::Bstr base(L"Base");
    ASSERT_EQ(services_->CreateClassEnum(base.Get(), WBEM_FLAG_DEEP, nullptr, enumerator.Put()), S_OK);
    EXPECT_THAT(Drain(*enumerator, L"__CLASS"), ElementsAre(L"Item"));
    ASSERT_EQ(services_->CreateClassEnum(nullptr, WBEM_FLAG_SHALLOW, nullptr, enumerator.Put()), S_OK);
    const auto top = Drain(*enumerator, L"__CLASS");
    EXPECT_THAT(top, testing::Contains(L"Base"));
    EXPECT_THAT(top, testing::Not(testing::Contains(L"Item")));
    const velk::Bstr unknown(L"Unknown");
    EXPECT_EQ(services_->CreateClassEnum(unknown.Get(), 0, nullptr, enumerator.Put()), kWbemInvalidClass);
}

TEST_F(ServicesTest, ASemisynchronousQueryReturnsBeforeItsProvider) {
    const velk::UniqueHandle release(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    script_->enumerate = [&](IWbemServices* nameSpace, IWbemObjectSink* sink) {
        ::WaitForSingleObject(release.Get(), 30000);
        return AnswerItems(nameSpace, sink, 2);
    };
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(Query(L"SELECT * FROM Item", enumerator, WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY),
              S_OK);
    velk::ComPtr<IWbemClassObject> object;
    ULONG returned = 0;
    EXPECT_EQ(enumerator->Next(10, 1, object.Put(), &returned), velk::kWbemTimedOut);
    ::SetEvent(release.Get());
    EXPECT_THAT(Drain(*enumerator), ElementsAre(L"1", L"2"));
}

TEST_F(ServicesTest, AsyncFormsEndWithOneStatus) {
    const auto sink = MakeComObject<WaitingSink>();
    ASSERT_EQ(services_->CreateInstanceEnumAsync(velk::Bstr(L"Item").Get(), 0, nullptr, sink.Get()), S_OK);
    ASSERT_TRUE(sink->Wait());
    EXPECT_EQ(sink->objects, 3);
    EXPECT_EQ(sink->status, S_OK);
    const auto failing = MakeComObject<WaitingSink>();
    ASSERT_EQ(services_->ExecQueryAsync(velk::Bstr(L"WQL").Get(), velk::Bstr(L"SELECT * FROM Unknown").Get(),
                                        0, nullptr, failing.Get()),
              S_OK);
    ASSERT_TRUE(failing->Wait());
    EXPECT_EQ(failing->status, kWbemInvalidClass);
    const auto got = MakeComObject<WaitingSink>();
    ASSERT_EQ(services_->GetObjectAsync(velk::Bstr(L"Fixed=\"one\"").Get(), 0, nullptr, got.Get()), S_OK);
    ASSERT_TRUE(got->Wait());
    EXPECT_EQ(got->objects, 1);
    EXPECT_EQ(services_->GetObjectAsync(velk::Bstr(L"Fixed").Get(), 0, nullptr, nullptr),
              velk::kWbemInvalidParameter);
}

TEST_F(ServicesTest, TheEndOfTheHostCancelsAWaitingRequest) {
    TearDown();
    Repository repository(L"SRV01");
    repository.LoadMof(kServicesMof, "services.mof");
    host_.emplace(std::move(repository));  // with the default limit of ten minutes
    const velk::UniqueHandle asked(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    script_->enumerate = [&](IWbemServices*, IWbemObjectSink*) {
        ::SetEvent(asked.Get());
        return S_OK;  // and no status ever
    };
    const auto factory = MakeComObject<ClassFactory>([this](REFIID iid, void** object) {
        return MakeComObject<FakeProviderInit>(script_)->QueryInterface(iid, object);
    });
    registration_.emplace(kFakeProvider, factory.Get());
    services_ = host_->Connect(L"root\\VKQ");
    const auto sink = MakeComObject<WaitingSink>();
    ASSERT_EQ(services_->CreateInstanceEnumAsync(velk::Bstr(L"Item").Get(), 0, nullptr, sink.Get()), S_OK);
    ASSERT_EQ(::WaitForSingleObject(asked.Get(), 30000), WAIT_OBJECT_0);
    services_.Reset();
    registration_.reset();
    host_.reset();
    EXPECT_EQ(sink->status, kWbemCallCancelled);
}

TEST_F(ServicesTest, WritingIsRefused) {
    velk::ComPtr<IWbemClassObject> object;
    ASSERT_EQ(Get(L"Fixed=\"one\"", object), S_OK);
    EXPECT_EQ(services_->PutInstance(object.Get(), 0, nullptr, nullptr), velk::kWbemProviderNotCapable);
    EXPECT_EQ(services_->PutClass(object.Get(), 0, nullptr, nullptr), velk::kWbemNotSupported);
}

TEST_F(ServicesTest, TheLocatorConnectsToEverySpellingOfANamespace) {
    velk::ComPtr<IWbemLocator> locator;
    ASSERT_EQ(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                 locator.PutVoid()),
              S_OK);
    const auto connect = [&](const wchar_t* resource) {
        velk::ComPtr<IWbemServices> services;
        return locator->ConnectServer(velk::Bstr(resource).Get(), nullptr, nullptr, nullptr, 0, nullptr,
                                      nullptr, services.Put());
    };
    for (const wchar_t* known :
         {L"root\\VKQ", L"ROOT\\vkq", L"root/VKQ", L"\\\\.\\root\\VKQ", L"//./root/VKQ",
          L"\\\\localhost\\root\\wmi", L"\\\\srv01\\root\\cimv2", L"root"}) {
        EXPECT_EQ(connect(known), S_OK) << testing::PrintToString(known);
    }
    EXPECT_EQ(connect(L"root\\nowhere"), kWbemInvalidNamespace);
    EXPECT_EQ(connect(L""), kWbemInvalidNamespace);
    EXPECT_EQ(connect(L"\\\\OTHER\\root\\VKQ"), kWbemTransportFailure);
}

TEST_F(ServicesTest, ThePathParserIsFoundThroughCom) {
    velk::ComPtr<IClassFactory> factory;
    EXPECT_EQ(::CoGetClassObject(kClsidWbemDefPath, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                 factory.PutVoid()),
              S_OK);
}

}  // namespace
