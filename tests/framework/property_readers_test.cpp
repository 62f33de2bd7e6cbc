#include <gmock/gmock.h>

#include <array>

#include "common/wbem_status.h"
#include "framework/property_values.h"
#include "support/fake_wbem.h"
#include "support/stand_ins.h"

namespace {

using testing::ElementsAre;
using velk::CString;
using velk::kWbemFailed;
using velk::kWbemNotFound;
using velk::Variant;
using velktest::FakeClassObject;
using velktest::StandIn;

constexpr wchar_t kName[] = L"Property";
constexpr wchar_t kMissing[] = L"Missing";

template <class Fill>
Variant MakeVariant(VARTYPE type, Fill fill) {
    Variant made;
    made.Put()->vt = type;
    fill(*made.Address());
    return made;
}

Variant Null() {
    return MakeVariant(VT_NULL, [](VARIANT&) {});
}

/// An array of integers of the given type, with any lower bound.
template <class Element>
Variant MakeArray(VARTYPE type, const std::vector<Element>& values, LONG lower = 0) {
    SAFEARRAYBOUND bound = {static_cast<ULONG>(values.size()), lower};
    velk::UniqueSafeArray array(::SafeArrayCreate(type, 1, &bound));
    LONG index = lower;
    for (Element value : values) {
        EXPECT_EQ(::SafeArrayPutElement(array.Get(), &index, &value), S_OK);
        ++index;
    }
    return Variant::Array(type, std::move(array));
}

Variant MakeTextArray(const std::vector<CString>& values) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(values.size())));
    LONG index = 0;
    for (const CString& value : values) {
        const velk::Bstr text(value);
        EXPECT_EQ(::SafeArrayPutElement(array.Get(), &index, text.Get()), S_OK);
        ++index;
    }
    return Variant::Array(VT_BSTR, std::move(array));
}

class PropertyReadersTest : public testing::Test {
  protected:
    ~PropertyReadersTest() override {
        EXPECT_TRUE(object_->plainCalls) << "flags, type or flavour was passed to Get";
        object_.Reset();
        EXPECT_EQ(velktest::LiveFakes(), 0);
    }

    IWbemClassObject* Given(Variant value) {
        object_->Set(kName, std::move(value));
        return object_.Get();
    }

    velk::ComPtr<FakeClassObject> object_ = FakeClassObject::Make();
};

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
    object_->SetText(kName, L"no number");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 0U);
    object_->SetText(kName, L"0x10");
    EXPECT_EQ(velk::GetUInt64Property(object_.Get(), kName, value), S_OK);
    EXPECT_EQ(value, 0U);
}

// Arrays.

TEST_F(PropertyReadersTest, StringArrayReplacesTheOutput) {
    std::vector<CString> values = {L"old"};
    EXPECT_EQ(velk::GetStringArrayProperty(Given(MakeTextArray({L"one", L"", L"three"})), kName, values),
              S_OK);
    EXPECT_THAT(values, ElementsAre(L"one", L"", L"three"));
}

TEST_F(PropertyReadersTest, StringArrayEmptiesTheOutputEvenOnFailure) {
    std::vector<CString> values = {L"old"};
    EXPECT_EQ(velk::GetStringArrayProperty(object_.Get(), kMissing, values), kWbemFailed);
    EXPECT_TRUE(values.empty());
    values = {L"old"};
    EXPECT_EQ(velk::GetStringArrayProperty(Given(MakeArray<LONG>(VT_I4, {1})), kName, values), kWbemFailed);
    EXPECT_TRUE(values.empty());
}

TEST_F(PropertyReadersTest, IntegerArraysAppend) {
    std::vector<std::uint32_t> numbers = {7};
    EXPECT_EQ(velk::GetUInt32ArrayProperty(Given(MakeArray<ULONG>(VT_UI4, {1, 0xFFFFFFFF})), kName, numbers),
              S_OK);
    EXPECT_THAT(numbers, ElementsAre(7U, 1U, 0xFFFFFFFFU));
    std::vector<std::uint16_t> words = {7};
    EXPECT_EQ(velk::GetUInt16ArrayProperty(Given(MakeArray<LONG>(VT_I4, {1, 0x12345})), kName, words), S_OK);
    EXPECT_THAT(words, ElementsAre(7, 1, 0x2345));
    std::vector<unsigned char> bytes = {7};
    EXPECT_EQ(velk::GetUInt8ArrayProperty(Given(MakeArray<BYTE>(VT_UI1, {1, 255})), kName, bytes), S_OK);
    EXPECT_THAT(bytes, ElementsAre(7, 1, 255));
}

TEST_F(PropertyReadersTest, NarrowSignedElementsAreZeroExtended) {
    std::vector<std::int32_t> numbers;
    EXPECT_EQ(velk::GetSInt32ArrayProperty(Given(MakeArray<SHORT>(VT_I2, {-1})), kName, numbers), S_OK);
    EXPECT_THAT(numbers, ElementsAre(0xFFFF));
}

TEST_F(PropertyReadersTest, ArraysMayBeginAnywhereAndBeEmpty) {
    std::vector<std::int32_t> numbers;
    EXPECT_EQ(velk::GetSInt32ArrayProperty(Given(MakeArray<LONG>(VT_I4, {1, 2, 3}, -1)), kName, numbers),
              S_OK);
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3));
    EXPECT_EQ(velk::GetSInt32ArrayProperty(Given(MakeArray<LONG>(VT_I4, {})), kName, numbers), S_OK);
    EXPECT_EQ(numbers.size(), 3U);
}

