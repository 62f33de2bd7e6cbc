// The identifiers of the platform's own path parser, which the module asks for and the host answers to: both
// have them from one header, so that a wrong digit there goes unnoticed by every test in which they meet.

#include <gtest/gtest.h>

#include "common/com_ptr.h"
#include "common/handle.h"
#include "common/platform.h"
#include "common/text.h"
#include "support/hosted/provider_bench.h"

namespace {

constexpr wchar_t kParserClass[] = L"{CF4CC405-E2C5-4DDD-B3CE-5E7582D8C9FA}";

std::wstring Spelled(const GUID& id) {
    wchar_t text[39] = {};
    ::StringFromGUID2(id, text, 39);
    return text;
}

/// The file name of the module that an object's methods are in.
std::wstring ModuleOf(IUnknown& object) {
    HMODULE module = nullptr;
    const void* const method = **reinterpret_cast<void***>(&object);
    ::GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        static_cast<const wchar_t*>(method), &module);
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(module, path, MAX_PATH);
    const std::wstring text = path;
    return text.substr(text.rfind(L'\\') + 1);
}

TEST(PathParserIdentifiers, AreThoseOfThePlatform) {
    EXPECT_EQ(Spelled(kClsidWbemDefPath), kParserClass);
    EXPECT_EQ(Spelled(kIidIWbemPath), L"{3BC15AF2-736C-477E-9E51-238AF8667DCC}");
    EXPECT_EQ(Spelled(kIidIWbemPathKeyList), L"{9AE62877-7544-4BB0-AA26-A13824659ED6}");
}

TEST(PathParserIdentifiers, TheClassIsRegisteredByThePlatform) {
    const std::wstring key = L"CLSID\\" + Spelled(kClsidWbemDefPath) + L"\\InprocServer32";
    wchar_t server[MAX_PATH] = {};
    DWORD size = sizeof server;
    ASSERT_EQ(::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, server, &size),
              ERROR_SUCCESS);
    EXPECT_TRUE(velk::ToUpper(server).ends_with(L"\\WMIUTILS.DLL")) << velk::CString(server);
}

TEST(PathParserIdentifiers, ThePlatformsOwnParserAnswersToThem) {
    const velktest::Apartment apartment;
    velk::ComPtr<IUnknown> parser;
    ASSERT_EQ(
        ::CoCreateInstance(kClsidWbemDefPath, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, parser.PutVoid()),
        S_OK);
    ASSERT_TRUE(velk::EqualsIgnoringCase(ModuleOf(*parser.Get()).c_str(), L"wmiutils.dll"))
        << "not one of the host's";

    velk::ComPtr<IWbemPath> path;
    ASSERT_EQ(parser->QueryInterface(kIidIWbemPath, path.PutVoid()), S_OK);
    ASSERT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, L"Class.Key=\"value\""), S_OK);
    velk::ComPtr<IWbemPathKeyList> keys;
    ASSERT_EQ(path->GetKeyList(keys.Put()), S_OK);
    velk::ComPtr<IUnknown> asked;
    EXPECT_EQ(keys->QueryInterface(kIidIWbemPathKeyList, asked.PutVoid()), S_OK);
    ULONG count = 0;
    EXPECT_EQ(keys->GetCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
}

}  // namespace
