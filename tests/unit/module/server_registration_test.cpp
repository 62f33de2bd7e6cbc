#include "module/server_registration.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "common/handle.h"
#include "module/class_table.h"
#include "module/failing_writes.h"
#include "module/registrar.h"
#include "module/registry_script.h"
#include "module/resources/resource_ids.h"
#include "module/server_registration_fixture.h"
#include "support/registry_tree.h"
#include "support/stand_ins.h"

namespace {

using namespace velk;
using velktest::AppIdText;
using velktest::kFirstClsid;
using velktest::kSecondClsid;
using velktest::kTable;
using velktest::ProgramPath;
using velktest::ReadRegistryTree;
using velktest::Registered;
using velktest::RegistryTree;
using velktest::ServerRegistrationTest;
using velktest::StandIn;

void AddClass(RegistryTree& tree, const ClassTableEntry& entry, const std::wstring& clsid) {
    const std::wstring progId = entry.progId;
    const std::wstring independent = entry.versionIndependentProgId;
    const std::wstring description = std::wstring(L"s:") + entry.description;
    const std::wstring key = L"CLSID\\" + clsid;
    tree.insert({{progId, L""},
                 {progId + L":", description},
                 {progId + L"\\CLSID", L""},
                 {progId + L"\\CLSID:", L"s:" + clsid},
                 {independent, L""},
                 {independent + L":", description},
                 {independent + L"\\CLSID", L""},
                 {independent + L"\\CLSID:", L"s:" + clsid},
                 {independent + L"\\CurVer", L""},
                 {independent + L"\\CurVer:", L"s:" + progId},
                 {key, L""},
                 {key + L":", description},
                 {key + L"\\ProgID", L""},
                 {key + L"\\ProgID:", L"s:" + progId},
                 {key + L"\\VersionIndependentProgID", L""},
                 {key + L"\\VersionIndependentProgID:", L"s:" + independent},
                 {key + L"\\InprocServer32", L""},
                 {key + L"\\InprocServer32:", L"s:" + ProgramPath()},
                 {key + L"\\InprocServer32:ThreadingModel", L"s:both"}});
}

RegistryTree Expected() {
    const std::wstring appId = L"AppID\\" + AppIdText();
    RegistryTree tree = {{appId, L""},
                         {appId + L":", L"s:VelkWmiPci"},
                         {L"AppID\\VelkWmiPci.DLL", L""},
                         {L"AppID\\VelkWmiPci.DLL:AppID", L"s:" + AppIdText()}};
    AddClass(tree, kTable[0], kFirstClsid);
    AddClass(tree, kTable[1], kSecondClsid);
    return tree;
}

TEST_F(ServerRegistrationTest, RegistryEqualsTheListKeyForKey) {
    EXPECT_EQ(Register(), S_OK);
    EXPECT_EQ(Registered(), Expected());
}

TEST_F(ServerRegistrationTest, UnregistrationLeavesNothing) {
    ASSERT_EQ(Register(), S_OK);
    EXPECT_EQ(Unregister(), S_OK);
    EXPECT_TRUE(Registered().empty());
    EXPECT_FALSE(ReadRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID").empty());
    EXPECT_EQ(Unregister(), S_OK) << "unregistering twice succeeds";
}

TEST_F(ServerRegistrationTest, RegisteringTwiceIsAsOnce) {
    ASSERT_EQ(Register(), S_OK);
    EXPECT_EQ(Register(), S_OK);
    EXPECT_EQ(Registered(), Expected());
}

TEST_F(ServerRegistrationTest, UserScopeWritesTheUsersClassesAlone) {
    EXPECT_EQ(Register(RegistrationScope::kUser), S_OK);
    EXPECT_EQ(Registered(HKEY_CURRENT_USER), Expected());
    EXPECT_TRUE(Registered(HKEY_LOCAL_MACHINE).empty());
    EXPECT_EQ(Unregister(RegistrationScope::kUser), S_OK);
    EXPECT_TRUE(Registered(HKEY_CURRENT_USER).empty());
}

TEST_F(ServerRegistrationTest, FailureHalfWayUndoesAllScripts) {
    // Two values of the AppID and ten of each class.
    constexpr int kWrites = 2 + 2 * 10;
    for (int write = 0; write < kWrites; ++write) {
        SCOPED_TRACE(write);
        {
            const velktest::FailingWrite failing(write, ERROR_ACCESS_DENIED);
            EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
        }
        EXPECT_TRUE(Registered().empty());
    }
    const velktest::FailingWrite failing(kWrites, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Register(), S_OK) << "there are no more writes than were tried";
}

TEST_F(ServerRegistrationTest, FailedUpgradeKeepsTheOldRegistration) {
    ASSERT_EQ(Register(), S_OK);
    {
        const velktest::FailingWrite failing(15, ERROR_ACCESS_DENIED);
        EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    }
    EXPECT_EQ(Registered(), Expected());
}

/// Refuses, each for a reason of its own, the first key of either class.
LSTATUS WINAPI RefuseProgIds(HKEY key, LPCWSTR name) {
    static const auto real = reinterpret_cast<decltype(&::RegDeleteTreeW)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteTreeW")));
    if (std::wstring_view(name) == kTable[0].progId) return ERROR_ACCESS_DENIED;
    if (std::wstring_view(name) == kTable[1].progId) return ERROR_KEY_DELETED;
    return real(key, name);
}

HRESULT WINAPI RefuseToAsk(REFGUID, WORD, WORD, LCID, BSTR*) { return TYPE_E_REGISTRYACCESS; }

TEST_F(ServerRegistrationTest, UnregistrationGoesOnAfterAFailureAndReturnsTheFirst) {
    ASSERT_EQ(Register(), S_OK);
    {
        const StandIn library("QueryPathOfRegTypeLib", &RefuseToAsk);
        EXPECT_EQ(Unregister(), TYPE_E_REGISTRYACCESS);
        ASSERT_EQ(Register(), S_OK);
        const StandIn keys("RegDeleteTreeW", &RefuseProgIds);
        EXPECT_EQ(Unregister(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    }
    for (const auto& [path, value] : Registered()) {
        EXPECT_TRUE(path.starts_with(kTable[0].progId) || path.starts_with(kTable[1].progId))
            << testing::PrintToString(path);
    }
    EXPECT_FALSE(Registered().empty());
}

TEST_F(ServerRegistrationTest, UnregistrationTakesWhatOthersPutBelowTheAppId) {
    ASSERT_EQ(Register(), S_OK);
    velk::UniqueRegistryKey foreign;
    const std::wstring path = L"Software\\Classes\\AppID\\" + AppIdText() + L"\\Foreign";
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                foreign.Put(), nullptr),
              ERROR_SUCCESS);
    foreign.Reset();
    EXPECT_EQ(Unregister(), S_OK);
    EXPECT_TRUE(Registered().empty());
}

HRSRC WINAPI FindNothing(HMODULE, LPCWSTR, LPCWSTR) { return nullptr; }

TEST_F(ServerRegistrationTest, ScriptThatIsNotThereChangesNothing) {
    const StandIn failing("FindResourceW", &FindNothing);
    EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_EQ(Unregister(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_TRUE(Registered().empty());
}

decltype(&::FindResourceW) g_findResource = nullptr;
HRSRC WINAPI FindAllButTheClassScript(HMODULE module, LPCWSTR name, LPCWSTR type) {
    return name == MAKEINTRESOURCEW(VELK_CLASS_SCRIPT) ? nullptr : g_findResource(module, name, type);
}

TEST_F(ServerRegistrationTest, ScriptOfTheClassesThatIsNotThereChangesNothing) {
    const StandIn<decltype(&FindAllButTheClassScript)> failing("FindResourceW", &FindAllButTheClassScript);
    g_findResource = failing.Original<decltype(g_findResource)>();
    EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_TRUE(Registered().empty());
}

char g_malformedScript[] = "HKCR { VelkRegTest.Malformed";
void* WINAPI LockMalformedScript(HGLOBAL) { return g_malformedScript; }
DWORD WINAPI SizeOfMalformedScript(HMODULE, HRSRC) { return sizeof g_malformedScript - 1; }

TEST_F(ServerRegistrationTest, ScriptThatDoesNotParseChangesNothing) {
    const StandIn lock("LockResource", &LockMalformedScript);
    const StandIn size("SizeofResource", &SizeOfMalformedScript);
    EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_TRUE(ReadRegistryTree(HKEY_CLASSES_ROOT, L"VelkRegTest.Malformed").empty());
}

/// A path that is longer than any fixed buffer, and has a quote in it.
std::wstring LongPath() { return L"C:\\Bob's\\" + std::wstring(1000, L'x') + L"\\VelkWmiPci.dll"; }

DWORD WINAPI LongModulePath(HMODULE, wchar_t* buffer, DWORD size) {
    const std::wstring path = LongPath();
    const DWORD copied = static_cast<DWORD>(path.copy(buffer, size));
    if (copied < size) buffer[copied] = L'\0';
    return copied;
}

HRESULT WINAPI LoadProgramsTypeLibrary(LPCOLESTR, REGKIND, ITypeLib** library) {
    static const auto real = reinterpret_cast<decltype(&::LoadTypeLibEx)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"oleaut32.dll"), "LoadTypeLibEx")));
    return real(ProgramPath().c_str(), REGKIND_NONE, library);
}

