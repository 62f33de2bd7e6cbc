#include "host/model/repository.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "common/wbem_status.h"

namespace velkhost {
namespace {

constexpr std::string_view kMof = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "Test"; };
#pragma namespace("\\\\.\\root\\Test")
instance of __Win32Provider as $Provider
{
    Name = "ThingProv";
    CLSID = "{415D6A01-DF05-4D3F-B7B8-4C866D4EAD37}";
};
instance of __InstanceProviderRegistration { Provider = $Provider; SupportsGet = TRUE; };
[Dynamic, Provider("ThingProv")] class Thing { [Key] string Tag; };
class Base { [Key] string Name; uint8 Size = 1; };
class Derived : Base { string Extra; };
instance of Base { Name = "b"; };
instance of Derived { Name = "d"; Size = 255; Extra = NULL; };
)";

class RepositoryTest : public ::testing::Test {
  protected:
    RepositoryTest() { repository_.LoadMof(kMof, "test.mof"); }

    /// What is wrong with the text, loaded into root\Test.
    std::string ErrorOf(const std::string& text) {
        try {
            repository_.LoadMof("#pragma namespace(\"root\\\\Test\")\n" + text, "bad.mof");
        } catch (const mof::MofError& error) {
            return error.what();
        }
        return "no error";
    }
    HRESULT ProviderFailure(const wchar_t* className) {
        HRESULT failure = velk::kWbemNoError;
        EXPECT_FALSE(repository_.FindProvider(L"root\\Test", className, failure));
        return failure;
    }

    Repository repository_{L"SRV01"};
};

TEST(NormalizeNamespace, KnowsEveryWayOfWritingOne) {
    for (const wchar_t* written : {L"root\\VKQ", L"\\\\.\\root\\VKQ", L"//./root/VKQ",
                                   L"\\\\SRV01\\root\\VKQ", L"root/VKQ", L"root\\VKQ\\"}) {
        EXPECT_EQ(NormalizeNamespace(written), L"root\\VKQ") << written;
    }
    EXPECT_EQ(NormalizeNamespace(L"\\\\.\\root"), L"root");
    EXPECT_EQ(NormalizeNamespace(L"\\\\SRV01"), L"");
}

TEST_F(RepositoryTest, FindsNamespacesInAnyCaseAndSpelling) {
    EXPECT_TRUE(repository_.HasNamespace(L"ROOT\\test"));
    EXPECT_TRUE(repository_.HasNamespace(L"\\\\.\\root\\Test"));
    EXPECT_TRUE(repository_.HasNamespace(L"root\\wmi"));
    EXPECT_TRUE(repository_.HasNamespace(L"root"));
    EXPECT_FALSE(repository_.HasNamespace(L"root\\Nothing"));
    EXPECT_FALSE(repository_.HasNamespace(L""));
}

TEST_F(RepositoryTest, ListsNamespacesAsInstances) {
    std::vector<std::wstring> names;
    for (const auto& one : repository_.StaticInstances(L"root", L"__Namespace")) {
        names.push_back(*one->RelativePath());
    }
    EXPECT_EQ(names,
              (std::vector<std::wstring>{L"__NAMESPACE.Name=\"default\"", L"__NAMESPACE.Name=\"cimv2\"",
                                         L"__NAMESPACE.Name=\"wmi\"", L"__NAMESPACE.Name=\"Test\""}));
}

TEST_F(RepositoryTest, FindsClassesInAnyCase) {
    const ClassPtr thing = repository_.FindClass(L"ROOT\\TEST", L"THING");
    ASSERT_NE(thing, nullptr);
    EXPECT_EQ(thing->name, L"Thing");
    EXPECT_EQ(thing->nameSpace, L"root\\Test");
    EXPECT_EQ(thing->server, L"SRV01");
    EXPECT_EQ(repository_.FindClass(L"root\\Test", L"Nothing"), nullptr);
    EXPECT_EQ(repository_.FindClass(L"root\\Nothing", L"Thing"), nullptr);
    EXPECT_NE(repository_.FindClass(L"root\\Test", L"__ExtendedStatus")->Find(L"StatusCode"), nullptr);
}

TEST_F(RepositoryTest, ListsClassNamesWithoutTheSystemsOwn) {
    EXPECT_EQ(repository_.ClassNames(L"root\\Test"),
              (std::vector<std::wstring>{L"Base", L"Derived", L"Thing"}));
    EXPECT_EQ(repository_.ClassNames(L"root\\Test", true).size(), 12u);
    EXPECT_TRUE(repository_.ClassNames(L"root\\Nothing").empty());
}

