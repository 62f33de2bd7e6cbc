// The properties of a class object or an instance: read, written, enumerated and named.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "model_class_object_fixture.h"

namespace velkhost {
namespace {

using velktest::ClassObjectTest;

TEST_F(ClassObjectTest, SpawnsInstancesWithTheInitialValuesOfTheClass) {
    const auto thing = Spawn(L"Thing");
    EXPECT_EQ(GetText(thing, L"Caption"), L"none");
    EXPECT_EQ(Get(thing, L"Flag").Get().boolVal, VARIANT_TRUE);
    EXPECT_EQ(Get(thing, L"Number").Type(), VT_NULL);
}

TEST_F(ClassObjectTest, SpawnsOfAnInstanceOneWithoutInitialValues) {
    velk::ComPtr<IWbemClassObject> second;
    ASSERT_EQ(Spawn(L"Thing")->SpawnInstance(0, second.Put()), S_OK);
    EXPECT_EQ(Get(second, L"Caption").Type(), VT_NULL);
}

TEST_F(ClassObjectTest, ReportsTypeAndFlavorAlsoOfNull) {
    const auto thing = Spawn(L"Thing");
    CIMTYPE type = 0;
    LONG flavor = -1;
    EXPECT_EQ(thing->Get(L"kinds", 0, nullptr, &type, &flavor), S_OK);
    EXPECT_EQ(type, CIM_UINT16 | CIM_FLAG_ARRAY);
    EXPECT_EQ(flavor, WBEM_FLAVOR_ORIGIN_PROPAGATED);
    Put(thing, L"Number", velk::Variant::SInt32(1));
    EXPECT_EQ(thing->Get(L"NUMBER", 0, nullptr, &type, &flavor), S_OK);
    EXPECT_EQ(type, CIM_UINT32);
    EXPECT_EQ(flavor, WBEM_FLAVOR_ORIGIN_LOCAL);
    EXPECT_EQ(thing->Get(L"__CLASS", 0, nullptr, &type, &flavor), S_OK);
    EXPECT_EQ(flavor, WBEM_FLAVOR_ORIGIN_SYSTEM);
}

TEST_F(ClassObjectTest, RefusesWhatGetAndPutDoNotKnow) {
    const auto thing = Spawn(L"Thing");
    velk::Variant value = velk::Variant::SInt32(1);
    EXPECT_EQ(thing->Get(nullptr, 0, nullptr, nullptr, nullptr), velk::kWbemInvalidParameter);
    EXPECT_EQ(thing->Get(L"Number", 1, nullptr, nullptr, nullptr), velk::kWbemInvalidParameter);
    EXPECT_EQ(thing->Get(L"Nothing", 0, nullptr, nullptr, nullptr), velk::kWbemNotFound);
    EXPECT_EQ(thing->Get(L"__NOTHING", 0, nullptr, nullptr, nullptr), velk::kWbemNotFound);
    EXPECT_EQ(thing->Put(nullptr, 0, value.Address(), 0), velk::kWbemInvalidParameter);
    EXPECT_EQ(thing->Put(L"Number", 1, value.Address(), 0), velk::kWbemInvalidParameter);
    EXPECT_EQ(thing->Put(L"Nothing", 0, value.Address(), 0), velk::kWbemNotFound);
    EXPECT_EQ(thing->Put(L"__CLASS", 0, value.Address(), 0), static_cast<HRESULT>(WBEM_E_READ_ONLY));
    EXPECT_EQ(thing->Put(L"__NOTHING", 0, value.Address(), 0), velk::kWbemNotFound);
}

TEST_F(ClassObjectTest, TakesNoTypeOnAnInstance) {
    const auto thing = Spawn(L"Thing");
    velk::Variant value = velk::Variant::SInt32(1);
    EXPECT_EQ(thing->Put(L"Number", 0, value.Address(), CIM_UINT32), velk::kWbemInvalidParameter);
}

TEST_F(ClassObjectTest, KeepsTheOldValueWhenAPutIsRefused) {
    const auto thing = Keyed();
    velk::Variant wrong = Text(L"seven");
    EXPECT_EQ(thing->Put(L"Number", 0, wrong.Address(), 0), kMismatch);
    EXPECT_EQ(Get(thing, L"Number").Get().lVal, 7);
}

TEST_F(ClassObjectTest, SetsAPropertyToNullByNoValueOrVtNull) {
    const auto thing = Spawn(L"Thing");
    EXPECT_EQ(thing->Put(L"Caption", 0, nullptr, 0), S_OK);
    EXPECT_EQ(Get(thing, L"Caption").Type(), VT_NULL);
    velk::Variant null;
    null.Address()->vt = VT_NULL;
    EXPECT_EQ(thing->Put(L"Flag", 0, null.Address(), 0), S_OK);
    EXPECT_EQ(Get(thing, L"Flag").Type(), VT_NULL);
}

TEST_F(ClassObjectTest, TellsTheSystemPropertiesOfAnInstance) {
    const auto thing = Keyed();
    EXPECT_EQ(Get(thing, L"__GENUS").Get().lVal, 2);
    EXPECT_EQ(Get(thing, L"__PROPERTY_COUNT").Get().lVal, 6);
    EXPECT_EQ(GetText(thing, L"__CLASS"), L"Thing");
    EXPECT_EQ(GetText(thing, L"__SUPERCLASS"), L"Base");
    EXPECT_EQ(GetText(thing, L"__DYNASTY"), L"Base");
    EXPECT_EQ(GetText(thing, L"__SERVER"), L"SRV01");
    EXPECT_EQ(GetText(thing, L"__NAMESPACE"), L"root\\Test");
    EXPECT_EQ(GetText(thing, L"__RELPATH"), L"Thing.Number=7,Tag=\"a\\\"b\"");
    EXPECT_EQ(GetText(thing, L"__path"), L"\\\\SRV01\\root\\Test:Thing.Number=7,Tag=\"a\\\"b\"");
    velk::Variant derivation = Get(thing, L"__DERIVATION");
    ASSERT_EQ(derivation.Type(), VT_ARRAY | VT_BSTR);
    derivation.Address()->vt = VT_EMPTY;  // the array goes to Names
    EXPECT_EQ(Names(derivation.Get().parray), std::vector<std::wstring>{L"Base"});
}

TEST_F(ClassObjectTest, TellsTheSystemPropertiesOfAClass) {
    const auto base = Class(L"Base");
    EXPECT_EQ(Get(base, L"__GENUS").Get().lVal, 1);
    EXPECT_EQ(Get(base, L"__SUPERCLASS").Type(), VT_NULL);
    EXPECT_EQ(GetText(base, L"__DYNASTY"), L"Base");
    EXPECT_EQ(GetText(base, L"__RELPATH"), L"Base");
    EXPECT_EQ(GetText(base, L"__PATH"), L"\\\\SRV01\\root\\Test:Base");
    EXPECT_EQ(Get(base, L"__DERIVATION").Type(), VT_ARRAY | VT_BSTR);
}

TEST_F(ClassObjectTest, HasNoPathWhileAKeyIsMissing) {
    const auto thing = Spawn(L"Thing");
    Put(thing, L"Tag", Text(L"x"));
    EXPECT_EQ(Get(thing, L"__PATH").Type(), VT_NULL);
    EXPECT_EQ(Get(thing, L"__RELPATH").Type(), VT_NULL);
    EXPECT_EQ(GetText(thing, L"__SERVER"), L"SRV01");
}

TEST_F(ClassObjectTest, NamesAnInstanceOfAClassWithoutKeysAsSingleton) {
    EXPECT_EQ(GetText(Spawn(L"Lone"), L"__RELPATH"), L"Lone=@");
}

TEST_F(ClassObjectTest, EnumeratesByFlags) {
    const auto thing = Keyed();
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_NONSYSTEM_ONLY),
              (std::vector<std::wstring>{L"Tag", L"Caption", L"Number", L"Kinds", L"Flag", L"Link"}));
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_KEYS_ONLY), (std::vector<std::wstring>{L"Tag", L"Number"}));
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_REFS_ONLY), std::vector<std::wstring>{L"Link"});
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_PROPAGATED_ONLY), (std::vector<std::wstring>{L"Tag", L"Caption"}));
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_LOCAL_ONLY),
              (std::vector<std::wstring>{L"Number", L"Kinds", L"Flag", L"Link"}));
    EXPECT_EQ(Enumerated(*thing, WBEM_FLAG_SYSTEM_ONLY).size(), 10u);
    EXPECT_EQ(Enumerated(*thing, 0).size(), 16u);
    EXPECT_EQ(thing->BeginEnumeration(0x1000), velk::kWbemInvalidParameter);
}

