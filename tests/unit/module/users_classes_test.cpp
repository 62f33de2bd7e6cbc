// Registration for the machine where the user has classes of the same name.

#include <gtest/gtest.h>

#include <string>

#include "common/handle.h"
#include "module/server_registration_fixture.h"
#include "support/registry_tree.h"
#include "support/stand_ins.h"

namespace {

using namespace velk;
using velktest::kFirstClsid;
using velktest::ReadRegistryTree;
using velktest::Registered;
using velktest::RegistryTree;
using velktest::ServerRegistrationTest;
using velktest::StandIn;

const std::wstring kClassesPath = L"Software\\Classes\\";

template <class Function>
Function Real(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), name)));
}

/// A key where Windows looks for it.
struct Place {
    HKEY root;
    std::wstring path;
};

/// HKEY_CLASSES_ROOT is a view of two places: what the user's half has is there, the rest is the machine's.
Place PlaceOf(HKEY root, const wchar_t* path) {
    if (root != HKEY_CLASSES_ROOT) return {root, path};
    static const auto open = Real<decltype(&::RegOpenKeyExW)>("RegOpenKeyExW");
    UniqueRegistryKey key;
    const bool isUsers =
        open(HKEY_CURRENT_USER, (kClassesPath + path).c_str(), 0, KEY_READ, key.Put()) == ERROR_SUCCESS;
    return {isUsers ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, kClassesPath + path};
}

LSTATUS WINAPI OpenAsWindows(HKEY root, LPCWSTR path, DWORD options, REGSAM access, HKEY* key) {
    static const auto real = Real<decltype(&::RegOpenKeyExW)>("RegOpenKeyExW");
    const Place place = PlaceOf(root, path);
    return real(place.root, place.path.c_str(), options, access, key);
}

LSTATUS WINAPI CreateAsWindows(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR name, DWORD options,
                               REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key, DWORD* disposition) {
    static const auto real = Real<decltype(&::RegCreateKeyExW)>("RegCreateKeyExW");
    const Place place = PlaceOf(root, path);
    return real(place.root, place.path.c_str(), reserved, name, options, access, security, key, disposition);
}

LSTATUS WINAPI DeleteTreeAsWindows(HKEY root, LPCWSTR path) {
    static const auto real = Real<decltype(&::RegDeleteTreeW)>("RegDeleteTreeW");
    const Place place = PlaceOf(root, path);
    return real(place.root, place.path.c_str());
}

/// The user has a class of the same CLSID, and a folder of AppIDs.
class UsersClasses : public ServerRegistrationTest {
  protected:
    UsersClasses() {
        // What a registration writes where the user has nothing of the kind.
        EXPECT_EQ(Register(), S_OK);
        expected_ = Registered();
        EXPECT_FALSE(expected_.empty());
        EXPECT_EQ(Unregister(), S_OK);
        Plant(kUsersClass_);
        Plant(kUsersAppIds_);
    }
    ~UsersClasses() override {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kUsersClass_.c_str());
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kUsersAppIds_.c_str());
    }

    RegistryTree UsersHalf() {
        RegistryTree both = ReadRegistryTree(HKEY_CURRENT_USER, kUsersClass_);
        both.merge(ReadRegistryTree(HKEY_CURRENT_USER, kUsersAppIds_));
        return both;
    }
    /// Registers and unregisters; the user's half is as it was after either.
    void RegistersForTheMachine() {
        const RegistryTree before = UsersHalf();
        ASSERT_FALSE(before.empty());
        ASSERT_EQ(Register(), S_OK);
        EXPECT_EQ(Registered(), expected_);
        EXPECT_EQ(UsersHalf(), before);
        ASSERT_EQ(Unregister(), S_OK);
        EXPECT_TRUE(Registered().empty());
        EXPECT_EQ(UsersHalf(), before);
    }

  private:
    static void Plant(const std::wstring& path) {
        UniqueRegistryKey key;
        ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(),
                          nullptr);
        constexpr DWORD kValue = 1;
        ::RegSetValueExW(key.Get(), L"Users", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&kValue),
                         sizeof kValue);
    }

    const std::wstring kUsersClass_ = kClassesPath + L"CLSID\\" + kFirstClsid;
    const std::wstring kUsersAppIds_ = kClassesPath + L"AppID";
    RegistryTree expected_;
};

TEST_F(UsersClasses, DoNotTakeTheMachinesRegistration) { RegistersForTheMachine(); }

TEST_F(UsersClasses, DoNotTakeTheMachinesRegistrationWhereTheyHideTheMachines) {
    const StandIn open("RegOpenKeyExW", &OpenAsWindows);
    const StandIn create("RegCreateKeyExW", &CreateAsWindows);
    const StandIn remove("RegDeleteTreeW", &DeleteTreeAsWindows);
    RegistersForTheMachine();
}

}  // namespace
