#include "host/model/value.h"

#include <gtest/gtest.h>

#include <map>

#include "common/wbem_status.h"

namespace velkhost {
namespace {

constexpr HRESULT kMismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);

velk::Variant Text(std::wstring_view text) { return velk::Variant::FromText(velk::Bstr(text)); }

/// A number in any VARIANT type that holds one.
velk::Variant Number(VARTYPE type, long long number) {
    velk::Variant made;
    VARIANT& raw = *made.Address();
    raw.vt = type;
    switch (type) {
        case VT_I1:
            raw.cVal = static_cast<CHAR>(number);
            break;
        case VT_UI1:
            raw.bVal = static_cast<BYTE>(number);
            break;
        case VT_BOOL:
            raw.boolVal = static_cast<VARIANT_BOOL>(number);
            break;
        case VT_I2:
        case VT_UI2:
            raw.iVal = static_cast<SHORT>(number);
            break;
        case VT_R4:
            raw.fltVal = static_cast<FLOAT>(number);
            break;
        case VT_R8:
        case VT_DATE:
            raw.dblVal = static_cast<DOUBLE>(number);
            break;
        case VT_I8:
        case VT_UI8:
            raw.llVal = number;
            break;
        default:
            raw.lVal = static_cast<LONG>(number);
    }
    return made;
}

velk::Variant Array(VARTYPE type, const std::vector<long long>& numbers) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(type, 0, static_cast<ULONG>(numbers.size())));
    for (LONG i = 0; i < static_cast<LONG>(numbers.size()); ++i) {
        velk::Variant element = Number(type, numbers[static_cast<std::size_t>(i)]);
        ::SafeArrayPutElement(array.Get(), &i, &element.Address()->lVal);
    }
    return velk::Variant::Array(type, std::move(array));
}

velk::Variant TextArray(const std::vector<std::wstring>& texts) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size())));
    for (LONG i = 0; i < static_cast<LONG>(texts.size()); ++i) {
        const velk::Bstr text(texts[static_cast<std::size_t>(i)]);
        ::SafeArrayPutElement(array.Get(), &i, text.Get());
    }
    return velk::Variant::Array(VT_BSTR, std::move(array));
}

/// The value as text when the VARIANT is taken, "mismatch" when it is refused.
std::wstring Taken(const CimType& type, const velk::Variant& variant) {
    Value value = Value::Text(L"untouched");
    const HRESULT result = FromVariant(type, variant.Get(), value);
    if (result == kMismatch) {
        EXPECT_EQ(ToText(value), L"untouched");
        return L"mismatch";
    }
    EXPECT_EQ(result, velk::kWbemNoError);
    return ToText(value);
}

const std::map<Cim, VARTYPE> kDocumentedTypes = {
    {Cim::kBoolean, VT_BOOL},   {Cim::kUInt8, VT_UI1},     {Cim::kSInt8, VT_I2},
    {Cim::kSInt16, VT_I2},      {Cim::kUInt16, VT_I4},     {Cim::kSInt32, VT_I4},
    {Cim::kUInt32, VT_I4},      {Cim::kSInt64, VT_BSTR},   {Cim::kUInt64, VT_BSTR},
    {Cim::kReal32, VT_R4},      {Cim::kReal64, VT_R8},     {Cim::kChar16, VT_I2},
    {Cim::kString, VT_BSTR},    {Cim::kDateTime, VT_BSTR}, {Cim::kReference, VT_BSTR},
    {Cim::kObject, VT_UNKNOWN},
};

TEST(Value, TakesOfEachNumberTypeOnlyTheDocumentedVariantType) {
    const VARTYPE types[] = {VT_EMPTY, VT_I1,   VT_UI1, VT_BOOL, VT_I2, VT_UI2, VT_I4,   VT_UI4,
                             VT_INT,   VT_UINT, VT_I8,  VT_UI8,  VT_R4, VT_R8,  VT_DATE, VT_ERROR};
    for (const auto& [cim, documented] : kDocumentedTypes) {
        for (const VARTYPE type : types) {
            const bool isExtra =
                (cim == Cim::kSInt32 && type == VT_I2) || (cim == Cim::kUInt32 && type == VT_R8);
            const bool isTaken = Taken({cim}, Number(type, 1)) != L"mismatch";
            EXPECT_EQ(isTaken, type == documented || isExtra)
                << "CIM type " << static_cast<int>(cim) << ", VARIANT type " << type;
        }
        const bool takesText = Taken({cim}, Text(L"20200517073000.250000+000")) != L"mismatch";
        EXPECT_EQ(takesText, cim == Cim::kString || cim == Cim::kReference || cim == Cim::kDateTime);
    }
}