TEST_F(PropertyReadersTest, ArrayReadersTakeTheirElementTypesAlone) {
    const std::array<VARTYPE, 7> types = {VT_UI4, VT_I4, VT_UI2, VT_I2, VT_UI1, VT_I1, VT_R4};
    for (std::size_t index = 0; index < types.size(); ++index) {
        SCOPED_TRACE(types[index]);
        SAFEARRAYBOUND bound = {1, 0};
        Given(
            Variant::Array(types[index], velk::UniqueSafeArray(::SafeArrayCreate(types[index], 1, &bound))));
        std::vector<std::uint32_t> numbers;
        std::vector<std::uint16_t> words;
        std::vector<unsigned char> bytes;
        EXPECT_EQ(velk::GetUInt32ArrayProperty(object_.Get(), kName, numbers),
                  index < 4 ? S_OK : kWbemFailed);
        EXPECT_EQ(velk::GetUInt16ArrayProperty(object_.Get(), kName, words), index < 4 ? S_OK : kWbemFailed);
        EXPECT_EQ(velk::GetUInt8ArrayProperty(object_.Get(), kName, bytes), index < 6 ? S_OK : kWbemFailed);
    }
    std::vector<std::uint32_t> numbers;
    EXPECT_EQ(velk::GetUInt32ArrayProperty(Given(Null()), kName, numbers), kWbemFailed);
    EXPECT_EQ(velk::GetUInt32ArrayProperty(Given(Variant::SInt32(1)), kName, numbers), kWbemFailed);
    EXPECT_EQ(
        velk::GetUInt32ArrayProperty(Given(MakeVariant(VT_ARRAY | VT_I4, [](VARIANT&) {})), kName, numbers),
        kWbemFailed);
}

TEST_F(PropertyReadersTest, ArraysOfTwoDimensionsAreRefused) {
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    std::vector<std::uint32_t> numbers;
    velk::UniqueSafeArray array(::SafeArrayCreate(VT_I4, 2, bounds));
    EXPECT_EQ(velk::GetUInt32ArrayProperty(Given(Variant::Array(VT_I4, std::move(array))), kName, numbers),
              kWbemFailed);
}

HRESULT WINAPI NoBound(SAFEARRAY*, UINT, LONG*) { return DISP_E_BADINDEX; }

TEST_F(PropertyReadersTest, ArrayWithoutBoundsIsAFailure) {
    Given(MakeArray<LONG>(VT_I4, {1}));
    std::vector<std::uint32_t> numbers;
    {
        const StandIn failing("SafeArrayGetLBound", &NoBound);
        EXPECT_EQ(velk::GetUInt32ArrayProperty(object_.Get(), kName, numbers), kWbemFailed);
    }
    const StandIn failing("SafeArrayGetUBound", &NoBound);
    EXPECT_EQ(velk::GetUInt32ArrayProperty(object_.Get(), kName, numbers), kWbemFailed);
    EXPECT_TRUE(numbers.empty());
}

HRESULT WINAPI FirstTwoElements(SAFEARRAY* array, LONG* index, void* element) {
    if (*index >= 2) return DISP_E_BADINDEX;
    *static_cast<LONG*>(element) = static_cast<LONG*>(array->pvData)[*index];
    return S_OK;
}

TEST_F(PropertyReadersTest, WhatWasReadBeforeAFailingElementStays) {
    Given(MakeArray<LONG>(VT_I4, {1, 2, 3, 4}));
    const StandIn failing("SafeArrayGetElement", &FirstTwoElements);
    std::vector<std::uint32_t> numbers = {7};
    EXPECT_EQ(velk::GetUInt32ArrayProperty(object_.Get(), kName, numbers), kWbemFailed);
    EXPECT_THAT(numbers, ElementsAre(7U, 1U, 2U));

    unsigned char buffer[4] = {};
    std::size_t count = sizeof buffer;
    EXPECT_EQ(velk::GetByteBufferProperty(object_.Get(), kName, buffer, count), kWbemFailed);
    EXPECT_EQ(count, sizeof buffer) << "the count is left alone on failure";
}

// The byte buffer.

TEST_F(PropertyReadersTest, ByteBufferDropsWhatExceedsItsCapacity) {
    Given(MakeArray<BYTE>(VT_UI1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    std::array<unsigned char, 5> buffer = {0, 0, 0, 0, 0xAA};
    std::size_t count = 4;
    EXPECT_EQ(velk::GetByteBufferProperty(object_.Get(), kName, buffer.data(), count), S_OK);
    EXPECT_EQ(count, 4U);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 3, 4, 0xAA));
}

TEST_F(PropertyReadersTest, ByteBufferCountsWhatItStoredAndTakesLowBytes) {
    Given(MakeArray<LONG>(VT_I4, {0x101, 0x2FF}));
    std::array<unsigned char, 4> buffer = {};
    std::size_t count = buffer.size();
    EXPECT_EQ(velk::GetByteBufferProperty(object_.Get(), kName, buffer.data(), count), S_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_THAT(buffer, ElementsAre(0x01, 0xFF, 0, 0));

    count = 0;
    EXPECT_EQ(velk::GetByteBufferProperty(object_.Get(), kName, nullptr, count), S_OK);
    EXPECT_EQ(count, 0U);
}

TEST_F(PropertyReadersTest, ByteBufferLeavesTheCountAloneOnFailure) {
    std::size_t count = 3;
    unsigned char buffer[3] = {};
    EXPECT_EQ(velk::GetByteBufferProperty(object_.Get(), kMissing, buffer, count), kWbemFailed);
    EXPECT_EQ(velk::GetByteBufferProperty(Given(Null()), kName, buffer, count), kWbemFailed);
    EXPECT_EQ(count, 3U);
}

}  // namespace