TEST_F(RepositoryTest, GivesInstancesOfDerivedClassesToo) {
    const auto all = repository_.StaticInstances(L"root\\Test", L"base");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0]->RelativePath(), L"Base.Name=\"b\"");
    EXPECT_EQ(all[1]->RelativePath(), L"Derived.Name=\"d\"");
    EXPECT_EQ(ToText(all[0]->At(1)), L"1");
    EXPECT_EQ(ToText(all[1]->At(1)), L"255");
    EXPECT_EQ(repository_.StaticInstances(L"root\\Test", L"Derived").size(), 1u);
}

TEST_F(RepositoryTest, ReplacesAnInstanceOfTheSamePath) {
    EXPECT_EQ(ErrorOf("instance of Base { Name = \"B\"; Size = 9; };"), "no error");
    const auto all = repository_.StaticInstances(L"root\\Test", L"Base");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(ToText(all[0]->At(1)), L"9");
}

TEST_F(RepositoryTest, FindsTheProviderOfAClass) {
    HRESULT failure = velk::kWbemFailed;
    const auto provider = repository_.FindProvider(L"root\\test", L"thing", failure);
    ASSERT_TRUE(provider);
    EXPECT_EQ(failure, velk::kWbemNoError);
    EXPECT_EQ(provider->name, L"ThingProv");
    EXPECT_TRUE(provider->supportsGet);
    EXPECT_TRUE(provider->supportsEnumeration);
    CLSID expected{};
    ::CLSIDFromString(L"{415D6A01-DF05-4D3F-B7B8-4C866D4EAD37}", &expected);
    EXPECT_TRUE(::IsEqualCLSID(provider->clsid, expected));
    EXPECT_TRUE(::IsEqualCLSID(*repository_.ProviderClsid(L"root\\Test", L"Thing"), expected));
}

TEST_F(RepositoryTest, FindsTheProviderThroughAFullReferenceToo) {
    ErrorOf(
        "instance of __Win32Provider { Name = \"Far\"; CLSID = \"{415D6A01-DF05-4D3F-B7B8-4C866D4EAD37}\"; "
        "};\n"
        "instance of __InstanceProviderRegistration\n"
        "{ provider = \"\\\\\\\\.\\\\root\\\\Test:__Win32Provider.Name=\\\"far\\\"\"; };\n"
        "[Provider(\"Far\")] class Far { [Key] string Tag; };");
    HRESULT failure = velk::kWbemFailed;
    const auto provider = repository_.FindProvider(L"root\\Test", L"Far", failure);
    ASSERT_TRUE(provider);
    EXPECT_FALSE(provider->supportsGet);
}

TEST_F(RepositoryTest, TellsWhyThereIsNoProvider) {
    ErrorOf(
        "[Provider(\"Missing\")] class A { [Key] string Tag; };\n"
        "instance of __Win32Provider { Name = \"NoClsid\"; CLSID = \"x\"; };\n"
        "[Provider(\"NoClsid\")] class B { [Key] string Tag; };\n"
        "instance of __Win32Provider\n"
        "{ Name = \"Unregistered\"; CLSID = \"{415D6A01-DF05-4D3F-B7B8-4C866D4EAD37}\"; };\n"
        "[Provider(\"Unregistered\")] class C { [Key] string Tag; };");
    EXPECT_EQ(ProviderFailure(L"A"), static_cast<HRESULT>(WBEM_E_PROVIDER_NOT_FOUND));
    EXPECT_EQ(ProviderFailure(L"B"), static_cast<HRESULT>(WBEM_E_INVALID_PROVIDER_REGISTRATION));
    EXPECT_EQ(ProviderFailure(L"C"), static_cast<HRESULT>(WBEM_E_INVALID_PROVIDER_REGISTRATION));
    // A class without the qualifier has static instances, which is no failure.
    EXPECT_EQ(ProviderFailure(L"Base"), velk::kWbemNoError);
    EXPECT_EQ(ProviderFailure(L"Nothing"), velk::kWbemNoError);
}

TEST_F(RepositoryTest, InheritsAndOverridesProperties) {
    EXPECT_EQ(ErrorOf("class Other : Base { [Description(\"more\")] uint8 Size = 2; uint8 Last; };"),
              "no error");
    const ClassPtr other = repository_.FindClass(L"root\\Test", L"Other");
    ASSERT_EQ(other->properties.size(), 3u);
    EXPECT_EQ(other->properties[0].name, L"Name");
    EXPECT_TRUE(other->properties[0].isKey);
    EXPECT_EQ(other->properties[0].origin, L"Base");
    EXPECT_EQ(ToText(other->properties[1].initial), L"2");
    EXPECT_NE(FindQualifier(other->properties[1].qualifiers, L"Description"), nullptr);
    EXPECT_EQ(other->properties[2].origin, L"Other");
    EXPECT_TRUE(other->IsA(L"base"));
}

