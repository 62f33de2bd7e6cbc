#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/variant.h"
#include "host/com/com_object.h"
#include "host/path/path_parser.h"
#include "host/path/wbem_path.h"

namespace {

constexpr HRESULT kInvalidParameter = static_cast<HRESULT>(0x80041008);
constexpr HRESULT kNotAvailable = static_cast<HRESULT>(0x80041009);
constexpr HRESULT kInvalidObjectPath = static_cast<HRESULT>(0x8004103A);
constexpr HRESULT kBufferTooSmall = static_cast<HRESULT>(0x8004103C);

velk::ComPtr<IWbemPath> NewPath(const wchar_t* text = nullptr) {
    const velk::ComPtr<IWbemPath> path(velkhost::MakeComObject<velkhost::WbemPath>().Get());
    if (text == nullptr) return path;
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text), S_OK) << text;
    return path;
}

velk::ComPtr<IWbemPathKeyList> KeysOf(const velk::ComPtr<IWbemPath>& path) {
    velk::ComPtr<IWbemPathKeyList> keys;
    EXPECT_EQ(path->GetKeyList(keys.Put()), S_OK);
    return keys;
}

ULONGLONG InfoOf(const velk::ComPtr<IWbemPath>& path) {
    ULONGLONG info = 0;
    EXPECT_EQ(path->GetInfo(0, &info), S_OK);
    return info;
}

std::wstring TextOf(const velk::ComPtr<IWbemPath>& path, long flags) {
    ULONG length = 0;
    EXPECT_EQ(path->GetText(flags, &length, nullptr), S_OK);
    std::wstring text(length, L'#');
    EXPECT_EQ(path->GetText(flags, &length, text.data()), S_OK);
    EXPECT_EQ(text.back(), L'\0');
    text.pop_back();
    return text;
}

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

TEST(WbemPath, InformationBitsAreThoseOfWindows) {
    EXPECT_EQ(InfoOf(NewPath()), 0x4001u);
    EXPECT_EQ(InfoOf(NewPath(L"")), 0x4001u);
    EXPECT_EQ(InfoOf(NewPath(LR"(\\.\root\cimv2:Win32_LogicalDisk.DeviceId="C:")")), 0x20C19u);
    EXPECT_EQ(InfoOf(NewPath(LR"(root\cimv2:Win32_OperatingSystem)")), 0xC15u);
    EXPECT_EQ(InfoOf(NewPath(LR"(X.K="a")")), 0xC19u);
    EXPECT_EQ(InfoOf(NewPath(LR"(X.K="a",L="b")")), 0xC39u);
    EXPECT_EQ(InfoOf(NewPath(LR"(X="a")")), 0xC99u);
    EXPECT_EQ(InfoOf(NewPath(L"X=@")), 0x1D19u);
    EXPECT_EQ(InfoOf(NewPath(LR"(\\SRV\root\cimv2:X.K="a")")), 0x20C1Au);
}

TEST(WbemPath, InformationBitsFollowTheSetters) {
    const auto server = NewPath();
    ASSERT_EQ(server->SetServer(L"SRV"), S_OK);
    EXPECT_EQ(InfoOf(server), 0x24E02u);
    const auto nameSpace = NewPath();
    ASSERT_EQ(nameSpace->SetNamespaceAt(0, L"root"), S_OK);
    EXPECT_EQ(InfoOf(nameSpace), 0x4E01u);
    const auto renamed = NewPath(LR"(root\cimv2:Win32_OperatingSystem)");
    ASSERT_EQ(renamed->SetClassName(L"Other"), S_OK);
    EXPECT_EQ(InfoOf(renamed), 0xC15u);
}

TEST(WbemPath, GetInfoRefusesOddArguments) {
    const auto path = NewPath(L"X");
    ULONGLONG info = 0;
    EXPECT_EQ(path->GetInfo(1, &info), kInvalidParameter);
    EXPECT_EQ(path->GetInfo(0, nullptr), kInvalidParameter);
}

TEST(WbemPath, SetTextNeedsAnAcceptingModeAndAText) {
    const auto path = NewPath();
    EXPECT_EQ(path->SetText(0, L"X"), kInvalidParameter);
    EXPECT_EQ(path->SetText(WBEMPATH_TREAT_SINGLE_IDENT_AS_NS, L"X"), kInvalidParameter);
    EXPECT_EQ(path->SetText(0x10 | WBEMPATH_CREATE_ACCEPT_ALL, L"X"), kInvalidParameter);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, nullptr), kInvalidParameter);
}

