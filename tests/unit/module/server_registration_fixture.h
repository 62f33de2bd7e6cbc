#pragma once

#include <gtest/gtest.h>

#include <string>

#include "common/platform.h"
#include "module/class_table.h"
#include "module/registrar.h"
#include "module/server_registration.h"
#include "support/registry_tree.h"

namespace velktest {

/// Two classes of no server, so that a registration of the real ones in the same registry is not disturbed.
extern const velk::ClassTableEntry kTable[2];
inline constexpr wchar_t kFirstClsid[] = L"{11111111-2222-3333-4444-555555555501}";
inline constexpr wchar_t kSecondClsid[] = L"{11111111-2222-3333-4444-555555555502}";

/// The test program's path. Asked for once, before any stand-in answers in the system's place.
const std::wstring& ProgramPath();
/// The module's AppID, in braces.
std::wstring AppIdText();

/// Everything that stands in the keys of the AppID and of the two classes.
RegistryTree Registered(HKEY root = HKEY_LOCAL_MACHINE);

/// Registers the two classes, served by the test program. They are not registered at the start and at the
/// end.
class ServerRegistrationTest : public testing::Test {
  protected:
    ServerRegistrationTest() {
        ProgramPath();
        Unregister();
    }
    ~ServerRegistrationTest() override { Unregister(); }

    static HRESULT Register(velk::RegistrationScope scope = velk::RegistrationScope::kMachine) {
        return velk::RegisterServer(::GetModuleHandleW(nullptr), kTable, scope);
    }
    static HRESULT Unregister(velk::RegistrationScope scope = velk::RegistrationScope::kMachine) {
        return velk::UnregisterServer(::GetModuleHandleW(nullptr), kTable, scope);
    }
};

}  // namespace velktest