TEST_F(RepositoryTest, TakesEveryCimTypeAsInitialValue) {
    EXPECT_EQ(
        ErrorOf(
            "class All { boolean a = TRUE; uint8 b = 255; sint8 c = -128; uint16 d = 65535; "
            "sint16 e = -32768; uint32 f = 4294967295; sint32 g = -2147483648; "
            "uint64 h = 18446744073709551615; sint64 i = -9223372036854775808; real32 j = 1.5; "
            "real64 k = -2; char16 l = 65; datetime m = \"20200517073000.250000+000\"; "
            "string n = \"t\"; Base ref p = \"Base.Name=\\\"b\\\"\"; uint64 q = \"7\"; uint8 r[] = {}; };"),
        "no error");
    std::wstring text;
    for (const PropertyDef& property : repository_.FindClass(L"root\\Test", L"All")->properties) {
        text += ToMof(property.initial) + L" ";
    }
    EXPECT_EQ(
        text,
        L"TRUE 255 -128 65535 -32768 4294967295 -2147483648 18446744073709551615 -9223372036854775808 1.5 -2 "
        L"65 \"20200517073000.250000+000\" \"t\" \"Base.Name=\\\"b\\\"\" 7 {} ");
}

TEST_F(RepositoryTest, SaysWhereAndWhyADeclarationDoesNotFit) {
    const struct {
        const char* text;
        const char* message;
    } rows[] = {
        {"class A : Nothing {};", "bad.mof(2,1): superclass 'Nothing' does not exist"},
        {"class A { string B; string b; };", "bad.mof(2,28): property 'b' is declared twice"},
        {"class A { [Key, key] string B; };", "bad.mof(2,17): qualifier 'key' is given twice"},
        {"class A { [V{1, \"x\"}] string B; };", "bad.mof(2,12): qualifier 'V' has no usable value"},
        {"class A { uint8 B = 256; };", "bad.mof(2,21): the value does not fit the type of 'B'"},
        {"class A { uint8 B = -1; };", "bad.mof(2,21): the value does not fit the type of 'B'"},
        {"class A { sint8 B = -129; };", "bad.mof(2,21): the value does not fit the type of 'B'"},
        {"class A { uint8 B = 1.5; };", "bad.mof(2,21): the value does not fit the type of 'B'"},
        {"class A { uint8 B = {1}; };", "bad.mof(2,21): the value does not fit the type of 'B'"},
        {"class A { uint8 B[] = 1; };", "bad.mof(2,23): the value does not fit the type of 'B'"},
        {"class A { boolean B = 1; };", "bad.mof(2,23): the value does not fit the type of 'B'"},
        {"class A { datetime B = \"2020\"; };", "bad.mof(2,24): the value does not fit the type of 'B'"},
        {"class A { [Key] real32 B; };", "bad.mof(2,24): property 'B' cannot be a key"},
        {"class A { [Key] string B[]; };", "bad.mof(2,24): property 'B' cannot be a key"},
        {"class A : Base { uint16 Size; };",
         "bad.mof(2,1): property 'Size' is declared with another type than in the superclass"},
        {"instance of Nothing {};", "bad.mof(2,1): class 'Nothing' does not exist"},
        {"instance of Base { Name = \"x\"; Other = 1; };",
         "bad.mof(2,32): class 'Base' has no property 'Other'"},
        {"instance of Base { Name = \"x\"; name = \"y\"; };", "bad.mof(2,32): property 'name' is set twice"},
        {"instance of Base { Name = 1; };", "bad.mof(2,27): the value does not fit the type of 'Name'"},
        {"instance of Base { Size = 1; };", "bad.mof(2,1): key 'Name' has no value"},
        {"instance of Base { Name = NULL; };", "bad.mof(2,1): key 'Name' has no value"},
        {"instance of Base { Name = $None; };", "bad.mof(2,27): alias '$None' is not defined before"},
        {"instance of Base as $B { Name = \"x\"; };\ninstance of Base { Name = $B; };",
         "bad.mof(3,27): 'Name' is no reference and cannot take an alias"},
        {"#pragma namespace(\"root\\\\Nothing\")\nclass A {};",
         "bad.mof(3,1): namespace 'root\\Nothing' does not exist"},
        {"#pragma deleteclass(\"Nothing\", FAIL)", "bad.mof(2,9): 'Nothing' is not there to be deleted"},
        {"#pragma deleteinstance(\"Base.Name=\\\"no\\\"\", FAIL)",
         "bad.mof(2,9): 'Base.Name=\"no\"' is not there to be deleted"},
    };
    for (const auto& row : rows) EXPECT_EQ(ErrorOf(row.text), row.message) << row.text;
}