TEST(WbemPath, ModeTellsWhetherAServerIsWanted) {
    const auto path = NewPath();
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_RELATIVE, LR"(root\cimv2:X)"), S_OK);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_RELATIVE, LR"(\\.\root\cimv2:X)"), kInvalidParameter);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ABSOLUTE, LR"(\\.\root\cimv2:X)"), S_OK);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ABSOLUTE, L"X"), kInvalidParameter);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ABSOLUTE, L"/root/cimv2:X"), kInvalidParameter);
    EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ABSOLUTE, LR"(/\.\root\cimv2:X)"), kInvalidParameter);
}

TEST(WbemPath, SingleNameBecomesANamespaceWhenAsked) {
    const auto path = NewPath();
    ASSERT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL | WBEMPATH_TREAT_SINGLE_IDENT_AS_NS, LR"(\\.\root)"),
              S_OK);
    ULONG count = 0;
    EXPECT_EQ(path->GetNamespaceCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST(WbemPath, BadTextIsRefusedAndLeavesThePath) {
    const auto path = NewPath(L"X.K=1");
    for (const wchar_t* bad : {L"X.K=", LR"(X.K = "C:")", L"X.", LR"(X.K="open)"}) {
        EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, bad), kInvalidParameter) << bad;
    }
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_RELATIVE_ONLY), L"X.K=1");
}

TEST(WbemPath, GetTextGivesThePartsAskedFor) {
    const auto path = NewPath(LR"(//SRV/root/cimv2:X.K='a')");
    EXPECT_EQ(TextOf(path, 0), LR"(root\cimv2:X.K="a")");
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_RELATIVE_ONLY), LR"(X.K="a")");
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_SERVER_TOO), LR"(\\SRV\root\cimv2:X.K="a")");
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_SERVER_AND_NAMESPACE_ONLY), LR"(\\SRV\root\cimv2)");
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_NAMESPACE_ONLY), LR"(root\cimv2)");
    EXPECT_EQ(TextOf(path, WBEMPATH_GET_ORIGINAL), LR"(//SRV/root/cimv2:X.K='a')");
    EXPECT_EQ(TextOf(NewPath(L"root:X"), WBEMPATH_GET_SERVER_TOO), LR"(\\.\root:X)");

    ULONG length = 0;
    EXPECT_EQ(path->GetText(0x40, &length, nullptr), kInvalidParameter);
    EXPECT_EQ(NewPath(LR"(root\cimv2)")->GetText(WBEMPATH_GET_RELATIVE_ONLY, &length, nullptr),
              kInvalidParameter);
}

TEST(WbemPath, ClassNameIsHandedOutByLengthAndBuffer) {
    const auto path = NewPath(L"root:Class.K=1");
    ULONG length = 0;
    EXPECT_EQ(path->GetClassName(&length, nullptr), S_OK);
    EXPECT_EQ(length, 6u);
    wchar_t buffer[8] = L"#######";
    EXPECT_EQ(path->GetClassName(&length, nullptr), kInvalidParameter);
    EXPECT_EQ(path->GetClassName(nullptr, buffer), kInvalidParameter);
    length = 5;
    EXPECT_EQ(path->GetClassName(&length, buffer), kBufferTooSmall);
    EXPECT_EQ(length, 6u);
    EXPECT_STREQ(buffer, L"#######");
    EXPECT_EQ(path->GetClassName(&length, buffer), S_OK);
    EXPECT_STREQ(buffer, L"Class");
    length = 0;
    EXPECT_EQ(NewPath()->GetClassName(&length, nullptr), kInvalidObjectPath);
}

TEST(WbemPath, ServerThatIsMissingIsNotAvailable) {
    ULONG length = 0;
    EXPECT_EQ(NewPath(L"X")->GetServer(&length, nullptr), kNotAvailable);
    wchar_t buffer[8] = {};
    length = 8;
    EXPECT_EQ(NewPath(LR"(\\SRV\root:X)")->GetServer(&length, buffer), S_OK);
    EXPECT_STREQ(buffer, L"SRV");
}

