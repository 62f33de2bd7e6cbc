#include "host/services/wql.h"

#include <gmock/gmock.h>

namespace {

using namespace velkhost;
using testing::ElementsAre;
using testing::IsEmpty;

WqlQuery Parsed(std::wstring_view text) {
    WqlResult result = ParseWql(text);
    EXPECT_TRUE(result.query) << testing::PrintToString(result.error);
    return result.query.value_or(WqlQuery{});
}

WqlLiteral Literal(const std::wstring& text) {
    const WqlQuery query = Parsed(L"SELECT * FROM C WHERE P = " + text);
    return query.terms.empty() ? WqlLiteral{} : query.terms.front().literal;
}

TEST(Wql, KeywordsAreReadInAnyCaseAndNamesKeptAsWritten) {
    const WqlQuery query = Parsed(L"  select Size ,SMBiosData\tfrom MSSmBios_RawSMBiosTables ");
    EXPECT_THAT(query.properties, ElementsAre(L"Size", L"SMBiosData"));
    EXPECT_EQ(query.className, L"MSSmBios_RawSMBiosTables");
    EXPECT_FALSE(query.isSchema);
    EXPECT_THAT(query.terms, IsEmpty());
}

TEST(Wql, AQueryInUpperCaseOfMetaClassIsASchemaQuery) {
    const WqlQuery query = Parsed(L"SELECT * FROM META_CLASS WHERE __CLASS = \"X\"");
    EXPECT_TRUE(query.isSchema);
    ASSERT_EQ(query.terms.size(), 1u);
    EXPECT_EQ(query.terms[0].property, L"__CLASS");
    EXPECT_EQ(query.terms[0].literal.text, L"X");
}

TEST(Wql, TermsAreJoinedByAnd) {
    const WqlQuery query = Parsed(L"SELECT * FROM C WHERE a='x' AND b=TRUE and c = -7");
    ASSERT_EQ(query.terms.size(), 3u);
    EXPECT_EQ(query.terms[0].literal.text, L"x");
    EXPECT_TRUE(query.terms[1].literal.truth);
    EXPECT_TRUE(query.terms[2].literal.negative);
    EXPECT_EQ(query.terms[2].literal.magnitude, 7u);
}

TEST(Wql, IsaIsReadInSchemaQueriesOnly) {
    const WqlQuery query = Parsed(L"SELECT * FROM meta_class WHERE __this ISA \"Base\"");
    ASSERT_EQ(query.terms.size(), 1u);
    EXPECT_EQ(query.terms[0].kind, WqlTerm::Kind::kIsDerived);
    EXPECT_EQ(query.terms[0].literal.text, L"Base");
    EXPECT_FALSE(ParseWql(L"SELECT * FROM C WHERE __this ISA \"Base\"").query);
    EXPECT_FALSE(ParseWql(L"SELECT * FROM meta_class WHERE __this ISA 5").query);
}

TEST(Wql, ABackslashTakesTheNextCharacterAsItIs) {
    EXPECT_EQ(Literal(LR"("a\\b\"c'd")").text, L"a\\b\"c'd");
    EXPECT_EQ(Literal(LR"('a\'b"c')").text, L"a'b\"c");
}

TEST(Wql, IntegersSpanSixtyFourBitsInDecimalAndHexadecimal) {
    EXPECT_EQ(Literal(L"18446744073709551615").magnitude, UINT64_MAX);
    EXPECT_EQ(Literal(L"0xFfFfFfFfFfFfFfFf").magnitude, UINT64_MAX);
    EXPECT_EQ(Literal(L"-9223372036854775808").magnitude, std::uint64_t{1} << 63);
    EXPECT_FALSE(Literal(L"-0").negative);
    EXPECT_EQ(Literal(L"+5").magnitude, 5u);
}

TEST(Wql, TheMessageTellsWhereAndWhat) {
    EXPECT_EQ(ParseWql(L"SELECT * FORM C").error, L"the word from is expected (at character 10)");
}

class InvalidWql : public testing::TestWithParam<const wchar_t*> {};

TEST_P(InvalidWql, IsRefusedWithAMessage) {
    const WqlResult result = ParseWql(GetParam());
    EXPECT_FALSE(result.query);
    EXPECT_FALSE(result.error.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, InvalidWql,
    testing::Values(L"", L"garbage", L"SELECT", L"SELECT *", L"SELECT * FROM", L"SELECT a, FROM C",
                    L"SELECT *, a FROM C", L"SELECT a b FROM C", L"SELECT * FROM 1C", L"SELECT * FROM C D",
                    L"SELECT * FROM C WHERE", L"SELECT * FROM C WHERE a", L"SELECT * FROM C WHERE a =",
                    L"SELECT * FROM C WHERE a <> 1", L"SELECT * FROM C WHERE a = \"x",
                    L"SELECT * FROM C WHERE a = \"x\\\"", L"SELECT * FROM C WHERE a = x",
                    L"SELECT * FROM C WHERE a = 1.5", L"SELECT * FROM C WHERE a = 0x",
                    L"SELECT * FROM C WHERE a = 12g", L"SELECT * FROM C WHERE a = 18446744073709551616",
                    L"SELECT * FROM C WHERE a = -9223372036854775809",
                    L"SELECT * FROM C WHERE a = 1 OR b = 2", L"SELECT * FROM C WHERE a = 1 AND",
                    L"SELECT a FROM meta_class", L"ASSOCIATORS OF {C.a=1}"));

TEST(HostileWql, TenThousandTermsAreRead) {
    std::wstring text = L"SELECT * FROM X WHERE P = 0";
    for (int number = 1; number < 10000; ++number) text += L" AND P = " + std::to_wstring(number);
    const WqlResult result = ParseWql(text);
    ASSERT_TRUE(result.query);
    ASSERT_EQ(result.query->terms.size(), 10000u);
    EXPECT_EQ(result.query->terms.back().literal.magnitude, 9999u);
}

TEST(HostileWql, AMegabyteIsReadWhenItsQuoteIsClosedAndRefusedWhenNot) {
    const std::wstring open = L"SELECT * FROM X WHERE P = '" + std::wstring(1 << 20, L'v');
    EXPECT_FALSE(ParseWql(open).query);
    EXPECT_FALSE(ParseWql(open + L"\\'").query);
    const WqlResult result = ParseWql(open + L"'");
    ASSERT_TRUE(result.query);
    EXPECT_EQ(result.query->terms[0].literal.text.size(), std::size_t{1} << 20);
}

TEST(HostileWql, AZeroCharacterBelongsToATextAndToNothingElse) {
    using namespace std::string_literals;
    const WqlResult result = ParseWql(L"SELECT * FROM X WHERE P = 'a\0b'"s);
    ASSERT_TRUE(result.query);
    EXPECT_EQ(result.query->terms[0].literal.text, L"a\0b"s);
    EXPECT_FALSE(ParseWql(L"SELECT\0* FROM X"s).query);
    EXPECT_FALSE(ParseWql(L"SELECT * FROM X\0"s).query);
}

}  // namespace
