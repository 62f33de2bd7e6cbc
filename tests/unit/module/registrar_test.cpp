#include "module/registrar.h"

#include <gmock/gmock.h>

#include <vector>

#include "module/failing_writes.h"
#include "support/registry_tree.h"
#include "support/stand_ins.h"

namespace {

using namespace velk;
using velktest::ReadRegistryTree;
using velktest::RegistryTree;
using velktest::StandIn;

constexpr wchar_t kKey[] = L"Software\\VelkRegistrarTest";

class RegistrarTest : public testing::Test {
  protected:
    RegistrarTest() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey); }
    ~RegistrarTest() override { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey); }

    /// The script of what stands in the test's own key.
    static RegistryScript Script(const std::wstring& items) {
        RegistryScript script;
        const auto error = ParseRegistryScript(
            L"HKLM { NoRemove Software { VelkRegistrarTest { " + items + L" } } }", script);
        if (error) ADD_FAILURE() << error->reason << " at " << error->position;
        return script;
    }
    static LSTATUS Register(const std::wstring& items) {
        Registrar registrar(RegistrationScope::kMachine);
        const LSTATUS status = registrar.Register(Script(items));
        if (status == ERROR_SUCCESS) registrar.Commit();
        return status;
    }
    static LSTATUS Unregister(const std::wstring& items) {
        return velk::Unregister(Script(items), RegistrationScope::kMachine);
    }
    static RegistryTree Tree() { return ReadRegistryTree(HKEY_LOCAL_MACHINE, kKey); }
};

TEST_F(RegistrarTest, KeysAndValuesAreWritten) {
    EXPECT_EQ(Register(L"A = s 'text' { B { val N = d '7' val T = s '' } } val V = s 'v'"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""},
                                    {L":V", L"s:v"},
                                    {L"\\A", L""},
                                    {L"\\A:", L"s:text"},
                                    {L"\\A\\B", L""},
                                    {L"\\A\\B:N", L"d:7"},
                                    {L"\\A\\B:T", L"s:"}}));
}

TEST_F(RegistrarTest, ForceRemoveEmptiesTheKeyFirst) {
    Register(L"A = s 'old' { Stale { Deep val X = s 'x' } }");
    EXPECT_EQ(Register(L"ForceRemove A { New }"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""}, {L"\\A", L""}, {L"\\A\\New", L""}}));
}

TEST_F(RegistrarTest, ValuesThatAreThereAreReplaced) {
    Register(L"A = s 'old' { val N = d '1' val T = s 'a longer text' }");
    EXPECT_EQ(Register(L"A = s 'new' { val N = s 'other type' val T = s 't' }"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""},
                                    {L"\\A", L""},
                                    {L"\\A:", L"s:new"},
                                    {L"\\A:N", L"s:other type"},
                                    {L"\\A:T", L"s:t"}}));
}

TEST_F(RegistrarTest, OtherKeysKeepWhatIsThere) {
    Register(L"A = s 'old' { Stale } NoRemove B { Stale }");
    EXPECT_EQ(Register(L"A { New } NoRemove B { New }"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""},
                                    {L"\\A", L""},
                                    {L"\\A:", L"s:old"},
                                    {L"\\A\\New", L""},
                                    {L"\\A\\Stale", L""},
                                    {L"\\B", L""},
                                    {L"\\B\\New", L""},
                                    {L"\\B\\Stale", L""}}));
}

TEST_F(RegistrarTest, DeleteRemovesTheKeyAtRegistration) {
    Register(L"A { Deep { Deeper } } B");
    EXPECT_EQ(Register(L"Delete A Delete NeverThere"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""}, {L"\\B", L""}}));
}

TEST_F(RegistrarTest, UnregistrationRemovesEveryKeyNotMarkedNoRemove) {
    const wchar_t items[] =
        L"A { B { C = s 'c' } } ForceRemove F { G } NoRemove N = s 'n' { O NoRemove P { Q } val V = s 'v' }";
    Register(items);
    EXPECT_EQ(Unregister(items), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""}, {L"\\N", L""}, {L"\\N:", L"s:n"}, {L"\\N\\P", L""}}))
        << "keys marked NoRemove stay, without what is listed below them";
}

