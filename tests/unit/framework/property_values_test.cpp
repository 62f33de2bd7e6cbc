#include "framework/property_values.h"

#include <gmock/gmock.h>

#include <limits>
#include <new>

#include "common/wbem_status.h"
#include "support/fake_wbem.h"
#include "support/stand_ins.h"
#include "support/variant_readers.h"

namespace {

using testing::ElementsAre;
using velk::CString;
using velktest::FakeClassObject;
using velktest::StandIn;

constexpr wchar_t kName[] = L"Property";

/// A WMI object, what was written to it, and the proof that nothing of it leaked.
class PropertyValuesTest : public testing::Test {
  protected:
    ~PropertyValuesTest() override {
        EXPECT_TRUE(object_->plainCalls) << "flags, type or flavour was passed to Put or Get";
        object_.Reset();
        EXPECT_EQ(velktest::LiveFakes(), 0);
    }

    IWbemClassObject* Object() const { return object_.Get(); }
    VARTYPE Type() const { return object_->Find(kName)->vt; }
    LONG Long() const { return object_->Find(kName)->lVal; }
    CString Text() const { return object_->Text(kName); }

    /// The elements of the array that was written.
    template <class Element>
    std::vector<Element> Elements() const {
        return velktest::Elements<Element>(object_->Find(kName), static_cast<VARTYPE>(Type() & ~VT_ARRAY));
    }

    velk::ComPtr<FakeClassObject> object_ = FakeClassObject::Make();
};

// Writers.

TEST_F(PropertyValuesTest, BooleansAreWrittenAsVariantTrueAndFalse) {
    EXPECT_EQ(velk::SetBoolProperty(Object(), kName, true), S_OK);
    EXPECT_EQ(Type(), VT_BOOL);
    EXPECT_EQ(object_->Find(kName)->boolVal, VARIANT_TRUE);
    EXPECT_EQ(velk::SetBoolProperty(Object(), kName, false), S_OK);
    EXPECT_EQ(Type(), VT_BOOL);
    EXPECT_EQ(object_->Find(kName)->boolVal, VARIANT_FALSE);
}

TEST_F(PropertyValuesTest, BytesKeepTheirOwnTypes) {
    EXPECT_EQ(velk::SetUInt8Property(Object(), kName, 255), S_OK);
    EXPECT_EQ(Type(), VT_UI1);
    EXPECT_EQ(object_->Find(kName)->bVal, 255);
    EXPECT_EQ(velk::SetSInt8Property(Object(), kName, -128), S_OK);
    EXPECT_EQ(Type(), VT_I1);
    EXPECT_EQ(object_->Find(kName)->cVal, -128);
}

TEST_F(PropertyValuesTest, SixteenBitsTravelAsVtI4) {
    EXPECT_EQ(velk::SetUInt16Property(Object(), kName, 65535), S_OK);
    EXPECT_EQ(Type(), VT_I4);
    EXPECT_EQ(Long(), 65535);
    EXPECT_EQ(velk::SetSInt16Property(Object(), kName, -1), S_OK);
    EXPECT_EQ(Type(), VT_I4);
    EXPECT_EQ(Long(), -1);
}

TEST_F(PropertyValuesTest, ThirtyTwoBitsKeepTheirPattern) {
    EXPECT_EQ(velk::SetUInt32Property(Object(), kName, 0xFFFFFFFF), S_OK);
    EXPECT_EQ(Type(), VT_I4);
    EXPECT_EQ(Long(), -1);
    EXPECT_EQ(velk::SetSInt32Property(Object(), kName, std::numeric_limits<LONG>::min()), S_OK);
    EXPECT_EQ(Type(), VT_I4);
    EXPECT_EQ(Long(), std::numeric_limits<LONG>::min());
}

TEST_F(PropertyValuesTest, SixtyFourBitsTravelAsDecimalText) {
    EXPECT_EQ(velk::SetUInt64Property(Object(), kName, 18446744073709551615U), S_OK);
    EXPECT_EQ(Type(), VT_BSTR);
    EXPECT_EQ(Text(), L"18446744073709551615");
    EXPECT_EQ(velk::SetSInt64Property(Object(), kName, -1), S_OK);
    EXPECT_EQ(Type(), VT_BSTR);
    EXPECT_EQ(Text(), L"-1");
    velk::SetSInt64Property(Object(), kName, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Text(), L"-9223372036854775808");
}

TEST_F(PropertyValuesTest, StringsOfAllFormsAreWrittenAsBstr) {
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, CString(L"counted")), S_OK);
    EXPECT_EQ(Type(), VT_BSTR);
    EXPECT_EQ(Text(), L"counted");
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, L"wide \x20AC"), S_OK);
    EXPECT_EQ(Text(), L"wide \x20AC");
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, "narrow"), S_OK);
    EXPECT_EQ(Type(), VT_BSTR);
    EXPECT_EQ(Text(), L"narrow");
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, "n"), S_OK);
    EXPECT_EQ(Text(), L"n");
}

