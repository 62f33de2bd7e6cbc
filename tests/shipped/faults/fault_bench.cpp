#include "fault_bench.h"

#include <stdexcept>

#include "fault_plan.h"
#include "host/path/path_parser.h"
#include "ledger.h"
#include "module/identifiers.h"
#include "support/hosted/machine_builder.h"
#include "support/smbios_builder.h"

namespace velktest {

namespace {

velkhost::PnpDevice WithPlace(velkhost::PnpDevice device) {
    device.SetTexts(SPDRP_LOCATION_PATHS, {L"PCIROOT(0)#PCI(0100)"});
    device.SetNumber(SPDRP_BUSNUMBER, 1);
    return device;
}

velkhost::Machine SmallMachine() {
    constexpr wchar_t kBridge[] = L"PCI\\CC_060400";
    velkhost::Machine machine;
    machine.names = {kFullName, kHostName, kServerName};
    const MadeFunction functions[] = {
        {.classId = kBridge, .location = L"PCI bus 0, device 1, function 0", .slotNumber = 1},
        {.location = L"PCI bus 1, device 0, function 0", .slotNumber = 1},
        {.location = L"PCI bus 1, device 0, function 1", .slotNumber = 1},
        {.classId = kBridge, .location = L"PCI bus 0, device 2, function 0"},
        // In another language: its place is told by the location path.
        {.location = L"PCI-Bus 1, Gerät 1, Funktion 0", .slotNumber = 2},
    };
    for (const MadeFunction& function : functions) machine.devices.push_back(WithPlace(MakeDevice(function)));
    return machine;
}

Bytes SlotTable() { return TableOfSlots({{.id = 1, .hotPlug = true}, {.id = 2, .type = 0x06}, {.id = 4}}); }

void ServeSuite(FakeWmi& wmi) {
    const auto system = FakeClassObject::Make();
    system->SetText(L"__SERVER", kServerName);
    system->SetText(L"__PATH", L"\\\\SERVER\\root\\VKQ:Velk_WinComputerSystem");
    const auto chassis = FakeClassObject::Make();
    chassis->SetText(L"__PATH", L"\\\\SERVER\\root\\VKQ:Velk_ComputerSystemChassis.Tag=\"1\"");
    wmi.Namespace(L"root\\VKQ").Answer(kComputerSystemQuery, {.objects = {system}});
    wmi.Namespace(L"root\\VKQ").Answer(L"SELECT * FROM VELK_COMPUTERSYSTEMCHASSIS", {.objects = {chassis}});
    ServeSmbios(wmi, SlotTable());
}

HRESULT WINAPI CreateInstanceHere(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) {
    return ::CoCreateInstance(clsid, outer, context, iid, object);
}

/// Small enough to be moved aside in every run, and large enough not to be moved at every line.
constexpr DWORD kLogMaxSize = 1000;

}  // namespace

FaultBench::FaultBench() : pathParser_(velkhost::RegisterPathParser()) {
    registry_.SetText(kCommonLogKey, L"LogFolder", folder_.Path());
    registry_.SetDword(kCommonLogKey, L"LogLevel", 1);
    registry_.SetDword(kCommonLogKey, L"LogMaxSize", kLogMaxSize);
    registry_.SetText(kLegacyLogKey, L"LOGFILENAME", folder_.Path(L"legacy.log"));
    ServeSuite(wmi_);
    wmiFaults_.emplace();
    Load();
    ProveThatOperatorNewFails();
}

FaultBench::~FaultBench() { Unload(); }

void FaultBench::ProveThatOperatorNewFails() {
    velk::ComPtr<IWbemProviderInit> provider;
    Attach();
    Faults().Arm(1, FaultMode::kAllocations);
    const HRESULT result = CreateProvider(velk::kClsidVelkPCIDeviceProv, provider);
    Faults().Disarm();
    provider.Reset();
    Detach();
    if (result != E_OUTOFMEMORY || Faults().RefusedAllocations() == 0)
        throw std::runtime_error("what was taken for operator new is something else");
}

void FaultBench::Load() {
    dll_ = velk::UniqueLibrary(::LoadLibraryW(L"VelkWmiPci.dll"));
    if (!dll_) throw std::runtime_error("the DLL cannot be loaded");
    Detach();
    replay_ = std::make_unique<velkhost::MachineReplay>(dll_.Get(), SmallMachine());
    driver_.emplace(dll_.Get());
    driver_->PutTable(SlotTable());
    SetSmbiosSource(smbiosSource_);
    // In a test program the fake WMI stands behind the program's own import.
    below_.emplace_back(dll_.Get(), "CoCreateInstance", reinterpret_cast<void*>(&CreateInstanceHere));
    faults_ = std::make_unique<ImportFaults>(dll_.Get());
    faults_->FindOperatorNew([this] {
        Attach();
        Detach();
    });
}

void FaultBench::Unload() {
    faults_.reset();
    below_.clear();
    driver_.reset();
    replay_.reset();
    dll_.Reset();
    ImportFaults::FreeTlsIndexes();
}

void FaultBench::SetSmbiosSource(SmbiosSource source) {
    smbiosSource_ = source;
    driver_->present = source == SmbiosSource::kDriver;
}

bool FaultBench::Attach() {
    return Export<BOOL(WINAPI*)(HMODULE, DWORD, void*)>("DllMain")(dll_.Get(), DLL_PROCESS_ATTACH, nullptr) !=
           FALSE;
}

void FaultBench::Detach() {
    Export<BOOL(WINAPI*)(HMODULE, DWORD, void*)>("DllMain")(dll_.Get(), DLL_PROCESS_DETACH, nullptr);
}

void FaultBench::Reload() {
    Unload();
    if (::GetModuleHandleW(L"VelkWmiPci.dll") != nullptr) throw std::runtime_error("the DLL stays loaded");
    Load();
}

HRESULT FaultBench::CreateProvider(REFCLSID clsid, velk::ComPtr<IWbemProviderInit>& provider) const {
    velk::ComPtr<IClassFactory> factory;
    const HRESULT result = Export<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(
        clsid, IID_IClassFactory, factory.PutVoid());
    if (FAILED(result)) return result;
    return factory->CreateInstance(nullptr, IID_IWbemProviderInit, provider.PutVoid());
}

void FaultBench::DeleteLogs() const {
    for (const wchar_t* log : {L"VelkWBEMServer.log", L"VelkWBEMServer.lo_", L"VelkCommonLog_MutexError.log",
                               L"VelkCommonLog_MutexError.lo_", L"legacy.log"})
        ::DeleteFileW(folder_.Path(log).c_str());
}

void FaultBench::Tidy() {
    classObject_->spawned.clear();
    services_->gotPaths.clear();
    wmi_.contexts.clear();
    wmi_.connections.clear();
    driver_->reads.clear();
    for (const wchar_t* name : {L"root\\VKQ", L"root\\wmi"}) {
        wmi_.Namespace(name).queries.clear();
        wmi_.Namespace(name).nextCalls.clear();
    }
}

void FaultBench::DefineClass(const velk::CString& wmiClass) { services_->AddObject(wmiClass, classObject_); }

}  // namespace velktest