TEST(Value, KeepsTheLimitsOfEveryType) {
    const struct {
        Cim type;
        velk::Variant written;
        const wchar_t* held;
    } rows[] = {
        {Cim::kBoolean, Number(VT_BOOL, -1), L"TRUE"},
        {Cim::kBoolean, Number(VT_BOOL, 0), L"FALSE"},
        {Cim::kUInt8, Number(VT_UI1, 255), L"255"},
        {Cim::kSInt8, Number(VT_I2, -128), L"-128"},
        {Cim::kSInt8, Number(VT_I2, 127), L"127"},
        {Cim::kSInt16, Number(VT_I2, -32768), L"-32768"},
        {Cim::kSInt16, Number(VT_I2, 32767), L"32767"},
        {Cim::kUInt16, Number(VT_I4, 0), L"0"},
        {Cim::kUInt16, Number(VT_I4, 65535), L"65535"},
        {Cim::kSInt32, Number(VT_I4, -2147483648LL), L"-2147483648"},
        {Cim::kUInt32, Number(VT_I4, -1), L"4294967295"},
        {Cim::kUInt32, Number(VT_I4, 2147483647), L"2147483647"},
        {Cim::kSInt64, Text(L"-9223372036854775808"), L"-9223372036854775808"},
        {Cim::kSInt64, Text(L"9223372036854775807"), L"9223372036854775807"},
        {Cim::kUInt64, Text(L"18446744073709551615"), L"18446744073709551615"},
        {Cim::kReal32, Number(VT_R4, 3), L"3"},
        {Cim::kReal64, Number(VT_R8, -7), L"-7"},
        {Cim::kChar16, Number(VT_I2, -1), L"65535"},
        {Cim::kString, Text(L""), L""},
        {Cim::kReference, Text(L"A.B=\"c\""), L"A.B=\"c\""},
        {Cim::kDateTime, Text(L"20200517073000.250000+000"), L"20200517073000.250000+000"},
        {Cim::kDateTime, Text(L"20200517******.******+060"), L"20200517******.******+060"},
        {Cim::kDateTime, Text(L"00000001020304.000000:000"), L"00000001020304.000000:000"},
    };
    for (const auto& row : rows) {
        Value value;
        ASSERT_EQ(FromVariant({row.type}, row.written.Get(), value), velk::kWbemNoError) << row.held;
        EXPECT_EQ(ToText(value), row.held);
        const velk::Variant read = ToVariant({row.type}, value);
        EXPECT_EQ(read.Type(), kDocumentedTypes.at(row.type));
        EXPECT_EQ(Taken({row.type}, read), row.held);
    }
}

TEST(Value, RefusesNumbersBeyondTheTypesRange) {
    EXPECT_EQ(Taken({Cim::kUInt16}, Number(VT_I4, 65536)), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt16}, Number(VT_I4, -1)), L"mismatch");
    EXPECT_EQ(Taken({Cim::kSInt8}, Number(VT_I2, 128)), L"mismatch");
    EXPECT_EQ(Taken({Cim::kSInt8}, Number(VT_I2, -129)), L"mismatch");
    EXPECT_EQ(Taken({Cim::kSInt64}, Text(L"9223372036854775808")), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt64}, Text(L"18446744073709551616")), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt64}, Text(L"-1")), L"mismatch");
}

TEST(Value, ReadsSixtyFourBitTextAsDecimalOnly) {
    for (const wchar_t* text : {L"0x10", L"", L" 1", L"1 ", L"1.5", L"abc", L"+1", L"\x0661"}) {
        EXPECT_EQ(Taken({Cim::kUInt64}, Text(text)), L"mismatch") << text;
    }
    EXPECT_EQ(Taken({Cim::kUInt64}, Number(VT_I4, 1)), L"mismatch");
}

