#include "module/module.h"

#include <gmock/gmock.h>

#include <new>

#include "common/com_ptr.h"
#include "common/common_log.h"
#include "common/memory_reserve.h"
#include "common/mutex.h"
#include "framework/module_lock.h"
#include "module/class_table.h"
#include "module/identifiers.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"
#include "support/recording_sink.h"
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
    EXPECT_NE(MemoryReserveObject().Get(), nullptr);
    EXPECT_NE(CommonLog(), nullptr);
    EXPECT_NE(CommonMutexObject().Get(), nullptr);
    EXPECT_NE(Module(), nullptr);
    EXPECT_NE(PciDeviceListObject().Get(), nullptr);
    EXPECT_NE(PciBridgeListObject().Get(), nullptr);
    EXPECT_NE(SmbiosTableObject().Get(), nullptr);
    UnloadModule();
    EXPECT_EQ(CommonLog(), nullptr);
    EXPECT_EQ(CommonMutexObject().Get(), nullptr);
    EXPECT_EQ(Module(), nullptr);
    EXPECT_EQ(PciDeviceListObject().Get(), nullptr);
    EXPECT_EQ(PciBridgeListObject().Get(), nullptr);
    EXPECT_EQ(SmbiosTableObject().Get(), nullptr);
    EXPECT_EQ(MemoryReserveObject().Get(), nullptr);
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

struct PublishedClass {
    CLSID clsid;
    const wchar_t* provider;
    const wchar_t* progId;
};

/// The ProgIDs begin in three ways, and one is shortened: they are in registries as they stand.
constexpr PublishedClass kPublished[] = {
    {kClsidVelkPCIBridgeProv, L"VelkPCIBridgeProv", L"VelkWmiPCI.VelkPCIBridgeProv"},
    {kClsidVelkPCICardProv, L"VelkPCICardProv", L"VelkWmiPCI.VelkPCICardProv"},
    {kClsidVelkPCICardInSlotProv, L"VelkPCICardInSlotProv", L"VelkWmiPCI.VelkPCICardInSlotProv"},
    {kClsidVelkPCIDeviceProv, L"VelkPCIDeviceProv", L"VelkWmiPCI.VelkPCIDeviceProv"},
    {kClsidVelkPCISlotProv, L"VelkPCISlotProv", L"VelkWmiPci.VelkPCISlotProv"},
    {kClsidVelkPCISlotElementLocationProv, L"VelkPCISlotElementLocationProv",
     L"VelkWmiSys.VelkPCISltElmntLocProv"},
    {kClsidVelkPCISlotLocationProv, L"VelkPCISlotLocationProv", L"VelkWmiPci.VelkPCISlotLocationProv"},
    {kClsidVelkRealizesPCIDeviceProv, L"VelkRealizesPCIDeviceProv", L"VelkWmiPci.VelkRealizesPCIDeviceProv"},
    {kClsidVelkSystemPCIDeviceProv, L"VelkSystemPCIDeviceProv", L"VelkWmiPci.VelkSystemPCIDeviceProv"},
    {kClsidVelkSystemPCISlotProv, L"VelkSystemPCISlotProv", L"VelkWmiPci.VelkSystemPCISlotProv"},
};

TEST_F(ModuleTest, ClassesArePublishedUnderTheirFixedNames) {
    ASSERT_EQ(ClassTable().size(), std::size(kPublished));
    for (std::size_t at = 0; at < std::size(kPublished); ++at) {
        const ClassTableEntry& entry = ClassTable()[at];
        const CString progId = kPublished[at].progId;
        EXPECT_TRUE(::IsEqualCLSID(entry.clsid, kPublished[at].clsid)) << at;
        EXPECT_EQ(entry.versionIndependentProgId, progId);
        EXPECT_EQ(entry.progId, progId + L".1");
        EXPECT_EQ(entry.description, FormatText(L"C%s Object", kPublished[at].provider));
    }
}

TEST_F(ModuleTest, EveryProviderLocksAndLogsUnderItsOwnName) {
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 1);
    ASSERT_TRUE(Load());
    for (const PublishedClass& published : kPublished) {
        SCOPED_TRACE(testing::PrintToString(CString(published.provider)));
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module()->GetClassObject(published.clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        ComPtr<IWbemServices> provider;
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IWbemServices, provider.PutVoid()), S_OK);

        // One class answers from a thread of its own.
        const UniqueHandle answered(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        const auto sink = velktest::RecordingSink::Make();
        sink->onStatus = [&] { ::SetEvent(answered.Get()); };
        provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get());
        EXPECT_EQ(::WaitForSingleObject(answered.Get(), 60000), WAIT_OBJECT_0);

        const UniqueHandle lock(
            ::OpenMutexW(SYNCHRONIZE, FALSE, FormatText(L"Global\\wmi_%s", published.provider).c_str()));
        EXPECT_TRUE(lock);
        provider.Reset();
        factory.Reset();
        for (int wait = 0; ModuleLock::Count() != 0 && wait < 6000; ++wait) ::Sleep(10);
        ASSERT_EQ(ModuleLock::Count(), 0);
        EXPECT_NE(
            LogText().find(FormatText(L"[Verbose] VelkWmiPci.DLL!C%s::CreateInstanceEnumAsync| Entering",
                                      published.provider)),
            CString::npos);
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