TEST(WbemPath, NamespacesAreInsertedReadAndRemoved) {
    const auto path = NewPath(L"root:X");
    ASSERT_EQ(path->SetNamespaceAt(1, L"deep"), S_OK);
    ASSERT_EQ(path->SetNamespaceAt(1, L"between"), S_OK);
    EXPECT_EQ(TextOf(path, 0), LR"(root\between\deep:X)");
    EXPECT_EQ(path->SetNamespaceAt(4, L"gap"), kInvalidParameter);
    EXPECT_EQ(path->SetNamespaceAt(0, nullptr), kInvalidParameter);
    wchar_t buffer[16] = {};
    ULONG length = 16;
    EXPECT_EQ(path->GetNamespaceAt(2, &length, buffer), S_OK);
    EXPECT_STREQ(buffer, L"deep");
    length = 16;
    EXPECT_EQ(path->GetNamespaceAt(3, &length, buffer), kInvalidParameter);
    ASSERT_EQ(path->RemoveNamespaceAt(0), S_OK);
    EXPECT_EQ(path->RemoveNamespaceAt(2), kInvalidParameter);
    EXPECT_EQ(TextOf(path, 0), LR"(between\deep:X)");
    ASSERT_EQ(path->RemoveAllNamespaces(), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"X");
}

TEST(WbemPath, ClassPartIsMadeAndDeleted) {
    const auto path = NewPath(L"root:X.K=1");
    ASSERT_EQ(path->DeleteClassPart(0), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"root");
    ASSERT_EQ(path->CreateClassPart(0, L"Y"), S_OK);
    EXPECT_EQ(TextOf(path, 0), L"root:Y");
}

TEST(WbemPath, PlaceIsComparedWithoutCase) {
    wchar_t server[] = L"srv";
    wchar_t root[] = L"ROOT";
    wchar_t cimv2[] = LR"(ROOT\CIMV2)";
    const auto path = NewPath(LR"(\\SRV\root\cimv2:X)");
    EXPECT_TRUE(path->IsRelative(server, cimv2));
    EXPECT_FALSE(path->IsRelative(server, root));
    EXPECT_TRUE(path->IsRelativeOrChild(server, root, 0));
    EXPECT_FALSE(NewPath(L"root:X")->IsRelativeOrChild(server, cimv2, 0));
    EXPECT_TRUE(path->IsLocal(L"srv"));
    EXPECT_FALSE(path->IsLocal(L"other"));
    EXPECT_TRUE(NewPath(LR"(\\.\root:X)")->IsLocal(L"other"));
    EXPECT_TRUE(path->IsSameClassName(L"x"));
    EXPECT_FALSE(path->IsSameClassName(L"y"));
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

TEST(PathParserClass, IsFoundThroughComWhileRegistered) {
    const long before = velkhost::LiveComObjects();
    // A thread of its own, so that its apartment is the multi-threaded one whatever the test program does.
    std::thread([] {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        {
            const auto registration = velkhost::RegisterPathParser();
            velk::ComPtr<IClassFactory> factory;
            ASSERT_EQ(::CoGetClassObject(kClsidWbemDefPath, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                         factory.PutVoid()),
                      S_OK);
            velk::ComPtr<IWbemPath> path;
            ASSERT_EQ(factory->CreateInstance(nullptr, kIidIWbemPath, path.PutVoid()), S_OK);
            // The platform's own parser under Wine makes a class name of this.
            ASSERT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, L"X=@"), S_OK);
            EXPECT_EQ(InfoOf(path), 0x1D19u);
            velk::ComPtr<IUnknown> inner;
            EXPECT_EQ(factory->CreateInstance(path.Get(), IID_IUnknown, inner.PutVoid()),
                      CLASS_E_NOAGGREGATION);
        }
        ::CoUninitialize();
    }).join();
    EXPECT_EQ(velkhost::LiveComObjects(), before);
}

TEST(ComObject, IdentityAndUnknownInterfacesFollowTheRules) {
    const auto path = NewPath();
    velk::ComPtr<IUnknown> first;
    velk::ComPtr<IUnknown> second;
    velk::ComPtr<IWbemPath> again;
    ASSERT_EQ(path->QueryInterface(IID_IUnknown, first.PutVoid()), S_OK);
    ASSERT_EQ(path->QueryInterface(kIidIWbemPath, again.PutVoid()), S_OK);
    ASSERT_EQ(again->QueryInterface(IID_IUnknown, second.PutVoid()), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    void* nothing = &first;
    EXPECT_EQ(path->QueryInterface(IID_IDispatch, &nothing), E_NOINTERFACE);
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(path->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(ComObject, LastReleaseDestroys) {
    const long before = velkhost::LiveComObjects();
    {
        const auto path = NewPath(L"X.K=1");
        const auto keys = KeysOf(path);
        EXPECT_EQ(velkhost::LiveComObjects(), before + 2);
    }
    EXPECT_EQ(velkhost::LiveComObjects(), before);
}

}  // namespace