TEST(Value, TakesARealForUint32WhenItIsAWholeNumberInRange) {
    EXPECT_EQ(Taken({Cim::kUInt32}, Number(VT_R8, 4294967295LL)), L"4294967295");
    EXPECT_EQ(Taken({Cim::kUInt32}, Number(VT_R8, 4294967296LL)), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt32}, Number(VT_R8, -1)), L"mismatch");
    velk::Variant fraction = Number(VT_R8, 0);
    fraction.Address()->dblVal = 1.5;
    EXPECT_EQ(Taken({Cim::kUInt32}, fraction), L"mismatch");
}

TEST(Value, RefusesMalformedDateTimes) {
    for (const wchar_t* text :
         {L"", L"2020", L"20200517073000,250000+000", L"20200517073000.250000 000",
          L"2020051707300x.250000+000", L"20200517073000.250000+00", L"00000001020304.000000:001"}) {
        EXPECT_EQ(Taken({Cim::kDateTime}, Text(text)), L"mismatch") << text;
    }
}

TEST(Value, TakesNullForEveryType) {
    for (const auto& [cim, documented] : kDocumentedTypes) {
        for (const bool isArray : {false, true}) {
            Value value = Value::Text(L"old");
            velk::Variant null;
            null.Address()->vt = VT_NULL;
            EXPECT_EQ(FromVariant({cim, isArray}, null.Get(), value), velk::kWbemNoError);
            EXPECT_TRUE(value.IsNull());
            EXPECT_EQ(ToVariant({cim, isArray}, value).Type(), VT_NULL);
        }
    }
}

TEST(Value, TakesArraysOfTheElementsVariantTypeOnly) {
    EXPECT_EQ(Taken({Cim::kUInt16, true}, Array(VT_I4, {11, 65535})), L"11, 65535");
    EXPECT_EQ(Taken({Cim::kUInt16, true}, Array(VT_I4, {11, 65536})), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt16, true}, Array(VT_UI2, {11})), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt8, true}, Array(VT_UI1, {0, 255})), L"0, 255");
    EXPECT_EQ(Taken({Cim::kUInt32, true}, Array(VT_I4, {-1})), L"4294967295");
    // A lone VT_R8 is fine for uint32, an array of them is documented not to be.
    EXPECT_EQ(Taken({Cim::kUInt32, true}, Array(VT_R8, {1})), L"mismatch");
    EXPECT_EQ(Taken({Cim::kSInt32, true}, Array(VT_I2, {1})), L"mismatch");
    EXPECT_EQ(Taken({Cim::kString, true}, TextArray({L"a", L"b"})), L"a, b");
    EXPECT_EQ(Taken({Cim::kUInt64, true}, TextArray({L"1", L"18446744073709551615"})),
              L"1, 18446744073709551615");
    EXPECT_EQ(Taken({Cim::kUInt64, true}, TextArray({L"1", L"x"})), L"mismatch");
}

TEST(Value, KeepsScalarsAndArraysApart) {
    EXPECT_EQ(Taken({Cim::kUInt16}, Array(VT_I4, {1})), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt16, true}, Number(VT_I4, 1)), L"mismatch");
}

TEST(Value, KeepsAnEmptyArrayApartFromNull) {
    Value value;
    ASSERT_EQ(FromVariant({Cim::kUInt16, true}, Array(VT_I4, {}).Get(), value), velk::kWbemNoError);
    EXPECT_FALSE(value.IsNull());
    const velk::Variant read = ToVariant({Cim::kUInt16, true}, value);
    ASSERT_EQ(read.Type(), VT_ARRAY | VT_I4);
    LONG upper = 0;
    ::SafeArrayGetUBound(read.Get().parray, 1, &upper);
    EXPECT_EQ(upper, -1);
}