TEST_F(ClassObjectTest, EnumeratesValuesTypesAndFlavorsToo) {
    const auto thing = Keyed();
    ASSERT_EQ(thing->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY), S_OK);
    velk::Bstr name;
    velk::Variant value;
    CIMTYPE type = 0;
    LONG flavor = -1;
    ASSERT_EQ(thing->Next(0, name.Put(), value.Put(), &type, &flavor), S_OK);
    EXPECT_EQ(name.View(), L"Tag");
    EXPECT_EQ(value.Text(), L"a\"b");
    EXPECT_EQ(type, CIM_STRING);
    EXPECT_EQ(flavor, WBEM_FLAVOR_ORIGIN_LOCAL);
}

TEST_F(ClassObjectTest, EnumeratesOnlyBetweenBeginAndEnd) {
    const auto thing = Keyed();
    EXPECT_EQ(thing->Next(0, nullptr, nullptr, nullptr, nullptr), static_cast<HRESULT>(WBEM_E_UNEXPECTED));
    ASSERT_EQ(thing->BeginEnumeration(WBEM_FLAG_REFS_ONLY), S_OK);
    EXPECT_EQ(thing->Next(0, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(thing->Next(0, nullptr, nullptr, nullptr, nullptr), kNoMoreData);
    ASSERT_EQ(thing->BeginEnumeration(WBEM_FLAG_REFS_ONLY), S_OK);
    EXPECT_EQ(thing->Next(0, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(thing->EndEnumeration(), S_OK);
    EXPECT_EQ(thing->Next(0, nullptr, nullptr, nullptr, nullptr), static_cast<HRESULT>(WBEM_E_UNEXPECTED));
}

TEST_F(ClassObjectTest, NamesPropertiesByFlagsAndQualifiers) {
    const auto thing = Class(L"Thing");
    const auto names = [&thing](const wchar_t* qualifier, LONG flags, VARIANT* value = nullptr) {
        SAFEARRAY* array = nullptr;
        EXPECT_EQ(thing->GetNames(qualifier, flags, value, &array), S_OK);
        return Names(array);
    };
    using List = std::vector<std::wstring>;
    EXPECT_EQ(names(nullptr, WBEM_FLAG_ALWAYS).size(), 16u);
    EXPECT_EQ(names(nullptr, WBEM_FLAG_NONSYSTEM_ONLY).size(), 6u);
    EXPECT_EQ(names(nullptr, WBEM_FLAG_KEYS_ONLY), (List{L"Tag", L"Number"}));
    EXPECT_EQ(names(nullptr, WBEM_FLAG_REFS_ONLY), (List{L"Link"}));
    EXPECT_EQ(names(L"Read", WBEM_FLAG_ONLY_IF_TRUE), (List{L"Tag"}));
    EXPECT_EQ(names(L"key", WBEM_FLAG_ONLY_IF_FALSE | WBEM_FLAG_NONSYSTEM_ONLY),
              (List{L"Caption", L"Kinds", L"Flag", L"Link"}));
    velk::Variant type = Text(L"string");
    EXPECT_EQ(names(L"CIMTYPE", WBEM_FLAG_ONLY_IF_IDENTICAL, type.Address()), (List{L"Tag", L"Caption"}));
    velk::Variant reference = Text(L"ref:Base");
    EXPECT_EQ(names(L"CIMTYPE", WBEM_FLAG_ONLY_IF_IDENTICAL, reference.Address()), (List{L"Link"}));

    SAFEARRAY* array = nullptr;
    EXPECT_EQ(thing->GetNames(nullptr, WBEM_FLAG_ONLY_IF_TRUE, nullptr, &array), velk::kWbemInvalidParameter);
    EXPECT_EQ(thing->GetNames(nullptr, 0, nullptr, nullptr), velk::kWbemInvalidParameter);
}

}  // namespace
}  // namespace velkhost
