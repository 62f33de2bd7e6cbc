#include "host/model/class_object.h"

#include <gtest/gtest.h>

#include <utility>

#include "common/wbem_status.h"
#include "host/model/qualifier_set.h"
#include "host/model/repository.h"

namespace velkhost {
namespace {

constexpr HRESULT kMismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
constexpr HRESULT kSame = static_cast<HRESULT>(WBEM_S_SAME);
constexpr HRESULT kDifferent = static_cast<HRESULT>(WBEM_S_DIFFERENT);
constexpr HRESULT kNoMoreData = static_cast<HRESULT>(WBEM_S_NO_MORE_DATA);
constexpr HRESULT kResetToDefault = static_cast<HRESULT>(WBEM_S_RESET_TO_DEFAULT);

constexpr std::string_view kMof = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "Test"; };
#pragma namespace("\\\\.\\root\\Test")
[Description("The base.")] class Base { [Key, Read] string Tag; string Caption = "none"; };
[Dynamic, Provider("P")] class Thing : Base
{
    [Key] uint32 Number;
    [ValueMap{"0", "1", "2..5"}, Values{"Zero", "One", "Some"}] uint16 Kinds[];
    boolean Flag = TRUE;
    Base ref Link;
};
class Lone { string Text; };
)";

velk::Variant Text(std::wstring_view text) { return velk::Variant::FromText(velk::Bstr(text)); }

std::vector<std::wstring> Names(SAFEARRAY* array) {
    const velk::Variant variant = velk::Variant::Array(VT_BSTR, velk::UniqueSafeArray(array));
    Value value;
    EXPECT_EQ(FromVariant({Cim::kString, true}, variant.Get(), value), S_OK);
    std::vector<std::wstring> names;
    for (const Value& name : *value.As<Value::List>()) names.push_back(ToText(name));
    return names;
}

class ClassObjectTest : public ::testing::Test {
  protected:
    ClassObjectTest() { repository_.LoadMof(kMof, "test.mof"); }

    velk::ComPtr<ClassObject> Class(const wchar_t* name) {
        return MakeClass(repository_.FindClass(L"root\\Test", name));
    }
    velk::ComPtr<IWbemClassObject> Spawn(const wchar_t* name) {
        velk::ComPtr<IWbemClassObject> instance;
        EXPECT_EQ(Class(name)->SpawnInstance(0, instance.Put()), S_OK);
        return instance;
    }
    /// A Thing whose keys have values.
    velk::ComPtr<IWbemClassObject> Keyed() {
        velk::ComPtr<IWbemClassObject> thing = Spawn(L"Thing");
        Put(thing, L"Tag", Text(L"a\"b"));
        Put(thing, L"Number", velk::Variant::SInt32(7));
        return thing;
    }
    static void Put(const velk::ComPtr<IWbemClassObject>& object, const wchar_t* name, velk::Variant value) {
        EXPECT_EQ(object->Put(name, 0, value.Address(), 0), S_OK) << name;
    }
    template <class Object>
    static velk::Variant Get(const velk::ComPtr<Object>& object, const wchar_t* name) {
        velk::Variant value;
        EXPECT_EQ(object->Get(name, 0, value.Put(), nullptr, nullptr), S_OK) << name;
        return value;
    }
    template <class Object>
    static std::wstring GetText(const velk::ComPtr<Object>& object, const wchar_t* name) {
        const velk::Variant value = Get(object, name);
        EXPECT_EQ(value.Type(), VT_BSTR) << name;
        return value.Type() == VT_BSTR ? std::wstring(value.Text()) : std::wstring();
    }
    static std::wstring QualifierText(const velk::ComPtr<IWbemQualifierSet>& qualifiers,
                                      const wchar_t* name) {
        velk::Variant value;
        EXPECT_EQ(qualifiers->Get(name, 0, value.Put(), nullptr), S_OK) << name;
        return value.Type() == VT_BSTR ? std::wstring(value.Text()) : std::wstring();
    }
    static std::vector<std::wstring> Enumerated(IWbemClassObject& object, LONG flags) {
        std::vector<std::wstring> names;
        EXPECT_EQ(object.BeginEnumeration(flags), S_OK);
        velk::Bstr name;
        while (object.Next(0, name.Put(), nullptr, nullptr, nullptr) == S_OK) names.emplace_back(name.View());
        EXPECT_EQ(object.EndEnumeration(), S_OK);
        return names;
    }

    Repository repository_{L"SRV01"};
};

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
