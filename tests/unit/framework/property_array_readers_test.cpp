// The readers of arrays and of the byte buffer.

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/bstr.h"
#include "common/text.h"
#include "common/variant.h"
#include "common/wbem_status.h"
#include "framework/property_readers_fixture.h"
#include "framework/property_values.h"
#include "support/stand_ins.h"

namespace {

using testing::ElementsAre;
using velk::CString;
using velk::kWbemFailed;
using velk::Variant;
using velktest::MakeVariant;
using velktest::Null;
using velktest::PropertyReadersTest;
using velktest::StandIn;

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
