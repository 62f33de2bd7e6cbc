#include "common/text.h"

#include <gtest/gtest.h>

namespace velk {
namespace {

TEST(FormatText, ReadsPercentSAsWideText) {
    EXPECT_EQ(FormatText(L"%s.%s=\"%s\"", L"Class", CString(L"Key"), L"\x00e9\x4e2d"),
              L"Class.Key=\"\x00e9\x4e2d\"");
}

TEST(FormatText, KnowsTheWindowsIntegerConversions) {
    EXPECT_EQ(FormatText(L"%d %ld %02d %04.4d %03.3d %I64u %I64d", -1, -2L, 7, 20, 5, 18446744073709551615ull,
                         -3ll),
              L"-1 -2 07 0020 005 18446744073709551615 -3");
}

TEST(FormatText, TakesNarrowTextAndCharacters) { EXPECT_EQ(FormatText(L"%S%c", "narrow", L'+'), L"narrow+"); }

TEST(FormatText, KnowsAllConversionsOfTexts) {
    EXPECT_EQ(FormatText(L"%5s|%-3s|%.1s|100%%", L"ab", L"c", L"de"), L"   ab|c  |d|100%");
    EXPECT_EQ(FormatText(L"%s and %S", L"wide", "narrow"), L"wide and narrow");
    EXPECT_EQ(FormatText(L"100%%"), L"100%");
    EXPECT_EQ(FormatText(L"<%s>", static_cast<const wchar_t*>(nullptr)), L"<(null)>");
}

TEST(FormatText, ATextEndsAtItsFirstZero) {
    EXPECT_EQ(FormatText(L"%s.", CString(L"a\0b", 3)), L"a.");
    EXPECT_EQ(FormatText(L"%s%d", CString(L"a\0b", 3), 1), L"a1");
}

TEST(FormatText, MakesTextsLongerThanAnyFixedBuffer) {
    const CString longText(70000, L'x');
    EXPECT_EQ(FormatText(L"<%s>", longText), L"<" + longText + L">");
}

TEST(FormatText, MakesTextsOfEveryLengthAroundThatOfTheFixedBuffer) {
    for (std::size_t length = 250; length <= 260; ++length)
        EXPECT_EQ(FormatText(L"%s", CString(length, L'x')), CString(length, L'x')) << length;
}

TEST(FormatText, MakesAnEmptyTextOfAnEmptyFormat) { EXPECT_EQ(FormatText(L""), L""); }

TEST(Text, ComparesWithoutRegardToCase) {
    EXPECT_TRUE(EqualsIgnoringCase(L"DeviceID", L"deviceid"));
    EXPECT_FALSE(EqualsIgnoringCase(L"DeviceID", L"deviceid "));
}

TEST(Text, UpperCasesLatinLetters) { EXPECT_EQ(ToUpper(L"VelkWmiPci.DLL"), L"VELKWMIPCI.DLL"); }

}  // namespace
}  // namespace velk