TEST_F(PropertyValuesTest, NarrowTextIsInTheAnsiCodePage) {
    wchar_t expected[8] = {};
    ::MultiByteToWideChar(CP_ACP, 0, "\xE9\xDF", -1, expected, 8);
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, "\xE9\xDF"), S_OK);
    EXPECT_EQ(Text(), expected);
}

TEST_F(PropertyValuesTest, EmptyStringsAreWrittenAsEmptyNotAsNull) {
    for (int form = 0; form < 5; ++form) {
        SCOPED_TRACE(form);
        const wchar_t* const noWide = nullptr;
        const char* const noNarrow = nullptr;
        const HRESULT written = form == 0   ? velk::SetStringProperty(Object(), kName, CString())
                                : form == 1 ? velk::SetStringProperty(Object(), kName, L"")
                                : form == 2 ? velk::SetStringProperty(Object(), kName, "")
                                : form == 3 ? velk::SetStringProperty(Object(), kName, noWide)
                                            : velk::SetStringProperty(Object(), kName, noNarrow);
        EXPECT_EQ(written, S_OK);
        EXPECT_EQ(Type(), VT_BSTR);
        EXPECT_EQ(::SysStringLen(object_->Find(kName)->bstrVal), 0U);
    }
}

TEST_F(PropertyValuesTest, StringArraysKeepTheirOrder) {
    EXPECT_EQ(velk::SetStringArrayProperty(Object(), kName, {L"one", L"", L"three"}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_BSTR);
    const std::vector<BSTR> read = Elements<BSTR>();
    std::vector<velk::Bstr> owned;
    std::vector<CString> texts;
    for (const BSTR text : read) texts.emplace_back(owned.emplace_back(velk::Bstr::Adopt(text)).View());
    EXPECT_THAT(texts, ElementsAre(L"one", L"", L"three"));
}

TEST_F(PropertyValuesTest, EmptyVectorsGiveArraysWithoutElements) {
    EXPECT_EQ(velk::SetStringArrayProperty(Object(), kName, {}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_BSTR);
    EXPECT_TRUE(Elements<BSTR>().empty());
    EXPECT_EQ(velk::SetUInt16ArrayProperty(Object(), kName, {}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_I4);
    EXPECT_TRUE(Elements<LONG>().empty());
    EXPECT_EQ(velk::SetUInt8ArrayProperty(Object(), kName, {}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_UI1);
    EXPECT_TRUE(Elements<unsigned char>().empty());
}

TEST_F(PropertyValuesTest, IntegerArraysHaveTheElementTypeOfTheirCimType) {
    EXPECT_EQ(velk::SetUInt32ArrayProperty(Object(), kName, {1, 0xFFFFFFFF}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_I4);
    EXPECT_THAT(Elements<LONG>(), ElementsAre(1, -1));
    EXPECT_EQ(velk::SetSInt32ArrayProperty(Object(), kName, {-5, 5}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_I4);
    EXPECT_THAT(Elements<LONG>(), ElementsAre(-5, 5));
    EXPECT_EQ(velk::SetUInt16ArrayProperty(Object(), kName, {0, 65535}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_I4);
    EXPECT_THAT(Elements<LONG>(), ElementsAre(0, 65535));
    EXPECT_EQ(velk::SetUInt8ArrayProperty(Object(), kName, {0, 255}), S_OK);
    EXPECT_EQ(Type(), VT_ARRAY | VT_UI1);
    EXPECT_THAT(Elements<unsigned char>(), ElementsAre(0, 255));
}

TEST_F(PropertyValuesTest, WritersAnswerWhatPutAnswers) {
    constexpr HRESULT kRefused = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    object_->FailPut(kName, kRefused);
    EXPECT_EQ(velk::SetBoolProperty(Object(), kName, true), kRefused);
    EXPECT_EQ(velk::SetUInt16Property(Object(), kName, 1), kRefused);
    EXPECT_EQ(velk::SetUInt64Property(Object(), kName, 1), kRefused);
    EXPECT_EQ(velk::SetStringProperty(Object(), kName, L"text"), kRefused);
    EXPECT_EQ(velk::SetDateTimeProperty(Object(), kName, SYSTEMTIME{}), kRefused);
    EXPECT_EQ(velk::SetStringArrayProperty(Object(), kName, {L"text"}), kRefused);
    EXPECT_EQ(velk::SetUInt8ArrayProperty(Object(), kName, {1}), kRefused);
}

// Want of memory.

int g_allocationToFail = 0;

BSTR WINAPI AllocateButOne(const OLECHAR* text, UINT length) {
    static const auto real = reinterpret_cast<decltype(&::SysAllocStringLen)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"oleaut32.dll"), "SysAllocStringLen")));
    return --g_allocationToFail == 0 ? nullptr : real(text, length);
}

TEST_F(PropertyValuesTest, StringThatCannotBeCopiedIsLeftOutOfTheArray) {
    g_allocationToFail = 2;
    const StandIn failing("SysAllocStringLen", &AllocateButOne);
    EXPECT_EQ(velk::SetStringArrayProperty(Object(), kName, {L"one", L"two", L"three"}), S_OK);
    const std::vector<BSTR> read = Elements<BSTR>();
    std::vector<velk::Bstr> owned;
    for (const BSTR text : read) owned.push_back(velk::Bstr::Adopt(text));
    ASSERT_EQ(owned.size(), 3U);
    EXPECT_EQ(owned[0].View(), L"one");
    EXPECT_EQ(owned[1].View(), L"three");
    // SafeArrayGetElement may copy a null element as an empty text.
    BSTR* elements = nullptr;
    ASSERT_EQ(::SafeArrayAccessData(object_->Find(kName)->parray, reinterpret_cast<void**>(&elements)), S_OK);
    EXPECT_EQ(::SysStringLen(elements[2]), 0U);
    ::SafeArrayUnaccessData(object_->Find(kName)->parray);
}

TEST_F(PropertyValuesTest, ScalarTextThatCannotBeCopiedIsOutOfMemory) {
    g_allocationToFail = 1;
    const StandIn failing("SysAllocStringLen", &AllocateButOne);
    EXPECT_THROW(velk::SetStringProperty(Object(), kName, L"text"), std::bad_alloc);
    EXPECT_TRUE(object_->puts.empty());
}

SAFEARRAY* WINAPI MakeNoArray(VARTYPE, UINT, SAFEARRAYBOUND*) { return nullptr; }

TEST_F(PropertyValuesTest, ArrayThatCannotBeMadeIsOutOfMemory) {
    const StandIn failing("SafeArrayCreate", &MakeNoArray);
    EXPECT_THROW(velk::SetStringArrayProperty(Object(), kName, {L"text"}), std::bad_alloc);
    EXPECT_THROW(velk::SetUInt16ArrayProperty(Object(), kName, {1}), std::bad_alloc);
    EXPECT_TRUE(object_->puts.empty());
}

// Date and time.

constexpr SYSTEMTIME kSpringMorning = {2020, 5, 0, 17, 8, 30, 0, 250};

DWORD WINAPI ZoneOneHourEast(TIME_ZONE_INFORMATION* zone) {
    *zone = {};
    zone->Bias = -60;
    return TIME_ZONE_ID_UNKNOWN;
}

/// UTC+1, in summer (last Sundays of March and October) UTC+2. Answers that it is winter now.
DWORD WINAPI ZoneWithSummerTime(TIME_ZONE_INFORMATION* zone) {
    ZoneOneHourEast(zone);
    zone->StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};
    zone->DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
    zone->DaylightBias = -60;
    return TIME_ZONE_ID_STANDARD;
}

TEST_F(PropertyValuesTest, LocalTimeIsWrittenAsUtc) {
    const StandIn zone("GetTimeZoneInformation", &ZoneOneHourEast);
    EXPECT_EQ(velk::SetDateTimeProperty(Object(), kName, kSpringMorning), S_OK);
    EXPECT_EQ(Type(), VT_BSTR);
    EXPECT_EQ(Text(), L"20200517073000.250000+000");
}

TEST_F(PropertyValuesTest, ConversionFollowsTheRuleForTheGivenDate) {
    const StandIn zone("GetTimeZoneInformation", &ZoneWithSummerTime);
    velk::SetDateTimeProperty(Object(), kName, kSpringMorning);
    EXPECT_EQ(Text(), L"20200517063000.250000+000");
    velk::SetDateTimeProperty(Object(), kName, {2020, 1, 0, 1, 0, 5, 9, 7});
    EXPECT_EQ(Text(), L"20191231230509.007000+000");
}

HMODULE WINAPI LoadNothing(const wchar_t*) { return nullptr; }
FARPROC WINAPI FindNothing(HMODULE, const char*) { return nullptr; }

TEST_F(PropertyValuesTest, WithoutTheConversionTheLocalTimeIsWritten) {
    const StandIn zone("GetTimeZoneInformation", &ZoneOneHourEast);
    {
        const StandIn library("LoadLibraryW", &LoadNothing);
        velk::SetDateTimeProperty(Object(), kName, kSpringMorning);
        EXPECT_EQ(Text(), L"20200517083000.250000+000");
    }
    const StandIn function("GetProcAddress", &FindNothing);
    velk::SetDateTimeProperty(Object(), kName, {2021, 1, 0, 2, 3, 4, 5, 6});
    EXPECT_EQ(Text(), L"20210102030405.006000+000");
}

TEST_F(PropertyValuesTest, WithoutTheConversionTheOutputIsLeftAlone) {
    const StandIn function("GetProcAddress", &FindNothing);
    SYSTEMTIME utc = {1999, 1, 2, 3, 4, 5, 6, 7};
    velk::LocalTimeToUtc(kSpringMorning, utc);
    EXPECT_EQ(utc.wYear, 1999);
    EXPECT_EQ(utc.wMilliseconds, 7);
}

}  // namespace
