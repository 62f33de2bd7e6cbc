#include "module/server_registration.h"

#include <gmock/gmock.h>

#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "module/identifiers.h"
#include "support/registry_tree.h"
#include "support/stand_ins.h"

namespace {

using namespace velk;
using velktest::ReadRegistryTree;
using velktest::RegistryTree;
using velktest::StandIn;

constexpr wchar_t kClasses[] = L"Software\\Classes";
constexpr wchar_t kFirstClsid[] = L"{11111111-2222-3333-4444-555555555501}";
constexpr wchar_t kSecondClsid[] = L"{11111111-2222-3333-4444-555555555502}";

constexpr CLSID TestClsid(unsigned char last) {
    return {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, last}};
}

HRESULT Unused(REFIID, void**) { return E_NOTIMPL; }

// Two classes of no server, so that a registration of the real ones in the same registry is not disturbed.
constexpr ClassTableEntry kTable[] = {
    {TestClsid(1), L"VelkRegTest.First.1", L"VelkRegTest.First", L"CFirst Object", &Unused},
    {TestClsid(2), L"VelkRegTest.Second.1", L"VelkRegTest.Second", L"CSecond Object", &Unused},
};

/// Asked for once, before any stand-in answers in the system's place.
const std::wstring& ProgramPath() {
    static const std::wstring program = [] {
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        return std::wstring(path);
    }();
    return program;
}

std::wstring AppIdText() {
    wchar_t text[39] = {};
    ::StringFromGUID2(kAppId, text, 39);
    return text;
}

/// Everything that stands in the keys of the AppID and of the two classes.
RegistryTree Registered(HKEY root = HKEY_LOCAL_MACHINE) {
    const std::wstring keys[] = {L"AppID\\" + AppIdText(),
                                 L"AppID\\VelkWmiPci.DLL",
                                 L"VelkRegTest.First.1",
                                 L"VelkRegTest.First",
                                 L"VelkRegTest.Second.1",
                                 L"VelkRegTest.Second",
                                 std::wstring(L"CLSID\\") + kFirstClsid,
                                 std::wstring(L"CLSID\\") + kSecondClsid};
    RegistryTree all;
    for (const std::wstring& key : keys) {
        for (const auto& [path, value] : ReadRegistryTree(root, std::wstring(kClasses) + L"\\" + key))
            all[key + path] = value;
    }
    return all;
}

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

class ServerRegistrationTest : public testing::Test {
  protected:
    ServerRegistrationTest() {
        ProgramPath();
        Unregister();
    }
    ~ServerRegistrationTest() override { Unregister(); }

    static HRESULT Register(RegistrationScope scope = RegistrationScope::kMachine) {
        return RegisterServer(::GetModuleHandleW(nullptr), kTable, scope);
    }
    static HRESULT Unregister(RegistrationScope scope = RegistrationScope::kMachine) {
        return UnregisterServer(::GetModuleHandleW(nullptr), kTable, scope);
    }
};

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

int g_writesLeft = 0;

LSTATUS WINAPI SetValueUntilItFails(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                    DWORD size) {
    static const auto real = reinterpret_cast<decltype(&::RegSetValueExW)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegSetValueExW")));
    return g_writesLeft-- == 0 ? ERROR_ACCESS_DENIED : real(key, name, reserved, type, data, size);
}

TEST_F(ServerRegistrationTest, FailureHalfWayUndoesAllScripts) {
    // Two values of the AppID and ten of each class.
    constexpr int kWrites = 2 + 2 * 10;
    for (int write = 0; write < kWrites; ++write) {
        SCOPED_TRACE(write);
        {
            g_writesLeft = write;
            const StandIn failing("RegSetValueExW", &SetValueUntilItFails);
            EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
        }
        EXPECT_TRUE(Registered().empty());
    }
    g_writesLeft = kWrites;
    const StandIn failing("RegSetValueExW", &SetValueUntilItFails);
    EXPECT_EQ(Register(), S_OK) << "there are no more writes than were tried";
}

TEST_F(ServerRegistrationTest, FailedUpgradeKeepsTheOldRegistration) {
    ASSERT_EQ(Register(), S_OK);
    {
        g_writesLeft = 15;
        const StandIn failing("RegSetValueExW", &SetValueUntilItFails);
        EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    }
    EXPECT_EQ(Registered(), Expected());
}

HRSRC WINAPI FindNothing(HMODULE, LPCWSTR, LPCWSTR) { return nullptr; }

