#include "host/mof/parser.h"

#include <gtest/gtest.h>

namespace velkhost::mof {
namespace {

Document ParseText(std::string_view text) { return Parse(text, "test.mof"); }

template <class Declared>
Declared ParseOne(std::string_view text) {
    Document document = ParseText(text);
    EXPECT_EQ(document.declarations.size(), 1u);
    return std::get<Declared>(document.declarations.at(0));
}

std::string ErrorOf(std::string_view text) {
    try {
        ParseText(text);
    } catch (const MofError& error) {
        return error.what();
    }
    return "no error";
}

Literal InitialOf(std::string_view value) {
    const auto declared = ParseOne<ClassDeclaration>("class C { string P = " + std::string(value) + "; };");
    return declared.properties.at(0).initial;
}

TEST(MofParser, ReadsAClassWithQualifiersSuperclassAndProperties) {
    const auto declared = ParseOne<ClassDeclaration>(R"(
        [Dynamic, Provider("P"), Description("one " "two"): ToSubclass Amended]
        class Derived : Base
        {
            [Key] string Name;
            [ValueMap{"0", "1"}, Values {"a", "b"}] UINT16 Kinds[] = {1, 2};
            Other ref Link;
        };)");
    EXPECT_EQ(declared.name, L"Derived");
    EXPECT_EQ(declared.superclass, L"Base");
    ASSERT_EQ(declared.qualifiers.size(), 3u);
    EXPECT_TRUE(std::get<bool>(declared.qualifiers[0].value.data));
    EXPECT_EQ(std::get<std::wstring>(declared.qualifiers[1].value.data), L"P");
    EXPECT_EQ(std::get<std::wstring>(declared.qualifiers[2].value.data), L"one two");
    EXPECT_EQ(declared.qualifiers[2].flavors, (std::vector<std::wstring>{L"ToSubclass", L"Amended"}));

    ASSERT_EQ(declared.properties.size(), 3u);
    EXPECT_EQ(declared.properties[0].qualifiers[0].name, L"Key");
    EXPECT_EQ(declared.properties[1].type, (CimType{Cim::kUInt16, true}));
    EXPECT_EQ(std::get<Literal::List>(declared.properties[1].initial.data).size(), 2u);
    EXPECT_EQ(std::get<Literal::List>(declared.properties[1].qualifiers[1].value.data).size(), 2u);
    EXPECT_EQ(declared.properties[2].type.element, Cim::kReference);
    EXPECT_EQ(declared.properties[2].referenceClass, L"Other");
}

TEST(MofParser, KnowsEveryCimType) {
    const auto declared = ParseOne<ClassDeclaration>(
        "class C { boolean a; uint8 b; sint8 c; uint16 d; sint16 e; uint32 f; sint32 g; uint64 h; sint64 i; "
        "real32 j; real64 k; char16 l; datetime m; string n; object o; C ref p; };");
    const Cim expected[] = {Cim::kBoolean,  Cim::kUInt8,  Cim::kSInt8,  Cim::kUInt16,
                            Cim::kSInt16,   Cim::kUInt32, Cim::kSInt32, Cim::kUInt64,
                            Cim::kSInt64,   Cim::kReal32, Cim::kReal64, Cim::kChar16,
                            Cim::kDateTime, Cim::kString, Cim::kObject, Cim::kReference};
    ASSERT_EQ(declared.properties.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(declared.properties[i].type.element, expected[i]) << i;
    }
}

TEST(MofParser, ReadsInstancesWithAliases) {
    const Document document = ParseText(
        "instance of A as $First { Name = \"x\"; };\n"
        "instance of B { Link = $First; Flag = TRUE; None = NULL; };");
    const auto& first = std::get<InstanceDeclaration>(document.declarations.at(0));
    const auto& second = std::get<InstanceDeclaration>(document.declarations.at(1));
    EXPECT_EQ(first.className, L"A");
    EXPECT_EQ(first.alias, L"$First");
    EXPECT_EQ(std::get<Alias>(second.values.at(0).value.data).name, L"$First");
    EXPECT_TRUE(std::get<bool>(second.values.at(1).value.data));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(second.values.at(2).value.data));
}

TEST(MofParser, GivesEachDeclarationTheNamespaceInForce) {
    const Document document = ParseText(
        "class A {};\n#pragma namespace(\"\\\\\\\\.\\\\root\\\\VKQ\")\nclass B {};\n"
        "#pragma deleteclass(\"A\", NOFAIL)\n#pragma deleteinstance(\"B.C=\\\"d\\\"\", FAIL)");
    EXPECT_EQ(std::get<ClassDeclaration>(document.declarations.at(0)).nameSpace, L"\\\\.\\root\\default");
    EXPECT_EQ(std::get<ClassDeclaration>(document.declarations.at(1)).nameSpace, L"\\\\.\\root\\VKQ");
    const auto& deletedClass = std::get<Deletion>(document.declarations.at(2));
    EXPECT_FALSE(deletedClass.isInstance);
    EXPECT_TRUE(deletedClass.mayBeMissing);
    EXPECT_EQ(deletedClass.nameSpace, L"\\\\.\\root\\VKQ");
    const auto& deletedInstance = std::get<Deletion>(document.declarations.at(3));
    EXPECT_TRUE(deletedInstance.isInstance);
    EXPECT_FALSE(deletedInstance.mayBeMissing);
    EXPECT_EQ(deletedInstance.target, L"B.C=\"d\"");
}

TEST(MofParser, NotesAutorecover) {
    EXPECT_TRUE(ParseText("#pragma autorecover\nclass A {};").autorecover);
    EXPECT_FALSE(ParseText("class A {};").autorecover);
}

TEST(MofParser, ReadsNumbersOfBothSignsAndBases) {
    EXPECT_EQ(std::get<Integer>(InitialOf("18446744073709551615").data).magnitude, UINT64_MAX);
    EXPECT_TRUE(std::get<Integer>(InitialOf("-5").data).negative);
    EXPECT_EQ(std::get<Integer>(InitialOf("0xFf").data).magnitude, 255u);
    EXPECT_EQ(std::get<Integer>(InitialOf("0").data).magnitude, 0u);
    EXPECT_DOUBLE_EQ(std::get<double>(InitialOf("-1.5e+3").data), -1500);
    EXPECT_DOUBLE_EQ(std::get<double>(InitialOf("2.25").data), 2.25);
}

TEST(MofParser, ReadsEscapesAndJoinsAdjacentStrings) {
    EXPECT_EQ(std::get<std::wstring>(InitialOf(R"("a\tb\n\"\\\'\x41\x20ac" "tail")").data),
              L"a\tb\n\"\\'A\x20actail");
}

TEST(MofParser, ReadsUtf8WithAndWithoutByteOrderMark) {
    EXPECT_EQ(std::get<std::wstring>(InitialOf("\"\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\"").data),
              L"\x00e9\x4e2d\xd83d\xde00");
    EXPECT_EQ(ParseOne<ClassDeclaration>("\xEF\xBB\xBF"
                                         "class A {};")
                  .at.column,
              1);
}

TEST(MofParser, SkipsBothKindsOfComment) {
    const auto declared = ParseOne<ClassDeclaration>("// one\n/* two\n * / three */ class /**/ A {}; // end");
    EXPECT_EQ(declared.name, L"A");
    EXPECT_EQ(declared.at.line, 3);
}

TEST(MofParser, ReadsNothingOfAnEmptyText) { EXPECT_TRUE(ParseText("").declarations.empty()); }

TEST(MofParser, SaysWhereAndWhatItDoesNotUnderstand) {
    const struct {
        const char* text;
        const char* message;
    } rows[] = {
        {"clas A {};", "test.mof(1,1): expected 'class', 'instance' or '#pragma', found 'clas'"},
        {"class A {\n  uint17 B;\n};", "test.mof(2,3): 'uint17' is not a CIM type"},
        {"class A {\n  uint16 B\n};", "test.mof(3,1): expected ';', found '}'"},
        {"class A { string B[; };", "test.mof(1,20): expected ']', found ';'"},
        {"class A {}", "test.mof(1,11): expected ';', found the end of the text"},
        {"class A { uint32 Method(); };", "test.mof(1,18): methods are not supported"},
        {"class A { string B = {{1}}; };", "test.mof(1,23): an array cannot hold an array"},
        {"class A { string B = instance of C {}; };",
         "test.mof(1,22): an embedded instance as a value is not supported"},
        {"class A { string B = ; };", "test.mof(1,22): expected a value, found ';'"},
        {"class 5 {};", "test.mof(1,7): expected the name of a class, found a number"},
        {"class \"A\" {};", "test.mof(1,7): expected the name of a class, found a string"},
        {"[Key:Strong] class A {};", "test.mof(1,6): 'Strong' is not a flavor"},
        {"Qualifier Key : boolean = false;", "test.mof(1,1): qualifier declarations are not supported"},
        {"[Key] instance of A {};", "test.mof(1,1): qualifiers on an instance are not supported"},
        {"instance of A as B {};", "test.mof(1,18): expected an alias, found 'B'"},
        {"#pragma include(\"x\")", "test.mof(1,9): pragma 'include' is not supported"},
        {"#pragma namespace(root)", "test.mof(1,19): expected a string, found 'root'"},
        {"#pragma namespace(\"\")", "test.mof(1,19): a namespace needs a name"},
        {"#pragma deleteclass(\"A\", MAYBE)", "test.mof(1,26): expected 'FAIL' or 'NOFAIL', found 'MAYBE'"},
        {"#define X", "test.mof(1,2): expected 'pragma', found 'define'"},
        {"class A { string B = \"open\n\"; };", "test.mof(1,22): string is not closed on its line"},
        {"class A { string B = \"\\q\"; };", "test.mof(1,23): unknown escape in a string"},
        {"class A { string B = \"\\xg\"; };",
         "test.mof(1,23): \\x must be followed by one to four hexadecimal digits"},
        {"/* open\n", "test.mof(1,1): comment is not closed"},
        {"class A { uint8 B = 010; };",
         "test.mof(1,21): numbers with a leading zero are octal in MOF and not supported"},
        {"class A { uint8 B = 12ab; };", "test.mof(1,21): '12ab' is not a number"},
        {"class A { uint8 B = 18446744073709551616; };",
         "test.mof(1,21): number '18446744073709551616' is out of range"},
        {"class A { uint8 B = -; };", "test.mof(1,21): a sign must be followed by digits"},
        {"class A { uint8 B = $; };", "test.mof(1,21): an alias needs a name after $"},
        {"class A ?", "test.mof(1,9): unexpected character"},
        {"// \xFF\n", "test.mof(1,4): text is not UTF-8"},
        {"// \xE4\xB8", "test.mof(1,4): text is not UTF-8"},
        {"// \xED\xA0\x80\n", "test.mof(1,4): text is not UTF-8"},
    };
    for (const auto& row : rows) EXPECT_EQ(ErrorOf(row.text), row.message) << row.text;
}

TEST(MofParser, SurvivesEveryTruncationOfAText) {
    const std::string_view text =
        "#pragma namespace(\"x\")\n[Key:ToInstance, V{\"1\", 2}] class A : B { C ref D; uint8 E[] = {1, -2}; "
        "};\n"
        "instance of A as $X { E = \"\\x41\" \"\xC3\xA9\"; F = $X; }; /* end */";
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string error = ErrorOf(text.substr(0, length));
        EXPECT_TRUE(error == "no error" || error.starts_with("test.mof(")) << error;
    }
}

}  // namespace
}  // namespace velkhost::mof
