#include "host/model/class_object.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "host/com/com_object.h"
#include "host/model/class_def.h"
#include "host/model/repository.h"
#include "host/model/value.h"
#include "model_class_object_fixture.h"

namespace velkhost {
namespace {

using velktest::ClassObjectTest;

constexpr HRESULT kSame = static_cast<HRESULT>(WBEM_S_SAME);
constexpr HRESULT kDifferent = static_cast<HRESULT>(WBEM_S_DIFFERENT);
constexpr HRESULT kResetToDefault = static_cast<HRESULT>(WBEM_S_RESET_TO_DEFAULT);

TEST_F(ClassObjectTest, ClonesAreIndependent) {
    const auto thing = Keyed();
    velk::ComPtr<IWbemClassObject> copy;
    ASSERT_EQ(thing->Clone(copy.Put()), S_OK);
    EXPECT_EQ(thing->CompareTo(0, copy.Get()), kSame);
    Put(copy, L"Number", velk::Variant::SInt32(8));
    EXPECT_EQ(Get(thing, L"Number").Get().lVal, 7);
    EXPECT_EQ(thing->CompareTo(0, copy.Get()), kDifferent);
}

TEST_F(ClassObjectTest, ComparesTextsWithoutCaseOnRequestOnly) {
    const auto left = Keyed();
    const auto right = Keyed();
    Put(right, L"Tag", Text(L"A\"B"));
    EXPECT_EQ(left->CompareTo(0, right.Get()), kDifferent);
    EXPECT_EQ(left->CompareTo(WBEM_FLAG_IGNORE_CASE, right.Get()), kSame);
    EXPECT_EQ(left->CompareTo(0, Class(L"Thing").Get()), kDifferent);
    EXPECT_EQ(left->CompareTo(0, nullptr), velk::kWbemInvalidParameter);
}

TEST_F(ClassObjectTest, DeletingAnInstancesValueShowsTheClassesAgain) {
    const auto thing = Spawn(L"Thing");
    Put(thing, L"Caption", Text(L"own"));
    EXPECT_EQ(thing->Delete(L"Caption"), kResetToDefault);
    EXPECT_EQ(GetText(thing, L"Caption"), L"none");
    EXPECT_EQ(thing->Delete(L"Nothing"), velk::kWbemNotFound);
    EXPECT_EQ(thing->Delete(L"__CLASS"), static_cast<HRESULT>(WBEM_E_SYSTEM_PROPERTY));
}

TEST_F(ClassObjectTest, ChangesOfAClassObjectStayItsOwn) {
    const auto changed = Class(L"Thing");
    velk::Variant number = velk::Variant::SInt32(5);
    EXPECT_EQ(changed->Put(L"Number", 0, number.Address(), 0), S_OK);
    EXPECT_EQ(changed->Put(L"Extra", 0, number.Address(), 0),
              static_cast<HRESULT>(WBEM_E_INVALID_PROPERTY_TYPE));
    EXPECT_EQ(changed->Put(L"Extra", 0, number.Address(), 77),
              static_cast<HRESULT>(WBEM_E_INVALID_PROPERTY_TYPE));
    EXPECT_EQ(changed->Put(L"Extra", 0, nullptr, CIM_UINT8), S_OK);
    EXPECT_EQ(changed->Put(L"Extra", 0, number.Address(), 0), kMismatch);
    EXPECT_EQ(changed->Delete(L"Tag"), static_cast<HRESULT>(WBEM_E_PROPAGATED_PROPERTY));
    EXPECT_EQ(changed->Delete(L"Flag"), S_OK);

    velk::ComPtr<IWbemClassObject> instance;
    ASSERT_EQ(changed->SpawnInstance(0, instance.Put()), S_OK);
    EXPECT_EQ(Get(instance, L"Number").Get().lVal, 5);
    EXPECT_EQ(Get(instance, L"Extra").Type(), VT_NULL);
    EXPECT_EQ(Get(Class(L"Thing"), L"Number").Type(), VT_NULL);
    EXPECT_EQ(Get(Class(L"Thing"), L"Flag").Get().boolVal, VARIANT_TRUE);
}

TEST_F(ClassObjectTest, WritesInstancesAndClassesAsMof) {
    const auto thing = Keyed();
    velk::Bstr text;
    ASSERT_EQ(thing->GetObjectText(0, text.Put()), S_OK);
    EXPECT_EQ(text.View(),
              L"\ninstance of Thing\n{\n\tTag = \"a\\\"b\";\n\tCaption = \"none\";\n\tNumber = 7;\n\tFlag = "
              L"TRUE;\n};\n");
    ASSERT_EQ(Class(L"Thing")->GetObjectText(0, text.Put()), S_OK);
    EXPECT_EQ(text.View(),
              L"\n[Dynamic, Provider(\"P\")]\nclass Thing : Base\n{\n\t[Key] uint32 Number;\n"
              L"\t[ValueMap{\"0\", \"1\", \"2..5\"}, Values{\"Zero\", \"One\", \"Some\"}] uint16 Kinds[];\n"
              L"\tboolean Flag = TRUE;\n\tBase ref Link;\n};\n");
}

TEST_F(ClassObjectTest, OffersQualifiersToRead) {
    velk::ComPtr<IWbemQualifierSet> qualifiers;
    ASSERT_EQ(Class(L"Thing")->GetPropertyQualifierSet(L"Kinds", qualifiers.Put()), S_OK);
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(qualifiers->GetNames(0, &array), S_OK);
    EXPECT_EQ(Names(array), (std::vector<std::wstring>{L"ValueMap", L"Values", L"CIMTYPE"}));
    EXPECT_EQ(QualifierText(qualifiers, L"CIMTYPE"), L"uint16");
    velk::Variant values;
    ASSERT_EQ(qualifiers->Get(L"values", 0, values.Put(), nullptr), S_OK);
    EXPECT_EQ(values.Type(), VT_ARRAY | VT_BSTR);
    EXPECT_EQ(qualifiers->Get(L"Key", 0, nullptr, nullptr), velk::kWbemNotFound);
    EXPECT_EQ(qualifiers->Put(L"Key", values.Address(), 0), static_cast<HRESULT>(WBEM_E_READ_ONLY));

    EXPECT_EQ(qualifiers->Next(0, nullptr, nullptr, nullptr), static_cast<HRESULT>(WBEM_E_UNEXPECTED));
    ASSERT_EQ(qualifiers->BeginEnumeration(0), S_OK);
    velk::Bstr name;
    EXPECT_EQ(qualifiers->Next(0, name.Put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(name.View(), L"ValueMap");
    EXPECT_EQ(qualifiers->Next(0, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(qualifiers->Next(0, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(qualifiers->Next(0, nullptr, nullptr, nullptr), kNoMoreData);

    ASSERT_EQ(Class(L"Thing")->GetQualifierSet(qualifiers.Put()), S_OK);
    EXPECT_EQ(QualifierText(qualifiers, L"provider"), L"P");
    EXPECT_EQ(Class(L"Thing")->GetPropertyQualifierSet(L"__CLASS", qualifiers.Put()),
              static_cast<HRESULT>(WBEM_E_SYSTEM_PROPERTY));
    EXPECT_EQ(Class(L"Thing")->GetPropertyQualifierSet(L"Nothing", qualifiers.Put()), velk::kWbemNotFound);
}

TEST_F(ClassObjectTest, KnowsOriginsAndAncestors) {
    const auto thing = Class(L"Thing");
    velk::Bstr origin;
    EXPECT_EQ(thing->GetPropertyOrigin(L"Tag", origin.Put()), S_OK);
    EXPECT_EQ(origin.View(), L"Base");
    EXPECT_EQ(thing->GetPropertyOrigin(L"Flag", origin.Put()), S_OK);
    EXPECT_EQ(origin.View(), L"Thing");
    EXPECT_EQ(thing->GetPropertyOrigin(L"Nothing", origin.Put()), velk::kWbemNotFound);
    EXPECT_EQ(thing->InheritsFrom(L"BASE"), S_OK);
    EXPECT_EQ(thing->InheritsFrom(L"Lone"), velk::kWbemFalse);
}

TEST_F(ClassObjectTest, ProjectionsCarryTheSelectedPropertiesOnly) {
    const auto whole = Keyed();
    const ClassPtr projection =
        ProjectClass(repository_.FindClass(L"root\\Test", L"Thing"), {L"number", L"Flag"});
    const auto part = ProjectInstance(*ClassObject::From(whole.Get()), projection);
    EXPECT_EQ(Get(part, L"Number").Get().lVal, 7);
    EXPECT_EQ(part->Get(L"Tag", 0, nullptr, nullptr, nullptr), velk::kWbemNotFound);
    EXPECT_EQ(Get(part, L"__PROPERTY_COUNT").Get().lVal, 2);
    EXPECT_EQ(Get(part, L"__GENUS").Get().lVal, 2);
    EXPECT_EQ(GetText(part, L"__CLASS"), L"Thing");
    // One of the two keys is not there.
    for (const wchar_t* name : {L"__PATH", L"__RELPATH", L"__NAMESPACE", L"__SERVER"}) {
        EXPECT_EQ(Get(part, name).Type(), VT_NULL) << name;
    }
    EXPECT_EQ(Enumerated(*part.Get(), WBEM_FLAG_NONSYSTEM_ONLY),
              (std::vector<std::wstring>{L"Number", L"Flag"}));
}

TEST_F(ClassObjectTest, ProjectionsWithAllKeysKeepTheirPath) {
    const auto whole = Keyed();
    const ClassPtr projection =
        ProjectClass(repository_.FindClass(L"root\\Test", L"Thing"), {L"Tag", L"Number"});
    const auto part = ProjectInstance(*ClassObject::From(whole.Get()), projection);
    EXPECT_EQ(GetText(part, L"__PATH"), GetText(whole, L"__PATH"));
}

TEST_F(ClassObjectTest, NamesValuesByTheirMap) {
    const ClassPtr thing = repository_.FindClass(L"root\\Test", L"Thing");
    const PropertyDef& kinds = *thing->Find(L"Kinds");
    EXPECT_EQ(ValueName(kinds, Value::Array({Value::Unsigned(1), Value::Unsigned(4)})), L"One, Some");
    EXPECT_EQ(ValueName(kinds, Value::Array({Value::Unsigned(0), Value::Unsigned(9)})), L"Zero, ?");
    EXPECT_EQ(ValueName(kinds, Value::Unsigned(2)), L"Some");
    EXPECT_EQ(ValueName(kinds, Value::Unsigned(9)), std::nullopt);
    EXPECT_EQ(ValueName(kinds, Value()), std::nullopt);
    EXPECT_EQ(ValueName(*thing->Find(L"Number"), Value::Unsigned(0)), std::nullopt);
}

TEST_F(ClassObjectTest, RecognisesTheHostsOwnObjects) {
    const auto thing = Class(L"Thing");
    EXPECT_EQ(ClassObject::From(thing.Get()), thing.Get());
    EXPECT_EQ(ClassObject::From(nullptr), nullptr);
}

TEST_F(ClassObjectTest, LeavesNoObjectBehind) {
    {
        const auto thing = Keyed();
        velk::ComPtr<IWbemClassObject> copy;
        thing->Clone(copy.Put());
        velk::ComPtr<IWbemQualifierSet> qualifiers;
        thing->GetQualifierSet(qualifiers.Put());
    }
    repository_ = Repository(L"SRV01");
    const long empty = LiveComObjects();
    {
        Repository another(L"SRV02");
        another.LoadMof(kMof, "test.mof");
    }
    EXPECT_EQ(LiveComObjects(), empty);
}

}  // namespace
}  // namespace velkhost