TEST(Value, TakesAnEmptyVariantArrayForAnyArrayType) {
    for (const auto& [cim, documented] : kDocumentedTypes) {
        EXPECT_EQ(Taken({cim, true}, Array(VT_VARIANT, {})), L"");
        EXPECT_EQ(Taken({cim}, Array(VT_VARIANT, {})), L"mismatch");
    }
    velk::UniqueSafeArray one(::SafeArrayCreateVector(VT_VARIANT, 0, 1));
    EXPECT_EQ(Taken({Cim::kUInt16, true}, velk::Variant::Array(VT_VARIANT, std::move(one))), L"mismatch");
}

TEST(Value, RefusesAnArrayWhoseElementsAreNotWhatTheVariantSays) {
    velk::Variant disguised = Array(VT_I2, {1, 2, 3, 4});
    disguised.Address()->vt = VT_ARRAY | VT_I4;
    EXPECT_EQ(Taken({Cim::kUInt16, true}, disguised), L"mismatch");
    disguised.Address()->vt = VT_ARRAY | VT_I2;
}

TEST(Value, RefusesArraysOfTwoDimensionsAndNoArrayAtAll) {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    velk::UniqueSafeArray square(::SafeArrayCreate(VT_I4, 2, bounds));
    EXPECT_EQ(Taken({Cim::kUInt16, true}, velk::Variant::Array(VT_I4, std::move(square))), L"mismatch");
    EXPECT_EQ(Taken({Cim::kUInt16, true}, velk::Variant::Array(VT_I4, {})), L"mismatch");
}

TEST(Value, CountsElementsFromTheArraysOwnLowerBound) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_I4, 5, 2));
    for (LONG i = 5; i < 7; ++i) ::SafeArrayPutElement(array.Get(), &i, &i);
    EXPECT_EQ(Taken({Cim::kUInt16, true}, velk::Variant::Array(VT_I4, std::move(array))), L"5, 6");
}

TEST(Value, TreatsNullTextsInArraysAsEmpty) {
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_BSTR, 0, 2));
    EXPECT_EQ(Taken({Cim::kString, true}, velk::Variant::Array(VT_BSTR, std::move(array))), L", ");
}

TEST(Value, HoldsAReferenceOnAnEmbeddedObject) {
    velk::ComPtr<IUnknown> object;
    ASSERT_EQ(::CreateStreamOnHGlobal(nullptr, TRUE, reinterpret_cast<IStream**>(object.PutVoid())), S_OK);
    const auto references = [&object] {
        object->AddRef();
        return object->Release();
    };
    {
        velk::Variant written;
        written.Address()->vt = VT_UNKNOWN;
        written.Address()->punkVal = velk::ComPtr<IUnknown>(object).Detach();
        Value value;
        ASSERT_EQ(FromVariant({Cim::kObject}, written.Get(), value), velk::kWbemNoError);
        EXPECT_EQ(references(), 3u);
        const velk::Variant read = ToVariant({Cim::kObject}, value);
        EXPECT_EQ(read.Get().punkVal, object.Get());
        EXPECT_EQ(references(), 4u);
    }
    EXPECT_EQ(references(), 1u);

    velk::Variant none;
    none.Address()->vt = VT_UNKNOWN;
    none.Address()->punkVal = nullptr;
    EXPECT_EQ(Taken({Cim::kObject}, none), L"mismatch");
}

TEST(Value, IsWrittenAsMofWritesIt) {
    EXPECT_EQ(ToMof(Value()), L"NULL");
    EXPECT_EQ(ToMof(Value::Bool(true)), L"TRUE");
    EXPECT_EQ(ToMof(Value::Text(L"a\"b\\c\n")), L"\"a\\\"b\\\\c\\x000a\"");
    EXPECT_EQ(ToMof(Value::Array({Value::Unsigned(1), Value::Unsigned(2)})), L"{1, 2}");
    EXPECT_EQ(ToMof(Value::Array({})), L"{}");
}

TEST(Value, ComparesByTypeAndContents) {
    EXPECT_TRUE(Value::Array({Value::Text(L"a")}) == Value::Array({Value::Text(L"a")}));
    EXPECT_FALSE(Value::Array({Value::Text(L"a")}) == Value::Array({Value::Text(L"A")}));
    EXPECT_FALSE(Value::Array({}) == Value());
    EXPECT_FALSE(Value::Signed(1) == Value::Unsigned(1));
}

}  // namespace
}  // namespace velkhost