TEST_F(ServerRegistrationTest, ModulePathMayBeLongAndHoldQuotes) {
    const StandIn typeLibrary("LoadTypeLibEx", &LoadProgramsTypeLibrary);
    const StandIn longPath("GetModuleFileNameW", &LongModulePath);
    EXPECT_EQ(Register(), S_OK);
    EXPECT_EQ(Registered()[std::wstring(L"CLSID\\") + kFirstClsid + L"\\InprocServer32:"],
              L"s:" + LongPath());
}

bool g_modulePathRefused = false;

DWORD WINAPI RefuseModulePathOnce(HMODULE, wchar_t* buffer, DWORD size) {
    if (!std::exchange(g_modulePathRefused, true)) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    return static_cast<DWORD>(ProgramPath().copy(buffer, size));
}

TEST_F(ServerRegistrationTest, ModulePathThatIsNotToldFailsTheRegistration) {
    const StandIn path("GetModuleFileNameW", &RefuseModulePathOnce);
    EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_TRUE(Registered().empty()) << "classes without a server";
}

TEST_F(ServerRegistrationTest, StandardReplacementsAreOfferedToEveryScript) {
    const RegistryReplacements replacements = StandardReplacements(LongPath());
    ASSERT_EQ(replacements.size(), 3U);
    EXPECT_EQ(replacements[0].first, L"Module");
    EXPECT_EQ(replacements[0].second, EscapeQuotes(LongPath()));
    EXPECT_EQ(replacements[1].first, L"Module_Raw");
    EXPECT_EQ(replacements[1].second, LongPath());
    EXPECT_EQ(replacements[2].first, L"APPID");
    EXPECT_EQ(replacements[2].second, AppIdText());
}

}  // namespace
