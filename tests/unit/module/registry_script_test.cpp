#include "module/registry_script.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <new>

#include "support/stand_ins.h"

namespace {

using testing::ElementsAre;
using namespace velk;

/// Parses what must parse.
RegistryScript Parse(std::wstring_view text) {
    RegistryScript script;
    const auto error = ParseRegistryScript(text, script);
    if (error) ADD_FAILURE() << error->reason << " at " << error->position;
    return script;
}

/// The position and reason of what must not parse.
RegistryScriptError ErrorOf(std::wstring_view text) {
    RegistryScript script(1);
    const auto error = ParseRegistryScript(text, script);
    EXPECT_EQ(script.size(), 1U) << "an error leaves the output as it was";
    if (!error) ADD_FAILURE() << "parsed: " << std::string(text.begin(), text.end());
    return error.value_or(RegistryScriptError{});
}

std::wstring Text(const RegistryData& data) { return data.number ? L"(a number)" : data.text; }
std::uint32_t Number(const RegistryData& data) { return data.number.value_or(77); }

TEST(RegistryScriptTest, AppIdScriptBecomesATree) {
    const RegistryScript script = Parse(
        L"HKCR { NoRemove AppID { '{1-2}' = s 'VelkWmiPci' ; "
        L"'VelkWmiPci.DLL' { val AppID = s '{1-2}' } } }");
    ASSERT_EQ(script.size(), 1U);
    EXPECT_EQ(script[0].root, RegistryRoot::kClassesRoot);
    ASSERT_EQ(script[0].children.size(), 1U);
    const RegistryKeyEntry& appId = script[0].children[0];
    EXPECT_EQ(appId.name, L"AppID");
    EXPECT_EQ(appId.rule, RegistryKeyRule::kNoRemove);
    EXPECT_FALSE(appId.defaultValue);
    ASSERT_EQ(appId.children.size(), 2U);
    EXPECT_EQ(appId.children[0].name, L"{1-2}");
    EXPECT_EQ(appId.children[0].rule, RegistryKeyRule::kPlain);
    EXPECT_EQ(Text(*appId.children[0].defaultValue), L"VelkWmiPci");
    EXPECT_EQ(appId.children[1].name, L"VelkWmiPci.DLL");
    ASSERT_EQ(appId.children[1].values.size(), 1U);
    EXPECT_EQ(appId.children[1].values[0].name, L"AppID");
    EXPECT_EQ(Text(appId.children[1].values[0].data), L"{1-2}");
}

int g_allocationsLeft = 0;
decltype(&::malloc) g_malloc = nullptr;

void* AllocateWhileAllowed(std::size_t size) {
    // One failure, so that the exception itself can be made.
    return g_allocationsLeft-- == 0 ? nullptr : g_malloc(size);
}

TEST(RegistryScriptTest, CopyThatRunsOutOfMemoryThrowsAndLeavesNothing) {
    const RegistryScript script = Parse(
        L"HKCR { 'A key with quite a long name' = s 'A text that needs memory of its own' "
        L"{ val Name = s 'Another text that needs memory of its own' } }");
    const velktest::StandIn allocate("malloc", &AllocateWhileAllowed);
    g_malloc = allocate.Original<decltype(&::malloc)>();
    int failures = 0;
    for (bool copied = false; !copied; ++failures) {
        g_allocationsLeft = failures;
        try {
            const RegistryScript copy = script;
            copied = true;
        } catch (const std::bad_alloc&) {
        }
    }
    // At least the block, the keys, the values and the texts.
    EXPECT_GT(failures, 6);
}

TEST(RegistryScriptTest, RootKeysHaveShortAndLongNames) {
    const RegistryScript script = Parse(
        L"HKCR { } HKEY_CLASSES_ROOT { } HKCU { } HKEY_CURRENT_USER { } HKLM { } HKEY_LOCAL_MACHINE { } HKU "
        L"{ } "
        L"HKEY_USERS { } HKPD { } HKEY_PERFORMANCE_DATA { } HKDD { } HKEY_DYN_DATA { } HKCC { } "
        L"HKEY_CURRENT_CONFIG { } hkcr { }");
    std::vector<RegistryRoot> roots;
    for (const RegistryBlock& block : script) roots.push_back(block.root);
    using R = RegistryRoot;
    EXPECT_THAT(roots, ElementsAre(R::kClassesRoot, R::kClassesRoot, R::kCurrentUser, R::kCurrentUser,
                                   R::kLocalMachine, R::kLocalMachine, R::kUsers, R::kUsers,
                                   R::kPerformanceData, R::kPerformanceData, R::kDynData, R::kDynData,
                                   R::kCurrentConfig, R::kCurrentConfig, R::kClassesRoot));
}

TEST(RegistryScriptTest, KeysCarryTheirRules) {
    const RegistryScript script =
        Parse(L"HKLM { Plain ForceRemove A NoRemove B Delete C forceremove D 'Delete' }");
    const auto& keys = script[0].children;
    ASSERT_EQ(keys.size(), 6U);
    EXPECT_EQ(keys[0].rule, RegistryKeyRule::kPlain);
    EXPECT_EQ(keys[1].rule, RegistryKeyRule::kForceRemove);
    EXPECT_EQ(keys[2].rule, RegistryKeyRule::kNoRemove);
    EXPECT_EQ(keys[3].rule, RegistryKeyRule::kDelete);
    EXPECT_EQ(keys[4].rule, RegistryKeyRule::kForceRemove);
    EXPECT_EQ(keys[5].name, L"Delete") << "a quoted word is a name";
    EXPECT_EQ(keys[5].rule, RegistryKeyRule::kPlain);
}

TEST(RegistryScriptTest, TypedValuesAreTextsAndNumbers) {
    const RegistryScript script = Parse(
        L"HKLM { A = d '0' B = d '4294967295' C = d '0xFfFfFfFf' D = s '' val 'two words' = s 'it''s' val '' "
        L"= d '7' E = d '0xa' F = d '0XfA09' }");
    const auto& keys = script[0].children;
    EXPECT_EQ(Number(*keys[0].defaultValue), 0U);
    EXPECT_EQ(Number(*keys[1].defaultValue), 0xFFFFFFFFU);
    EXPECT_EQ(Number(*keys[2].defaultValue), 0xFFFFFFFFU);
    EXPECT_EQ(Text(*keys[3].defaultValue), L"");
    EXPECT_EQ(Number(*keys[4].defaultValue), 0xAU);
    EXPECT_EQ(Number(*keys[5].defaultValue), 0xFA09U);
    const auto& values = script[0].values;
    EXPECT_EQ(values[0].name, L"two words");
    EXPECT_EQ(Text(values[0].data), L"it's");
    EXPECT_EQ(values[1].name, L"");
    EXPECT_EQ(Number(values[1].data), 7U);
}

TEST(RegistryScriptTest, KeyMayHaveBothValueAndChildren) {
    const RegistryScript script = Parse(L"HKLM\n{\n\tA = s 'a'\r\n\t{\n\t\tB = s 'b'\n\t}\n\tC\n}\n");
    ASSERT_EQ(script[0].children.size(), 2U);
    EXPECT_EQ(script[0].children[0].children[0].name, L"B");
    EXPECT_EQ(script[0].children[1].name, L"C");
}

TEST(RegistryScriptTest, SeparatorsMayStandAnywhereBetweenItemsAndRepeat) {
    const RegistryScript script = Parse(L"; ; HKLM { ; ; A ; ; B ; } ; ;");
    ASSERT_EQ(script.size(), 1U);
    ASSERT_EQ(script[0].children.size(), 2U);
    EXPECT_EQ(script[0].children[1].name, L"B");
}

TEST(RegistryScriptTest, BareNamesEndAtWhiteSpaceAlone) {
    const RegistryScript script = Parse(L"HKLM { {0001-2} A=b }");
    EXPECT_EQ(script[0].children[0].name, L"{0001-2}");
    EXPECT_EQ(script[0].children[1].name, L"A=b");
}

TEST(RegistryScriptTest, EmptyScriptIsAScript) {
    EXPECT_TRUE(Parse(L"").empty());
    EXPECT_TRUE(Parse(L" \t\r\n").empty());
}

struct MalformedCase {
    std::wstring_view text;
    std::size_t position;
    const char* reason;
};

TEST(RegistryScriptTest, MalformedScriptsNameThePlaceAndTheReason) {
    const MalformedCase cases[] = {
        {L"HKXX { }", 0, "a root key is expected"},
        {L"'HKCR' { }", 0, "a root key is expected"},
        {L"HKCR { } }", 9, "a root key is expected"},
        {L"HKCR", 4, "a brace is expected after the root key"},
        {L"HKCR = s 'x'", 5, "a brace is expected after the root key"},
        {L"HKCR {", 6, "a closing brace is missing"},
        {L"HKCR { A { }", 12, "a closing brace is missing"},
        {L"HKCR { NoRemove }", 16, "a key name is expected"},
        {L"HKCR { NoRemove ForceRemove A }", 16, "a key name is expected"},
        {L"HKCR { NoRemove val A = s 'x' }", 16, "a key name is expected"},
        {L"HKCR { { } }", 7, "a key name is expected"},
        {L"HKCR { = s 'x' }", 7, "a key name is expected"},
        {L"HKCR { '' }", 7, "an empty key name"},
        {L"HKCR { ForceRemove '' }", 19, "an empty key name"},
        {L"HKCR { A\\B }", 7, "a backslash in a key name"},
        {L"HKCR { A = }", 11, "a type, s or d, is expected"},
        {L"HKCR { A = x 'y' }", 11, "a type, s or d, is expected"},
        {L"HKCR { A = 's' 'y' }", 11, "a type, s or d, is expected"},
        {L"HKCR { A = s y }", 13, "a quoted text is expected"},
        {L"HKCR { A = s", 12, "a quoted text is expected"},
        {L"HKCR { A = s 'y }", 13, "a quote that is not closed"},
        {L"HKCR { 'A }", 7, "a quote that is not closed"},
        {L"HKCR { A = d '' }", 13, "not a number of 32 bits"},
        {L"HKCR { A = d '0x' }", 13, "not a number of 32 bits"},
        {L"HKCR { A = d '12a' }", 13, "not a number of 32 bits"},
        {L"HKCR { A = d '-1' }", 13, "not a number of 32 bits"},
        {L"HKCR { A = d '4294967296' }", 13, "not a number of 32 bits"},
        {L"HKCR { val }", 11, "a value name is expected"},
        {L"HKCR { val = s 'x' }", 11, "a value name is expected"},
        {L"HKCR { val A s 'x' }", 13, "an equals sign is expected after the value name"},
        {L"HKCR { } 'x", 9, "a quote that is not closed"},
        {L"HKCR { } ; 'x", 11, "a quote that is not closed"},
        {L"HKCR { ; 'x", 9, "a quote that is not closed"},
        {{L"HKCR { } \0", 10}, 9, "a null character"},
        {{L"HKCR { A\0B }", 12}, 7, "a null character"},
        {{L"HKCR { 'A\0' }", 13}, 7, "a null character"},
    };
    for (const MalformedCase& malformed : cases) {
        SCOPED_TRACE(std::string(malformed.text.begin(), malformed.text.end()));
        const RegistryScriptError error = ErrorOf(malformed.text);
        EXPECT_EQ(error.position, malformed.position);
        EXPECT_STREQ(error.reason, malformed.reason);
    }
}

TEST(RegistryScriptTest, KeyNamesHaveTheRegistrysOwnLimit) {
    const std::wstring name(255, L'n');
    EXPECT_EQ(Parse(L"HKLM { " + name + L" }")[0].children[0].name, name);
    EXPECT_STREQ(ErrorOf(L"HKLM { n" + name + L" }").reason, "a key name of more than 255 characters");
}

TEST(RegistryScriptTest, NestingIsBounded) {
    const auto nested = [](int depth) {
        std::wstring text = L"HKLM { ";
        for (int level = 1; level < depth; ++level) text += L"A { ";
        for (int level = 0; level < depth; ++level) text += L"} ";
        return text;
    };
    Parse(nested(32));
    EXPECT_STREQ(ErrorOf(nested(33)).reason, "nested too deeply");
    EXPECT_STREQ(ErrorOf(nested(100000)).reason, "nested too deeply");
}

// Replacement.

std::wstring Replace(std::wstring_view script) {
    const RegistryReplacements replacements = {
        {L"Module", L"C:\\x.dll"}, {L"APPID", L"{1}"}, {L"Loop", L"%APPID%"}};
    std::wstring replaced = L"untouched";
    const auto error = ReplaceNames(script, replacements, replaced);
    if (error) return std::to_wstring(error->position) + (replaced == L"untouched" ? L" error" : L" touched");
    return replaced;
}

TEST(RegistryScriptTest, EveryNameIsReplaced) {
    EXPECT_EQ(Replace(L""), L"");
    EXPECT_EQ(Replace(L"nothing"), L"nothing");
    EXPECT_EQ(Replace(L"%APPID%%Module%-%APPID%"), L"{1}C:\\x.dll-{1}");
    EXPECT_EQ(Replace(L"%appid%"), L"{1}") << "names are known in any case";
    EXPECT_EQ(Replace(L"100%% of %APPID%"), L"100% of {1}");
    EXPECT_EQ(Replace(L"%Loop%"), L"%APPID%") << "what was put is not searched again";
}

TEST(RegistryScriptTest, UnknownAndUnfinishedNamesAreErrors) {
    EXPECT_EQ(Replace(L"a %Nobody% b"), L"2 error");
    EXPECT_EQ(Replace(L"%APPID% %"), L"8 error");
    EXPECT_EQ(Replace(L"50%"), L"2 error");
}

TEST(RegistryScriptTest, EscapedQuotesSurviveParsing) {
    const std::wstring path = L"C:\\Bob's 'files'\\x.dll";
    EXPECT_EQ(EscapeQuotes(L"it's"), L"it''s");
    EXPECT_EQ(Text(*Parse(L"HKLM { A = s '" + EscapeQuotes(path) + L"' }")[0].children[0].defaultValue),
              path);
}

}  // namespace