TEST_F(RegistrarTest, NothingIsLeftWhenNothingIsMarked) {
    Register(L"A { B } val V = s 'v'");
    EXPECT_EQ(Unregister(L"A { B } val V = s 'v'"), ERROR_SUCCESS);
    EXPECT_TRUE(Tree().empty());
}

TEST_F(RegistrarTest, UnregisteringTwiceSucceeds) {
    Register(L"ForceRemove A { B } NoRemove N { val V = s 'v' O }");
    EXPECT_EQ(Unregister(L"ForceRemove A { B } NoRemove N { val V = s 'v' O }"), ERROR_SUCCESS);
    EXPECT_EQ(Unregister(L"ForceRemove A { B } NoRemove N { val V = s 'v' O }"), ERROR_SUCCESS);
}

TEST_F(RegistrarTest, UnregistrationTakesWhatOthersPutBelowItsKeys) {
    Register(L"A { B } ForceRemove F NoRemove N { O }");
    Register(L"A { Foreign { Deep } } F { Foreign } N { Foreign O { Foreign } }");
    EXPECT_EQ(Unregister(L"A { B } ForceRemove F NoRemove N { O }"), ERROR_SUCCESS);
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""}, {L"\\N", L""}, {L"\\N\\Foreign", L""}}))
        << "a key marked NoRemove stays, with what is not listed below it";
}

TEST_F(RegistrarTest, AKeyStaysAboveOneThatIsNeverRemoved) {
    const wchar_t items[] =
        L"A = s 'a' { B { NoRemove C { D } E } val V = s 'v' } ForceRemove F { NoRemove G }";
    Register(items);
    EXPECT_EQ(Unregister(items), ERROR_SUCCESS);
    EXPECT_EQ(
        Tree(),
        (RegistryTree{{L"", L""}, {L"\\A", L""}, {L"\\A:", L"s:a"}, {L"\\A\\B", L""}, {L"\\A\\B\\C", L""}}));
}

TEST_F(RegistrarTest, WhatIsNotCommittedIsUndone) {
    Register(
        L"Kept = s 'old' { val N = d '1' } Gone { Deep = s 'd' { val X = d '2' } } Refilled = s 'r' { Old }");
    const RegistryTree before = Tree();
    {
        Registrar registrar(RegistrationScope::kMachine);
        EXPECT_EQ(
            registrar.Register(Script(L"Kept = s 'new' { val N = s 'other type' val M = s 'm' Child } "
                                      L"Delete Gone ForceRemove Refilled { New } Fresh { Deep = s 'd' }")),
            ERROR_SUCCESS);
        EXPECT_NE(Tree(), before);
    }
    EXPECT_EQ(Tree(), before);
}

std::vector<DWORD> g_keyOptions;
decltype(&::RegCreateKeyExW) g_createKey = nullptr;
LSTATUS WINAPI RecordOptions(HKEY key, LPCWSTR name, DWORD reserved, LPWSTR keyClass, DWORD options,
                             REGSAM rights, SECURITY_ATTRIBUTES* security, PHKEY made, LPDWORD disposition) {
    EXPECT_EQ(reserved, 0U);
    g_keyOptions.push_back(options);
    return g_createKey(key, name, reserved, keyClass, options, rights, security, made, disposition);
}

TEST_F(RegistrarTest, KeysThatAreMadeOrRestoredOutlastARestart) {
    Register(L"Gone { Deep }");
    const StandIn<decltype(&RecordOptions)> record("RegCreateKeyExW", &RecordOptions);
    g_createKey = record.Original<decltype(g_createKey)>();
    g_keyOptions.clear();
    {
        Registrar registrar(RegistrationScope::kMachine);
        EXPECT_EQ(registrar.Register(Script(L"Delete Gone Fresh")), ERROR_SUCCESS);
    }
    EXPECT_THAT(g_keyOptions,
                testing::AllOf(testing::SizeIs(testing::Ge(3U)), testing::Each(REG_OPTION_NON_VOLATILE)))
        << "one fresh key, two that came back";
}

