#include <gmock/gmock.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "common/bstr.h"
#include "common/text.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "framework/property_readers_fixture.h"
#include "framework/property_values.h"

namespace {

using testing::ElementsAre;
using velk::CString;
using velk::kWbemFailed;
using velk::kWbemNotFound;
using velk::Variant;
using velktest::MakeVariant;
using velktest::Null;
using velktest::PropertyReadersTest;

struct IntegerCase {
    const char* what;
    Variant value;
    LONG expected;
};

std::vector<IntegerCase> IntegersOfAllTypes() {
    std::vector<IntegerCase> cases;
    cases.push_back({"VT_I1", MakeVariant(VT_I1, [](VARIANT& v) { v.cVal = -2; }), -2});
    cases.push_back({"VT_UI1", MakeVariant(VT_UI1, [](VARIANT& v) { v.bVal = 0xFE; }), 0xFE});
    cases.push_back({"VT_I2", MakeVariant(VT_I2, [](VARIANT& v) { v.iVal = -2; }), -2});
    cases.push_back({"VT_UI2", MakeVariant(VT_UI2, [](VARIANT& v) { v.uiVal = 0xFFFE; }), 0xFFFE});
    cases.push_back({"VT_I4", MakeVariant(VT_I4, [](VARIANT& v) { v.lVal = -70000; }), -70000});
    cases.push_back({"VT_UI4", MakeVariant(VT_UI4, [](VARIANT& v) { v.ulVal = 0xFFFFFFFE; }), -2});
    cases.push_back({"VT_INT", MakeVariant(VT_INT, [](VARIANT& v) { v.intVal = -3; }), -3});
    cases.push_back({"VT_UINT", MakeVariant(VT_UINT, [](VARIANT& v) { v.uintVal = 0xFFFFFFFD; }), -3});
    return cases;
}

TEST_F(PropertyReadersTest, ThirtyTwoBitReadersTakeEveryNarrowIntegerType) {
    for (IntegerCase& integer : IntegersOfAllTypes()) {
        SCOPED_TRACE(integer.what);
        std::int32_t isSigned = 0;
        std::uint32_t isUnsigned = 0;
        Given(std::move(integer.value));
        EXPECT_EQ(velk::GetSInt32Property(object_.Get(), kName, isSigned), S_OK);
        EXPECT_EQ(isSigned, integer.expected);
        EXPECT_EQ(velk::GetUInt32Property(object_.Get(), kName, isUnsigned), S_OK);
        EXPECT_EQ(isUnsigned, static_cast<std::uint32_t>(integer.expected));
    }
}

TEST_F(PropertyReadersTest, NarrowReadersTruncate) {
    Given(Variant::SInt32(0x1234FE80));
    unsigned char byte = 0;
    signed char signedByte = 0;
    std::uint16_t word = 0;
    std::int16_t signedWord = 0;
    EXPECT_EQ(velk::GetUInt8Property(object_.Get(), kName, byte), S_OK);
    EXPECT_EQ(byte, 0x80);
    EXPECT_EQ(velk::GetSInt8Property(object_.Get(), kName, signedByte), S_OK);
    EXPECT_EQ(signedByte, -128);
    EXPECT_EQ(velk::GetUInt16Property(object_.Get(), kName, word), S_OK);
    EXPECT_EQ(word, 0xFE80);
    EXPECT_EQ(velk::GetSInt16Property(object_.Get(), kName, signedWord), S_OK);
    EXPECT_EQ(signedWord, static_cast<std::int16_t>(0xFE80));
}

TEST_F(PropertyReadersTest, BooleanIsTrueWhenNotZero) {
    bool value = false;
    EXPECT_EQ(
        velk::GetBoolProperty(Given(MakeVariant(VT_BOOL, [](VARIANT& v) { v.boolVal = 1; })), kName, value),
        S_OK);
    EXPECT_TRUE(value);
    EXPECT_EQ(velk::GetBoolProperty(Given(Variant::Bool(false)), kName, value), S_OK);
    EXPECT_FALSE(value);
}

TEST_F(PropertyReadersTest, OtherTypesAreFailuresAndWriteNothing) {
    bool boolean = true;
    std::uint32_t number = 7;
    unsigned char byte = 7;
    CString text = L"kept";
    std::uint64_t big = 7;

    Given(Variant::SInt32(0));
    EXPECT_EQ(velk::GetBoolProperty(object_.Get(), kName, boolean), kWbemFailed);
    EXPECT_EQ(velk::GetStringProperty(object_.Get(), kName, text), kWbemFailed);
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, big), kWbemFailed);

    Given(Null());
    EXPECT_EQ(velk::GetBoolProperty(object_.Get(), kName, boolean), kWbemFailed);
    EXPECT_EQ(velk::GetStringProperty(object_.Get(), kName, text), kWbemFailed);
    EXPECT_EQ(velk::GetUInt32Property(object_.Get(), kName, number), kWbemFailed);
    EXPECT_EQ(velk::GetUInt8Property(object_.Get(), kName, byte), kWbemFailed);

    // Booleans and 64-bit integers are no integers of up to 32 bits.
    Given(Variant::Bool(true));
    EXPECT_EQ(velk::GetUInt32Property(object_.Get(), kName, number), kWbemFailed);
    Given(MakeVariant(VT_I8, [](VARIANT& v) { v.llVal = 1; }));
    EXPECT_EQ(velk::GetUInt32Property(object_.Get(), kName, number), kWbemFailed);

    EXPECT_TRUE(boolean);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(text, L"kept");
    EXPECT_EQ(big, 7U);
}

TEST_F(PropertyReadersTest, FailedGetIsPassedOnExceptByNarrowAndArrayReaders) {
    bool boolean = true;
    std::uint32_t number = 7;
    std::uint16_t word = 7;
    CString text = L"kept";
    std::uint64_t big = 7;
    std::vector<std::uint16_t> words = {7};
    IWbemClassObject* const object = object_.Get();
    EXPECT_EQ(velk::GetBoolProperty(object, kMissing, boolean), kWbemNotFound);
    EXPECT_EQ(velk::GetUInt32Property(object, kMissing, number), kWbemNotFound);
    EXPECT_EQ(velk::GetStringProperty(object, kMissing, text), kWbemNotFound);
    EXPECT_EQ(velk::GetUInt64Property(object, kMissing, big), kWbemNotFound);
    EXPECT_EQ(velk::GetUInt16Property(object, kMissing, word), kWbemFailed);
    EXPECT_EQ(velk::GetUInt16ArrayProperty(object, kMissing, words), kWbemFailed);
    EXPECT_TRUE(boolean);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(text, L"kept");
    EXPECT_EQ(big, 7U);
    EXPECT_THAT(words, ElementsAre(7));
}

TEST_F(PropertyReadersTest, StringsAreRead) {
    CString text = L"old";
    EXPECT_EQ(velk::GetStringProperty(Given(Variant::FromText(velk::Bstr(L"new text"))), kName, text), S_OK);
    EXPECT_EQ(text, L"new text");
    // A null BSTR is an empty text.
    EXPECT_EQ(velk::GetStringProperty(Given(Variant::FromText(velk::Bstr())), kName, text), S_OK);
    EXPECT_EQ(text, L"");
}

TEST_F(PropertyReadersTest, SixtyFourBitsAreReadFromDecimalText) {
    std::uint64_t value = 7;
    object_->SetText(kName, L"18446744073709551615");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 18446744073709551615U);
    object_->SetText(kName, L"10");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 10U);
    object_->SetText(kName, L"no number");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 0U);
    object_->SetText(kName, L"0x10");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 0U);
}

}  // namespace
