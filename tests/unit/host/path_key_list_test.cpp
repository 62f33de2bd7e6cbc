#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/variant.h"
#include "path_objects.h"

namespace {

using velktest::kBufferTooSmall;
using velktest::KeysOf;
using velktest::kInvalidParameter;
using velktest::NewPath;
using velktest::TextOf;

struct ReadKey {
    std::wstring name;
    velk::Variant value;
    ULONG cimType = 0;
};

ReadKey KeyAt(const velk::ComPtr<IWbemPath>& path, ULONG index) {
    ReadKey key;
    wchar_t name[64] = {};
    ULONG length = 64;
    EXPECT_EQ(KeysOf(path)->GetKey2(index, 0, &length, name, key.value.Put(), &key.cimType), S_OK);
    key.name = name;
    EXPECT_EQ(length, key.name.size() + 1);
    return key;
}

TEST(WbemPathKeyList, StringKeyIsUnescapedText) {
    const ReadKey key = KeyAt(NewPath(LR"(X.DeviceID="PCIIDE\\IDECHANNEL\\4&39EC5D8A&0&0")"), 0);
    EXPECT_EQ(key.name, L"DeviceID");
    ASSERT_EQ(key.value.Type(), VT_BSTR);
    EXPECT_STREQ(key.value.Get().bstrVal, LR"(PCIIDE\IDECHANNEL\4&39EC5D8A&0&0)");
    EXPECT_EQ(key.cimType, static_cast<ULONG>(CIM_STRING));
}

TEST(WbemPathKeyList, NumbersComeByTheirWidth) {
    const auto path =
        NewPath(L"X.A=-5,B=2147483647,C=0x80000000,D=-2147483649,E=18446744073709551615,F=TRUE");
    EXPECT_EQ(KeyAt(path, 0).value.Get().lVal, -5);
    const ReadKey widest = KeyAt(path, 1);
    EXPECT_EQ(widest.value.Type(), VT_I4);
    EXPECT_EQ(widest.value.Get().lVal, 2147483647);
    EXPECT_EQ(widest.cimType, static_cast<ULONG>(CIM_SINT32));
    const ReadKey beyond = KeyAt(path, 2);
    ASSERT_EQ(beyond.value.Type(), VT_BSTR);
    EXPECT_STREQ(beyond.value.Get().bstrVal, L"2147483648");
    EXPECT_EQ(beyond.cimType, static_cast<ULONG>(CIM_UINT64));
    const ReadKey below = KeyAt(path, 3);
    EXPECT_STREQ(below.value.Get().bstrVal, L"-2147483649");
    EXPECT_EQ(below.cimType, static_cast<ULONG>(CIM_SINT64));
    EXPECT_STREQ(KeyAt(path, 4).value.Get().bstrVal, L"18446744073709551615");
    const ReadKey truth = KeyAt(path, 5);
    EXPECT_EQ(truth.value.Type(), VT_BOOL);
    EXPECT_EQ(truth.value.Get().boolVal, VARIANT_TRUE);
    EXPECT_EQ(truth.cimType, static_cast<ULONG>(CIM_BOOLEAN));
}

TEST(WbemPathKeyList, TextFormHasItsSizeInBytes) {
    const auto keys = KeysOf(NewPath(LR"(X.K="ab")"));
    ULONG size = 0;
    ASSERT_EQ(keys->GetKey(0, 0, nullptr, nullptr, &size, nullptr, nullptr), S_OK);
    EXPECT_EQ(size, 6u);
    wchar_t value[3] = {};
    ULONG cimType = 0;
    ASSERT_EQ(keys->GetKey(0, 0, nullptr, nullptr, &size, value, &cimType), S_OK);
    EXPECT_STREQ(value, L"ab");
    EXPECT_EQ(cimType, static_cast<ULONG>(CIM_STRING));
    size = 5;
    EXPECT_EQ(keys->GetKey(0, 0, nullptr, nullptr, &size, value, nullptr), kBufferTooSmall);
}

TEST(WbemPathKeyList, IndexAndFlagsAreChecked) {
    const auto keys = KeysOf(NewPath(L"X.K=1"));
    velk::Variant value;
    EXPECT_EQ(keys->GetKey2(1, 0, nullptr, nullptr, value.Put(), nullptr), kInvalidParameter);
    EXPECT_EQ(keys->GetKey2(0, 1, nullptr, nullptr, value.Put(), nullptr), kInvalidParameter);
    EXPECT_EQ(keys->GetKey2(0, 0, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(keys->GetCount(nullptr), kInvalidParameter);
}

TEST(WbemPathKeyList, SingletonHasNoKeysButSaysSo) {
    const auto keys = KeysOf(NewPath(L"X=@"));
    ULONG count = 9;
    ULONGLONG info = 0;
    EXPECT_EQ(keys->GetCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(keys->GetInfo(0, &info), S_OK);
    EXPECT_NE(info & WBEMPATH_INFO_CONTAINS_SINGLETON, 0u);
}

TEST(WbemPathKeyList, NamespaceHasNoKeyList) {
    velk::ComPtr<IWbemPathKeyList> keys;
    EXPECT_EQ(NewPath(LR"(root\cimv2)")->GetKeyList(keys.Put()), kInvalidParameter);
    EXPECT_FALSE(keys);
}

TEST(WbemPathKeyList, ChangesShowInThePath) {
    const auto path = NewPath(L"X");
    const auto keys = KeysOf(path);
    std::int32_t number = -7;
    wchar_t text[] = LR"(a"b)";
    ASSERT_EQ(keys->SetKey(L"A", 0, CIM_SINT32, &number), S_OK);
    ASSERT_EQ(keys->SetKey(L"B", 0, CIM_STRING, text), S_OK);
    velk::Variant wide = velk::Variant::FromText(velk::Bstr(L"18446744073709551615"));
    ASSERT_EQ(keys->SetKey2(L"C", 0, CIM_UINT64, wide.Address()), S_OK);
    velk::Variant replaced = velk::Variant::SInt32(8);
    ASSERT_EQ(keys->SetKey2(L"a", 0, CIM_SINT32, replaced.Address()), S_OK);
    EXPECT_EQ(TextOf(path, 0), LR"(X.A=8,B="a\"b",C=18446744073709551615)");

    ASSERT_EQ(keys->RemoveKey(L"b", 0), S_OK);
    EXPECT_EQ(keys->RemoveKey(L"b", 0), kInvalidParameter);
    EXPECT_EQ(TextOf(path, 0), L"X.A=8,C=18446744073709551615");
    ASSERT_EQ(keys->SetKey(nullptr, 0, CIM_SINT32, &number), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"X=-7");
    ASSERT_EQ(keys->MakeSingleton(TRUE), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"X=@");
    ASSERT_EQ(keys->MakeSingleton(FALSE), S_OK);
    ASSERT_EQ(keys->RemoveAllKeys(0), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"X");
}

TEST(WbemPathKeyList, UnusableValuesAreRefused) {
    const auto keys = KeysOf(NewPath(L"X"));
    velk::Variant notANumber = velk::Variant::FromText(velk::Bstr(L"12,L=3"));
    EXPECT_EQ(keys->SetKey2(L"K", 0, CIM_UINT64, notANumber.Address()), kInvalidParameter);
    velk::Variant nothing;
    EXPECT_EQ(keys->SetKey2(L"K", 0, CIM_STRING, nothing.Address()), kInvalidParameter);
    EXPECT_EQ(keys->SetKey(L"K", 0, CIM_STRING, nullptr), kInvalidParameter);
    int number = 0;
    EXPECT_EQ(keys->SetKey(L"K", 0, CIM_OBJECT, &number), kInvalidParameter);
}

TEST(WbemPathKeyList, OutlivesItsPath) {
    velk::ComPtr<IWbemPathKeyList> keys = KeysOf(NewPath(LR"(X.K="a")"));
    ULONG length = 0;
    ASSERT_EQ(keys->GetText(0, &length, nullptr), S_OK);
    EXPECT_EQ(length, std::wstring(LR"(K="a")").size() + 1);
}

}  // namespace
