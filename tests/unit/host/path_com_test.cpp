#include <gtest/gtest.h>

#include <thread>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "host/com/com_object.h"
#include "host/path/path_parser.h"
#include "path_objects.h"

namespace {

using velktest::kBufferTooSmall;
using velktest::KeysOf;
using velktest::kInvalidParameter;
using velktest::NewPath;
using velktest::TextOf;

constexpr HRESULT kNotAvailable = static_cast<HRESULT>(0x80041009);
constexpr HRESULT kInvalidObjectPath = static_cast<HRESULT>(0x8004103A);

ULONGLONG InfoOf(const velk::ComPtr<IWbemPath>& path) {
    ULONGLONG info = 0;
    EXPECT_EQ(path->GetInfo(0, &info), S_OK);
    return info;
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
    EXPECT_EQ(TextOf(NewPath(LR"(root\cimv2)"), WBEMPATH_GET_RELATIVE_ONLY), L"")
        << "the parser of winmgmts: monikers asks so of a path to a namespace";
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