TEST_F(ServerRegistrationTest, ScriptThatIsNotThereChangesNothing) {
    const StandIn failing("FindResourceW", &FindNothing);
    EXPECT_EQ(Register(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    EXPECT_EQ(Unregister(), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
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

// The type library.

std::wstring TypeLibraryKey() {
    wchar_t text[39] = {};
    ::StringFromGUID2(kTypeLibraryId, text, 39);
    return std::wstring(L"TypeLib\\") + text;
}

RegistryTree RegisteredTypeLibrary() { return ReadRegistryTree(HKEY_CLASSES_ROOT, TypeLibraryKey()); }

TEST_F(ServerRegistrationTest, TypeLibraryIsRegisteredWithTheServer) {
    ASSERT_EQ(Register(), S_OK);
    RegistryTree tree = RegisteredTypeLibrary();
    EXPECT_EQ(tree[L"\\1.0:"], L"s:VelkWmiPci 1.0 Type Library");
    EXPECT_EQ(tree[L"\\1.0\\0\\win64:"], L"s:" + ProgramPath());
    ASSERT_EQ(Unregister(), S_OK);
    EXPECT_TRUE(RegisteredTypeLibrary().empty());
}

HRESULT WINAPI RefuseToRegister(ITypeLib*, OLECHAR*, OLECHAR*) { return TYPE_E_REGISTRYACCESS; }

TEST_F(ServerRegistrationTest, TypeLibraryThatCannotBeRegisteredUndoesTheRest) {
    const StandIn failing("RegisterTypeLib", &RefuseToRegister);
    EXPECT_EQ(Register(), TYPE_E_REGISTRYACCESS);
    EXPECT_TRUE(Registered().empty());
}

HRESULT WINAPI LoadNoTypeLibrary(LPCOLESTR, REGKIND, ITypeLib**) { return TYPE_E_CANTLOADLIBRARY; }

TEST_F(ServerRegistrationTest, MissingTypeLibraryIsReported) {
    const StandIn failing("LoadTypeLibEx", &LoadNoTypeLibrary);
    EXPECT_EQ(Register(), TYPE_E_CANTLOADLIBRARY);
    EXPECT_TRUE(Registered().empty());
}

std::vector<std::string> g_functions;
HRESULT WINAPI RegisterForUser(ITypeLib*, OLECHAR*, OLECHAR*) { return S_FALSE; }
HRESULT WINAPI UnregisterForUser(REFGUID, WORD, WORD, LCID, SYSKIND) { return S_OK; }

FARPROC WINAPI FindUserFunctions(HMODULE module, const char* name) {
    EXPECT_EQ(module, ::GetModuleHandleW(L"OLEAUT32.DLL"));
    g_functions.emplace_back(name);
    const bool registers = g_functions.back() == "RegisterTypeLibForUser";
    return reinterpret_cast<FARPROC>(registers ? reinterpret_cast<void*>(&RegisterForUser)
                                               : reinterpret_cast<void*>(&UnregisterForUser));
}

TEST_F(ServerRegistrationTest, UserScopeRegistersTheTypeLibraryForTheUser) {
    g_functions.clear();
    const StandIn find("GetProcAddress", &FindUserFunctions);
    EXPECT_EQ(Register(RegistrationScope::kUser), S_OK);
    EXPECT_TRUE(RegisteredTypeLibrary().empty());
    EXPECT_EQ(Unregister(RegistrationScope::kUser), S_OK);
    EXPECT_THAT(g_functions, testing::ElementsAre("RegisterTypeLibForUser", "UnRegisterTypeLibForUser"));
}

FARPROC WINAPI FindNoFunction(HMODULE, const char*) { return nullptr; }

TEST_F(ServerRegistrationTest, SystemWithoutUserTypeLibrariesFailsTheUsersRegistration) {
    {
        const StandIn find("GetProcAddress", &FindNoFunction);
        EXPECT_EQ(Register(RegistrationScope::kUser), HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND));
    }
    EXPECT_TRUE(Registered(HKEY_CURRENT_USER).empty());
}

TEST(TypeLibraryTest, NamesOneClassPerProvider) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(::LoadTypeLibEx(ProgramPath().c_str(), REGKIND_NONE, library.Put()), S_OK);
    Bstr description;
    ASSERT_EQ(library->GetDocumentation(-1, nullptr, description.Put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(description.View(), L"VelkWmiPci 1.0 Type Library");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_TRUE(::IsEqualGUID(attributes->guid, kTypeLibraryId));
    EXPECT_EQ(attributes->syskind, SYS_WIN64);
    library->ReleaseTLibAttr(attributes);

    const std::pair<CLSID, std::wstring> classes[] = {
        {kClsidVelkPCIBridgeProv, L"VelkPCIBridgeProv"},
        {kClsidVelkPCICardProv, L"VelkPCICardProv"},
        {kClsidVelkPCICardInSlotProv, L"VelkPCICardInSlotProv"},
        {kClsidVelkPCIDeviceProv, L"VelkPCIDeviceProv"},
        {kClsidVelkPCISlotProv, L"VelkPCISlotProv"},
        {kClsidVelkPCISlotElementLocationProv, L"VelkPCISlotElementLocationProv"},
        {kClsidVelkPCISlotLocationProv, L"VelkPCISlotLocationProv"},
        {kClsidVelkRealizesPCIDeviceProv, L"VelkRealizesPCIDeviceProv"},
        {kClsidVelkSystemPCIDeviceProv, L"VelkSystemPCIDeviceProv"},
        {kClsidVelkSystemPCISlotProv, L"VelkSystemPCISlotProv"},
    };
    EXPECT_EQ(library->GetTypeInfoCount(), std::size(classes));
    for (const auto& [clsid, name] : classes) {
        SCOPED_TRACE(testing::PrintToString(name));
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(library->GetTypeInfoOfGuid(clsid, info.Put()), S_OK);
        Bstr found;
        Bstr help;
        ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, found.Put(), help.Put(), nullptr, nullptr), S_OK);
        EXPECT_EQ(found.View(), name);
        EXPECT_EQ(help.View(), name + L" Class");
    }
}

}  // namespace
