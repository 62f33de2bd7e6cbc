#include "module/module.h"

#include "common/common_log.h"
#include "common/function_log.h"
#include "common/memory_reserve.h"
#include "common/mutex.h"
#include "framework/com_object_root.h"
#include "framework/module_lock.h"
#include "module/class_factory.h"
#include "module/class_table.h"
#include "module/server_registration.h"
#include "pci/velk_pci_bridge_list.h"
#include "pci/velk_pci_device_list.h"
#include "smbios/smbios_table.h"

namespace velk {

namespace {
constinit ModuleObject<CVelkWmiPciModule> g_module;
}

CVelkWmiPciModule::CVelkWmiPciModule(HMODULE instance) : instance_(instance) {
    if (CCommonLog* const log = CommonLog()) log->LogInit(L"VelkWBEMServer", L"VelkWmiPci.DLL");
    FunctionLog(L"CVelkWmiPciModule", L"CVelkWmiPciModule").Information(L"DLL is loaded.");
}

CVelkWmiPciModule::~CVelkWmiPciModule() {
    FunctionLog(L"CVelkWmiPciModule", L"~CVelkWmiPciModule").Information(L"DLL is unloaded.");
}

HRESULT CVelkWmiPciModule::GetClassObject(REFCLSID clsid, REFIID iid, void** object) const noexcept {
    return GetClassFactory(ClassTable(), clsid, iid, object);
}

HRESULT CVelkWmiPciModule::CanUnloadNow() const noexcept { return ModuleLock::Count() == 0 ? S_OK : S_FALSE; }

HRESULT CVelkWmiPciModule::RegisterServer() const noexcept {
    return GuardEntryPoint([&] { return velk::RegisterServer(instance_, ClassTable(), scope_); });
}

HRESULT CVelkWmiPciModule::UnregisterServer() const noexcept {
    return GuardEntryPoint([&] { return velk::UnregisterServer(instance_, ClassTable(), scope_); });
}

bool LoadModule(HMODULE instance) noexcept {
    MemoryReserveObject().Create();
    try {
        CommonLogObject().Create();
        CommonMutexObject().Create();
        g_module.Create(instance);
        PciDeviceListObject().Create();
        PciBridgeListObject().Create();
        SmbiosTableObject().Create();
        return true;
    } catch (...) {
        UnloadModule();
        return false;
    }
}

void UnloadModule() noexcept {
    SmbiosTableObject().Destroy();
    PciBridgeListObject().Destroy();
    PciDeviceListObject().Destroy();
    g_module.Destroy();
    CommonMutexObject().Destroy();
    CommonLogObject().Destroy();
    MemoryReserveObject().Destroy();
}

CVelkWmiPciModule* Module() noexcept { return g_module.Get(); }

}  // namespace velk