TEST_F(RepositoryTest, DeletesClassesWithAllThatDependsOnThem) {
    EXPECT_EQ(ErrorOf("#pragma deleteclass(\"base\", FAIL)\n#pragma deleteclass(\"Base\", NOFAIL)"),
              "no error");
    EXPECT_EQ(repository_.ClassNames(L"root\\Test"), (std::vector<std::wstring>{L"Thing"}));
    EXPECT_TRUE(repository_.StaticInstances(L"root\\Test", L"Base").empty());
}

TEST_F(RepositoryTest, DeletesInstancesByPath) {
    EXPECT_EQ(ErrorOf("#pragma deleteinstance(\"Base.Name=\\\"b\\\"\", FAIL)"), "no error");
    EXPECT_EQ(repository_.StaticInstances(L"root\\Test", L"Base").size(), 1u);
    EXPECT_EQ(ErrorOf("#pragma deleteinstance("
                      "\"__InstanceProviderRegistration.Provider=\\\"__Win32Provider.Name="
                      "\\\\\\\"ThingProv\\\\\\\"\\\"\","
                      " FAIL)"),
              "no error");
    EXPECT_EQ(ProviderFailure(L"Thing"), static_cast<HRESULT>(WBEM_E_INVALID_PROVIDER_REGISTRATION));
}

TEST_F(RepositoryTest, TakesClassesAndInstancesMadeInMemory) {
    ClassDef definition;
    definition.name = L"Made";
    definition.properties.push_back({L"Id", {Cim::kUInt32}, {}, {}, {}, true});
    const ClassPtr made = repository_.AddClass(L"root\\Test", definition, L"Base");
    EXPECT_EQ(made->derivation, std::vector<std::wstring>{L"Base"});
    EXPECT_EQ(made->properties.back().origin, L"Made");
    const auto instance = repository_.AddInstance(
        L"root\\Test", L"made", {{L"name", Value::Text(L"n")}, {L"Id", Value::Unsigned(4294967295)}});
    EXPECT_EQ(instance->FullPath(), L"\\\\SRV01\\root\\Test:Made.Id=4294967295,Name=\"n\"");
    EXPECT_EQ(repository_.StaticInstances(L"root\\Test", L"Made").size(), 1u);

    EXPECT_THROW(repository_.AddClass(L"root\\Nothing", definition), std::invalid_argument);
    EXPECT_THROW(repository_.AddClass(L"root\\Test", definition, L"Nothing"), std::invalid_argument);
    EXPECT_THROW(repository_.AddInstance(L"root\\Test", L"Nothing", {}), std::invalid_argument);
    EXPECT_THROW(repository_.AddInstance(L"root\\Test", L"Base", {{L"No", Value()}}), std::invalid_argument);
}

TEST_F(RepositoryTest, OffersTheFirmwareTableAsWmiDoes) {
    AddRawSmbiosTables(repository_, {0x09, 0x00, 0xFF}, 3, 2);
    const auto tables = repository_.StaticInstances(L"root\\wmi", L"MSSMBIOS_RAWSMBIOSTABLES");
    ASSERT_EQ(tables.size(), 1u);
    velk::Variant data;
    CIMTYPE type = 0;
    ASSERT_EQ(tables[0]->Get(L"SMBiosData", 0, data.Put(), &type, nullptr), S_OK);
    EXPECT_EQ(type, CIM_UINT8 | CIM_FLAG_ARRAY);
    ASSERT_EQ(data.Type(), VT_ARRAY | VT_UI1);
    BYTE last = 0;
    LONG index = 2;
    ASSERT_EQ(::SafeArrayGetElement(data.Get().parray, &index, &last), S_OK);
    EXPECT_EQ(last, 0xFF);
    velk::Variant number;
    ASSERT_EQ(tables[0]->Get(L"Size", 0, number.Put(), &type, nullptr), S_OK);
    EXPECT_EQ(type, CIM_UINT32);
    EXPECT_EQ(number.Get().lVal, 3);
    ASSERT_EQ(tables[0]->Get(L"SmbiosMajorVersion", 0, number.Put(), &type, nullptr), S_OK);
    EXPECT_EQ(number.Type(), VT_UI1);
    EXPECT_EQ(number.Get().bVal, 3);
}

TEST_F(RepositoryTest, OffersTheDataStoreStatus) {
    AddDataStoreStatus(repository_, false);
    const auto status = repository_.StaticInstances(L"root\\wmi", L"DataStoreStatus");
    ASSERT_EQ(status.size(), 1u);
    velk::Variant available;
    ASSERT_EQ(status[0]->Get(L"DataAvailable", 0, available.Put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(available.Type(), VT_BOOL);
    EXPECT_EQ(available.Get().boolVal, VARIANT_FALSE);
}

}  // namespace
}  // namespace velkhost
