#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "host/path/object_path.h"

namespace {

using velkhost::FormatFullPath;
using velkhost::FormatLocalPath;
using velkhost::FormatRelativePath;
using velkhost::ObjectPath;
using velkhost::ParseObjectPath;
using velkhost::SingleIdentifier;

/// The single key's value of a path that must be good.
velkhost::PathKeyValue OnlyValue(std::wstring_view text) {
    const auto path = ParseObjectPath(text);
    if (!path || path->keys.size() != 1) throw std::runtime_error("not a path with one key");
    return path->keys.front().value;
}

TEST(ObjectPath, FullPathIsTakenApart) {
    const auto path =
        ParseObjectPath(LR"(\\SRV01.example.com\root\VKQ:Velk_PCISlot.Tag="PCI Slot 1",Number=3)");
    ASSERT_TRUE(path);
    EXPECT_EQ(path->server, L"SRV01.example.com");
    EXPECT_EQ(path->namespaces, (std::vector<std::wstring>{L"root", L"VKQ"}));
    EXPECT_EQ(path->className, L"Velk_PCISlot");
    ASSERT_EQ(path->keys.size(), 2u);
    EXPECT_EQ(path->keys[0].name, L"Tag");
    EXPECT_EQ(path->keys[0].value, velkhost::PathKeyValue(L"PCI Slot 1"));
    EXPECT_EQ(path->keys[1].value, velkhost::PathKeyValue(std::int64_t{3}));
    EXPECT_TRUE(path->IsInstance());
}

TEST(ObjectPath, SlashesSeparateAsBackslashesDo) {
    EXPECT_EQ(ParseObjectPath(L"//./root/cimv2:X"), ParseObjectPath(LR"(\\.\root\cimv2:X)"));
}

TEST(ObjectPath, EmptyTextIsAnEmptyPath) { EXPECT_EQ(ParseObjectPath(L""), ObjectPath()); }

TEST(ObjectPath, SeveralNamesWithoutAColonAreANamespace) {
    const auto path = ParseObjectPath(LR"(root\cimv2)");
    ASSERT_TRUE(path);
    EXPECT_EQ(path->namespaces.size(), 2u);
    EXPECT_EQ(path->className, L"");
}

TEST(ObjectPath, SingleNameIsAClassUnlessAskedOtherwise) {
    EXPECT_EQ(ParseObjectPath(L"root")->className, L"root");
    EXPECT_EQ(ParseObjectPath(LR"(\\.\root)")->className, L"root");
    EXPECT_EQ(ParseObjectPath(L"root", SingleIdentifier::kNamespace)->namespaces.size(), 1u);
    EXPECT_EQ(ParseObjectPath(LR"(\\.\root)", SingleIdentifier::kNamespace)->className, L"");
}

TEST(ObjectPath, EscapedQuotesAndBackslashesAreUnescaped) {
    EXPECT_EQ(OnlyValue(LR"(X.K="PCIIDE\\IDECHANNEL\\4&39EC5D8A&0&0")"),
              velkhost::PathKeyValue(LR"(PCIIDE\IDECHANNEL\4&39EC5D8A&0&0)"));
    EXPECT_EQ(OnlyValue(LR"(X.K="a\"b")"), velkhost::PathKeyValue(LR"(a"b)"));
    EXPECT_EQ(OnlyValue(LR"(X.K="a\\")"), velkhost::PathKeyValue(LR"(a\)"));
}

TEST(ObjectPath, LoneBackslashBeforeAnotherCharacterStays) {
    EXPECT_EQ(OnlyValue(LR"(X.K="C:\Windows")"), velkhost::PathKeyValue(LR"(C:\Windows)"));
}

TEST(ObjectPath, SingleQuotesEncloseTextWithDoubleQuotes) {
    EXPECT_EQ(OnlyValue(LR"(X.K='a"b,c=1')"), velkhost::PathKeyValue(LR"(a"b,c=1)"));
    EXPECT_EQ(OnlyValue(LR"(X.K='it\'s')"), velkhost::PathKeyValue(L"it's"));
}

TEST(ObjectPath, SeparatorsInsideQuotesBelongToTheValue) {
    const auto path = ParseObjectPath(LR"(X.A="p:q.r=s,t/u\\v",B="")");
    ASSERT_TRUE(path);
    ASSERT_EQ(path->keys.size(), 2u);
    EXPECT_EQ(path->keys[0].value, velkhost::PathKeyValue(LR"(p:q.r=s,t/u\v)"));
    EXPECT_EQ(path->keys[1].value, velkhost::PathKeyValue(L""));
}

TEST(ObjectPath, ReferencePathAsKeyValueSurvivesTheRoundTrip) {
    ObjectPath inner =
        *ParseObjectPath(LR"(\\S\root\VKQ:Velk_PCICard.CreationClassName="Velk_PCICard",Tag="a\"b")");
    ObjectPath outer;
    outer.className = L"Velk_PCICardInSlot";
    outer.keys.push_back({L"Antecedent", FormatFullPath(inner)});
    const auto read = ParseObjectPath(FormatRelativePath(outer));
    ASSERT_TRUE(read);
    EXPECT_EQ(ParseObjectPath(std::get<std::wstring>(read->keys.at(0).value)), inner);
}

TEST(ObjectPath, NumbersAreDecimalOrHexadecimal) {
    EXPECT_EQ(OnlyValue(L"X.K=42"), velkhost::PathKeyValue(std::int64_t{42}));
    EXPECT_EQ(OnlyValue(L"X.K=-42"), velkhost::PathKeyValue(std::int64_t{-42}));
    EXPECT_EQ(OnlyValue(L"X.K=0x1aF"), velkhost::PathKeyValue(std::int64_t{0x1AF}));
    EXPECT_EQ(OnlyValue(L"X.K=-9223372036854775808"),
              velkhost::PathKeyValue(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(OnlyValue(L"X.K=18446744073709551615"),
              velkhost::PathKeyValue(std::numeric_limits<std::uint64_t>::max()));
}

TEST(ObjectPath, TruthValuesReadInAnyCase) {
    EXPECT_EQ(OnlyValue(L"X.K=TRUE"), velkhost::PathKeyValue(true));
    EXPECT_EQ(OnlyValue(L"X.K=false"), velkhost::PathKeyValue(false));
}

TEST(ObjectPath, ImpliedKeyHasNoName) {
    const auto path = ParseObjectPath(LR"(X="a")");
    ASSERT_TRUE(path);
    ASSERT_EQ(path->keys.size(), 1u);
    EXPECT_EQ(path->keys.front().name, L"");
    EXPECT_EQ(FormatRelativePath(*path), LR"(X="a")");
}

TEST(ObjectPath, SingletonHasNoKeys) {
    const auto path = ParseObjectPath(LR"(root\cimv2:X=@)");
    ASSERT_TRUE(path);
    EXPECT_TRUE(path->singleton);
    EXPECT_TRUE(path->keys.empty());
    EXPECT_TRUE(path->IsInstance());
    EXPECT_EQ(FormatRelativePath(*path), L"X=@");
}

TEST(ObjectPath, ZeroCharacterInsideQuotesIsKept) {
    const std::wstring text(L"X.K=\"a\0b\"", 9);
    EXPECT_EQ(OnlyValue(text), velkhost::PathKeyValue(std::wstring(L"a\0b", 3)));
}

class BadPath : public testing::TestWithParam<const wchar_t*> {};

TEST_P(BadPath, IsRefused) { EXPECT_FALSE(ParseObjectPath(GetParam())); }

INSTANTIATE_TEST_SUITE_P(
    ObjectPath, BadPath,
    testing::Values(L"\\", L"\\\\", LR"(/root/cimv2:X)", LR"(/\.\root\cimv2)", LR"(\\\root\VKQ:X)",
                    LR"(\\.\)", LR"(root\)", LR"(root\cimv2:)", L":X", L"root::X", LR"(root\\cimv2:X)",
                    LR"(root\X.K=1)", L"1X", L"X-Y", L"X Y", L" X", L"X ", L"X.", L"X.K", L"X.K=", L"X.=1",
                    L"X.1K=1", L"X=", L"X=@1", L"X.@", L"X.K=@", L"X.K=1,", L"X.K=1,,L=2", L"X.K=1;L=2",
                    LR"(X.K = "C:")", LR"(X.K= "C:")", LR"(X .K="C:")", LR"(X.K="C:" )", LR"(X.K="a",L)",
                    LR"(X.K="a)", LR"(X.K='a")", LR"(X.K="a\")", LR"(X.K="a"b)", LR"(X="a","b")",
                    LR"(X="a",K="b")", L"X.K=1 ", L"X.K=+1", L"X.K=--1", L"X.K=-", L"X.K=0x", L"X.K=0xG",
                    L"X.K=1a", L"X.K=1.5", L"X.K=yes", L"X.K=18446744073709551616",
                    L"X.K=-9223372036854775809", LR"(X="a"="b")"));

TEST(ObjectPath, ZeroCharacterOutsideQuotesIsRefused) {
    EXPECT_FALSE(ParseObjectPath(std::wstring_view(L"X\0Y", 3)));
    EXPECT_FALSE(ParseObjectPath(std::wstring_view(L"X.K=1\0", 6)));
}

TEST(ObjectPath, TenThousandKeysAreRead) {
    std::wstring text = L"X.";
    for (int i = 0; i < 10000; ++i) {
        if (i != 0) text += L',';
        text += L"K" + std::to_wstring(i) + L"=" + std::to_wstring(i);
    }
    const auto path = ParseObjectPath(text);
    ASSERT_TRUE(path);
    ASSERT_EQ(path->keys.size(), 10000u);
    EXPECT_EQ(path->keys[9999].name, L"K9999");
    EXPECT_EQ(FormatRelativePath(*path), text);
}

TEST(ObjectPath, MegabyteValueIsReadAndWritten) {
    const std::wstring value(1 << 20, L'\\');
    ObjectPath path;
    path.className = L"X";
    path.keys.push_back({L"K", value});
    EXPECT_EQ(ParseObjectPath(FormatRelativePath(path)), path);
}

TEST(ObjectPath, MegabyteUnterminatedTextIsRefused) {
    EXPECT_FALSE(ParseObjectPath(L"X.K=\"" + std::wstring(1 << 20, L'a')));
    EXPECT_FALSE(ParseObjectPath(std::wstring(1 << 20, L'\\')));
}

TEST(ObjectPath, FormsOfTheTextNameWhatTheySay) {
    const auto path = ParseObjectPath(LR"(//SRV/root/cimv2:X.K='a"b\\c',L=0x10,M=true)");
    ASSERT_TRUE(path);
    EXPECT_EQ(FormatRelativePath(*path), LR"(X.K="a\"b\\c",L=16,M=TRUE)");
    EXPECT_EQ(FormatLocalPath(*path), LR"(root\cimv2:X.K="a\"b\\c",L=16,M=TRUE)");
    EXPECT_EQ(FormatFullPath(*path), LR"(\\SRV\root\cimv2:X.K="a\"b\\c",L=16,M=TRUE)");
    EXPECT_EQ(FormatFullPath(*ParseObjectPath(L"root:X")), LR"(\\.\root:X)");
}

TEST(ObjectPath, ServerAloneIsWrittenAsItIsRead) {
    const auto path = ParseObjectPath(LR"(\\SRV)");
    ASSERT_TRUE(path);
    EXPECT_EQ(FormatFullPath(*path), LR"(\\SRV)");
    EXPECT_EQ(ParseObjectPath(FormatFullPath(*path)), path);
}

}  // namespace