TEST_F(RegistrarTest, FailureAtAnyWriteIsReportedAndUndone) {
    const wchar_t items[] = L"A = s '1' { val B = d '2' } ForceRemove Old { C = s '3' { val D = s '4' } }";
    constexpr int kWrites = 4;
    Register(L"Old = s 'before' { Deep { val X = d '9' } }");
    const RegistryTree before = Tree();
    for (int write = 0; write < kWrites; ++write) {
        SCOPED_TRACE(write);
        {
            const velktest::FailingWrite failing(write, ERROR_DISK_FULL);
            EXPECT_EQ(Register(items), ERROR_DISK_FULL);
        }
        EXPECT_EQ(Tree(), before);
    }
    const velktest::FailingWrite failing(kWrites, ERROR_DISK_FULL);
    EXPECT_EQ(Register(items), ERROR_SUCCESS) << "there are no more writes than were tried";
}

/// Deletes what is below the key, and fails at the key itself.
LSTATUS WINAPI DeleteHalfWay(HKEY key, LPCWSTR name) {
    static const auto real = reinterpret_cast<decltype(&::RegDeleteTreeW)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteTreeW")));
    real(key, (std::wstring(name) + L"\\Deep").c_str());
    return ERROR_ACCESS_DENIED;
}

TEST_F(RegistrarTest, DeletionThatFailsHalfWayIsUndone) {
    Register(L"A = s 'a' { Deep { Deeper val X = s 'x' } }");
    const RegistryTree before = Tree();
    {
        const StandIn halfWay("RegDeleteTreeW", &DeleteHalfWay);
        EXPECT_EQ(Register(L"ForceRemove A"), ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(Tree(), before);
}

/// Refuses, each for a reason of its own, the keys A and C.
LSTATUS WINAPI RefuseToDelete(HKEY key, LPCWSTR name) {
    static const auto real = reinterpret_cast<decltype(&::RegDeleteTreeW)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteTreeW")));
    if (std::wstring_view(name) == L"A") return ERROR_ACCESS_DENIED;
    if (std::wstring_view(name) == L"C") return ERROR_KEY_DELETED;
    return real(key, name);
}

TEST_F(RegistrarTest, UnregistrationGoesOnAfterAFailureAndReportsTheFirst) {
    const wchar_t items[] = L"NoRemove N { ForceRemove A B C D }";
    Register(items);
    {
        const StandIn failing("RegDeleteTreeW", &RefuseToDelete);
        EXPECT_EQ(Unregister(items), ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(Tree(), (RegistryTree{{L"", L""}, {L"\\N", L""}, {L"\\N\\A", L""}, {L"\\N\\C", L""}}));
}

TEST_F(RegistrarTest, UserScopePutsClassesIntoTheUsersOwn) {
    RegistryScript script;
    ASSERT_FALSE(ParseRegistryScript(
        L"HKCR { VelkRegistrarTest = s 'u' } HKLM { NoRemove Software { VelkRegistrarTest } }", script));
    const wchar_t userKey[] = L"Software\\Classes\\VelkRegistrarTest";
    {
        Registrar registrar(RegistrationScope::kUser);
        ASSERT_EQ(registrar.Register(script), ERROR_SUCCESS);
        registrar.Commit();
    }
    EXPECT_EQ(ReadRegistryTree(HKEY_CURRENT_USER, userKey), (RegistryTree{{L"", L""}, {L":", L"s:u"}}));
    EXPECT_TRUE(ReadRegistryTree(HKEY_LOCAL_MACHINE, userKey).empty());
    EXPECT_FALSE(Tree().empty()) << "other roots are as the script says";

    EXPECT_EQ(velk::Unregister(script, RegistrationScope::kUser), ERROR_SUCCESS);
    EXPECT_TRUE(ReadRegistryTree(HKEY_CURRENT_USER, userKey).empty());
    EXPECT_FALSE(ReadRegistryTree(HKEY_CURRENT_USER, L"Software").empty());
}

}  // namespace
