#include "module/module.h"

#include <gmock/gmock.h>

#include <new>

#include "common/com_ptr.h"
#include "common/common_log.h"
#include "common/mutex.h"
#include "framework/module_lock.h"
#include "module/class_table.h"
#include "module/identifiers.h"
#include "pci/velk_pci_device_list.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace {

using namespace velk;

/// A module with its log in a folder of its own, at a given level.
class ModuleTest : public testing::Test {
  protected:
    ModuleTest() { registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path()); }
    ~ModuleTest() override {
        UnloadModule();
        EXPECT_EQ(ModuleLock::Count(), 0);
    }

    bool Load() { return LoadModule(::GetModuleHandleW(nullptr)); }
    CString LogText() const { return velktest::ReadWide(folder_.Path(L"VelkWBEMServer.log")); }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
};

TEST_F(ModuleTest, LoadMakesEveryObjectAndUnloadNone) {
    ASSERT_TRUE(Load());
    EXPECT_NE(CommonLog(), nullptr);
    EXPECT_NE(CommonMutexObject().Get(), nullptr);
    EXPECT_NE(Module(), nullptr);
    EXPECT_NE(PciDeviceListObject().Get(), nullptr);
    UnloadModule();
    EXPECT_EQ(CommonLog(), nullptr);
    EXPECT_EQ(CommonMutexObject().Get(), nullptr);
    EXPECT_EQ(Module(), nullptr);
    EXPECT_EQ(PciDeviceListObject().Get(), nullptr);
}

TEST_F(ModuleTest, LoadAndUnloadAreLogged) {
    ASSERT_TRUE(Load());
    UnloadModule();
    const CString log = LogText();
    const std::size_t loaded = log.find(L"VelkWmiPci.DLL!CVelkWmiPciModule::CVelkWmiPciModule");
    const std::size_t unloaded = log.find(L"VelkWmiPci.DLL!CVelkWmiPciModule::~CVelkWmiPciModule");
    ASSERT_NE(loaded, CString::npos);
    ASSERT_NE(unloaded, CString::npos);
    EXPECT_LT(loaded, unloaded);
    EXPECT_NE(log.find(L"DLL is loaded."), CString::npos);
    EXPECT_NE(log.find(L"DLL is unloaded."), CString::npos);
}

TEST_F(ModuleTest, SilentLogDoesNotHinderLoading) {
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 6);
    EXPECT_TRUE(Load());
    UnloadModule();
    EXPECT_EQ(LogText(), L"");
}

HANDLE WINAPI OpenNothing(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST_F(ModuleTest, LogThatCannotBeOpenedDoesNotHinderLoading) {
    const velktest::StandIn noFile("CreateFileW", &OpenNothing);
    EXPECT_TRUE(Load());
    EXPECT_NE(Module(), nullptr);
}

HANDLE WINAPI OutOfMemory(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR) { throw std::bad_alloc(); }

TEST_F(ModuleTest, FailedLoadLeavesNothing) {
    const velktest::StandIn failing("CreateMutexW", &OutOfMemory);
    EXPECT_FALSE(Load());
    EXPECT_EQ(CommonLog(), nullptr);
    EXPECT_EQ(CommonMutexObject().Get(), nullptr);
    EXPECT_EQ(Module(), nullptr);
}

TEST_F(ModuleTest, ModuleMayUnloadWhenNothingIsLeft) {
    ASSERT_TRUE(Load());
    EXPECT_EQ(Module()->CanUnloadNow(), S_OK);
    {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module()->GetClassObject(kClsidVelkPCIDeviceProv, IID_IClassFactory, factory.PutVoid()),
                  S_OK);
        EXPECT_EQ(Module()->CanUnloadNow(), S_FALSE);
        ComPtr<IUnknown> provider;
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, provider.PutVoid()), S_OK);
        factory.Reset();
        EXPECT_EQ(Module()->CanUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(Module()->CanUnloadNow(), S_OK);
    EXPECT_EQ(Module()->CanUnloadNow(), S_OK) << "asking changes nothing";
}

TEST_F(ModuleTest, EveryClassOfTheModuleMakesAProvider) {
    ASSERT_TRUE(Load());
    ASSERT_FALSE(ClassTable().empty());
    for (const ClassTableEntry& entry : ClassTable()) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(entry.progId)));
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module()->GetClassObject(entry.clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        for (const IID& iid : {IID_IUnknown, IID_IWbemServices, IID_IWbemProviderInit}) {
            ComPtr<IUnknown> object;
            EXPECT_EQ(factory->CreateInstance(nullptr, iid, object.PutVoid()), S_OK);
        }
    }
}

TEST_F(ModuleTest, UnknownClassIsNotAvailable) {
    ASSERT_TRUE(Load());
    void* object = this;
    EXPECT_EQ(Module()->GetClassObject(CLSID_NULL, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
}

LSTATUS WINAPI CreateNoKey(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY,
                           LPDWORD) {
    throw std::bad_alloc();
}

TEST_F(ModuleTest, WantOfMemoryIsReturnedNotThrown) {
    ASSERT_TRUE(Load());
    const velktest::StandIn failing("RegCreateKeyExW", &CreateNoKey);
    EXPECT_EQ(Module()->RegisterServer(), E_OUTOFMEMORY);
}

TEST_F(ModuleTest, RegistrationScopeIsASettingOffByDefault) {
    const auto keyExists = [](HKEY root) {
        UniqueRegistryKey key;
        return ::RegOpenKeyExW(root, L"Software\\Classes\\VelkWmiPCI.VelkPCIDeviceProv", 0, KEY_READ,
                               key.Put()) == ERROR_SUCCESS;
    };
    ASSERT_TRUE(Load());
    ASSERT_EQ(Module()->RegisterServer(), S_OK);
    EXPECT_TRUE(keyExists(HKEY_LOCAL_MACHINE));
    EXPECT_FALSE(keyExists(HKEY_CURRENT_USER));
    ASSERT_EQ(Module()->UnregisterServer(), S_OK);

    Module()->SetRegistrationScope(RegistrationScope::kUser);
    ASSERT_EQ(Module()->RegisterServer(), S_OK);
    EXPECT_TRUE(keyExists(HKEY_CURRENT_USER));
    EXPECT_FALSE(keyExists(HKEY_LOCAL_MACHINE));
    ASSERT_EQ(Module()->UnregisterServer(), S_OK);
    EXPECT_FALSE(keyExists(HKEY_CURRENT_USER));
}

}  // namespace
