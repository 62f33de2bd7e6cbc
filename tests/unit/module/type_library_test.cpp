// The type library, and its registration with the server.

#include <gmock/gmock.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "host/method_redirect.h"
#include "module/identifiers.h"
#include "module/registrar.h"
#include "module/server_registration_fixture.h"
#include "support/registry_tree.h"
#include "support/stand_ins.h"

namespace {

using namespace velk;
using velktest::ProgramPath;
using velktest::ReadRegistryTree;
using velktest::Registered;
using velktest::RegistryTree;
using velktest::ServerRegistrationTest;
using velktest::StandIn;

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

HRESULT g_answer = S_OK;
HRESULT WINAPI AnswerTheQuery(REFGUID, WORD, WORD, LCID, BSTR*) { return g_answer; }

TEST_F(ServerRegistrationTest, TypeLibraryThatCannotBeAskedForFailsTheUnregistration) {
    ASSERT_EQ(Register(), S_OK);
    {
        g_answer = E_ACCESSDENIED;
        const StandIn refused("QueryPathOfRegTypeLib", &AnswerTheQuery);
        EXPECT_EQ(Unregister(), E_ACCESSDENIED);
    }
    EXPECT_FALSE(RegisteredTypeLibrary().empty());
    {
        g_answer = TYPE_E_LIBNOTREGISTERED;
        const StandIn none("QueryPathOfRegTypeLib", &AnswerTheQuery);
        EXPECT_EQ(Unregister(), S_OK) << "what is not registered is no failure";
    }
}

// Places in ITypeLib.
constexpr std::size_t kGetLibAttr = 7;
constexpr std::size_t kReleaseTLibAttr = 12;

int g_attributesHeld = 0;
int g_attributesTaken = 0;
HRESULT(WINAPI* g_getLibAttr)(ITypeLib*, TLIBATTR**) = nullptr;
void(WINAPI* g_releaseTLibAttr)(ITypeLib*, TLIBATTR*) = nullptr;
HRESULT WINAPI CountTaken(ITypeLib* library, TLIBATTR** attributes) {
    ++g_attributesTaken;
    ++g_attributesHeld;
    return g_getLibAttr(library, attributes);
}
void WINAPI CountGivenBack(ITypeLib* library, TLIBATTR* attributes) {
    --g_attributesHeld;
    g_releaseTLibAttr(library, attributes);
}

TEST_F(ServerRegistrationTest, UnregistrationGivesTheTypeLibrarysAttributesBack) {
    ASSERT_EQ(Register(), S_OK);
    ComPtr<ITypeLib> library;
    ASSERT_EQ(::LoadTypeLibEx(ProgramPath().c_str(), REGKIND_NONE, library.Put()), S_OK);
    const velkhost::MethodRedirect get(library.Get(), kGetLibAttr, reinterpret_cast<void*>(&CountTaken));
    const velkhost::MethodRedirect release(library.Get(), kReleaseTLibAttr,
                                           reinterpret_cast<void*>(&CountGivenBack));
    g_getLibAttr = reinterpret_cast<decltype(g_getLibAttr)>(get.Original());
    g_releaseTLibAttr = reinterpret_cast<decltype(g_releaseTLibAttr)>(release.Original());
    ASSERT_EQ(Unregister(), S_OK);
    EXPECT_GT(g_attributesTaken, 0);
    EXPECT_EQ(g_attributesHeld, 0);
}

// What the one case of success rests on.
TEST(TypeLibraryTest, TheSystemSaysThatALibraryIsNotRegistered) {
    constexpr GUID kNobodys = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x09}};
    Bstr path;
    EXPECT_EQ(::QueryPathOfRegTypeLib(kNobodys, 1, 0, 0, path.Put()), TYPE_E_LIBNOTREGISTERED);
}

HMODULE WINAPI RefuseOleAutomation(LPCWSTR name) {
    if (::_wcsicmp(name, L"OLEAUT32.DLL") == 0) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return ::LoadLibraryExW(name, nullptr, 0);
}

TEST_F(ServerRegistrationTest, OnlyTheUsersRegistrationLooksForFunctionsByName) {
    const StandIn refused("LoadLibraryW", &RefuseOleAutomation);
    EXPECT_EQ(Register(RegistrationScope::kUser), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_TRUE(Registered(HKEY_CURRENT_USER).empty());
    EXPECT_EQ(Unregister(RegistrationScope::kUser), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(Register(), S_OK);
    EXPECT_EQ(Unregister(), S_OK);
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
