#include "allowed_statuses.h"

#include <map>

#include "common/wbem_status.h"

namespace velktest {

namespace {

using velk::kWbemFailed;
using velk::kWbemInvalidParameter;
using velk::kWbemNotFound;
using velk::kWbemOutOfMemory;

using Statuses = std::set<HRESULT>;
/// By the call that failed. A call that is not listed costs nothing but its own effect: a line of the log, a
/// lock, a text.
using Causes = std::map<std::string, Statuses>;

const Causes& CreateCauses() {
    static const Causes causes = {
        {"malloc", {S_OK, E_OUTOFMEMORY}},
    };
    return causes;
}

const Causes& InitializeCauses() {
    static const Causes causes = {
        // 0x80041006 where it is the helper that cannot be made.
        {"malloc", {S_OK, E_OUTOFMEMORY, kWbemOutOfMemory}},
        // The class's name, and the name of a class that nothing depends on.
        {"SysAllocStringLen", {S_OK, E_OUTOFMEMORY}},
        {"IWbemServices::GetObject", {S_OK, kWbemFailed}},
        {"CoGetClassObject", {kWbemFailed}},
    };
    return causes;
}

const Causes& EnumerateCauses() {
    static const Causes causes = {
        {"malloc", {S_OK, E_OUTOFMEMORY}},
        // A text of an array is left out; any other text is a failure.
        {"SysAllocStringLen", {S_OK, E_OUTOFMEMORY}},
        {"SafeArrayCreate", {E_OUTOFMEMORY}},
        {"SafeArrayAccessData", {E_OUTOFMEMORY}},
        {"SetupDiGetClassDevsW", {kWbemFailed}},
        {"IWbemClassObject::SpawnInstance", {kInjected}},
        {"IWbemClassObject::Put", {kWbemFailed}},
        {"IWbemObjectSink::Indicate", {kInjected}},
    };
    return causes;
}

const Causes& GetCauses() {
    static const Causes causes = {
        // 0x80041008 while the path is checked, 0x80041006 for the buffer of the key names.
        {"malloc", {S_OK, E_OUTOFMEMORY, kWbemInvalidParameter, kWbemOutOfMemory}},
        {"SysAllocStringLen", {S_OK, E_OUTOFMEMORY}},
        {"SafeArrayCreate", {E_OUTOFMEMORY}},
        {"SafeArrayAccessData", {E_OUTOFMEMORY}},
        // Without memory for it, or not being told it, the computer goes by its next best name.
        {"HeapAlloc", {S_OK, kWbemNotFound}},
        {"GetComputerNameExW", {S_OK, kWbemNotFound}},
        {"SetupDiGetClassDevsW", {kWbemNotFound}},
        {"SetupDiEnumDeviceInfo", {S_OK, kWbemNotFound}},
        {"SetupDiGetDeviceRegistryPropertyW", {S_OK, kWbemNotFound}},
        // Without its texts a slot has another tag; without WMI the paths in an association name no server.
        {"GetModuleHandleW", {S_OK, kWbemNotFound}},
        {"FindResourceExW", {S_OK, kWbemNotFound}},
        {"LoadResource", {S_OK, kWbemNotFound}},
        {"LockResource", {S_OK, kWbemNotFound}},
        {"SizeofResource", {S_OK, kWbemNotFound}},
        {"CoCreateInstance", {S_OK, kWbemNotFound}},
        {"IWbemLocator::ConnectServer", {S_OK, kWbemNotFound}},
        {"IWbemServices::ExecQuery", {S_OK, kWbemNotFound}},
        {"IEnumWbemClassObject::Next", {S_OK, kWbemNotFound}},
        {"IWbemClassObject::Get", {S_OK, kWbemNotFound}},
        {"SafeArrayGetVartype", {S_OK, kWbemNotFound}},
        {"SafeArrayGetDim", {S_OK, kWbemNotFound}},
        {"SafeArrayGetLBound", {S_OK, kWbemNotFound}},
        {"SafeArrayGetUBound", {S_OK, kWbemNotFound}},
        {"SafeArrayGetElement", {S_OK, kWbemNotFound}},
        {"DeviceIoControl", {S_OK, kWbemNotFound}},
        {"CreateFileW", {S_OK, kWbemNotFound}},
        // The path is parsed twice: to check it, and for its keys.
        {"IClassFactory::CreateInstance", {kWbemInvalidParameter, kWbemFailed}},
        {"IWbemPath::SetText", {kWbemInvalidParameter, kInjected}},
        {"IWbemPath::GetClassName", {kWbemInvalidParameter}},
        {"CompareStringW", {kWbemInvalidParameter}},
        {"IWbemPath::GetInfo", {kWbemInvalidParameter}},
        {"IWbemPath::GetKeyList", {kInjected}},
        {"IWbemPathKeyList::GetCount", {kInjected}},
        {"IWbemPathKeyList::GetKey2", {S_OK, kWbemNotFound}},
        // Whatever happens to the instance, there is none.
        {"IWbemClassObject::SpawnInstance", {kWbemNotFound}},
        {"IWbemClassObject::Put", {kWbemNotFound}},
    };
    return causes;
}

const Causes& CausesOf(Entry entry) {
    switch (entry) {
        case Entry::kCreate:
            return CreateCauses();
        case Entry::kInitialize:
            return InitializeCauses();
        case Entry::kEnumerate:
            return EnumerateCauses();
        default:
            return GetCauses();
    }
}

/// Without any of these there is no table.
bool ReadsTable(const std::string& call) {
    static const std::set<std::string> calls = {"HeapAlloc",
                                                "CoCreateInstance",
                                                "IWbemLocator::ConnectServer",
                                                "IWbemServices::ExecQuery",
                                                "IEnumWbemClassObject::Next",
                                                "IWbemClassObject::Get",
                                                "SafeArrayGetVartype",
                                                "SafeArrayGetDim",
                                                "SafeArrayGetLBound",
                                                "SafeArrayGetUBound",
                                                "SafeArrayGetElement",
                                                "CreateFileW",
                                                "DeviceIoControl"};
    return calls.contains(call);
}

Statuses Union(const Causes& causes) {
    Statuses all = {S_OK};
    for (const auto& [call, statuses] : causes) all.insert(statuses.begin(), statuses.end());
    return all;
}

}  // namespace

std::set<HRESULT> AllowedStatuses(Entry entry, FaultMode mode, const std::string& call, bool needsTable) {
    const Causes& causes = CausesOf(entry);
    Statuses allowed = {S_OK};
    if (mode == FaultMode::kFromThereOn) {
        allowed = Union(causes);
        // No device list and no name at all.
        if (entry != Entry::kCreate) allowed.insert(kWbemFailed);
    } else if (const auto found = causes.find(call); found != causes.end()) {
        allowed = found->second;
    }
    if (entry == Entry::kEnumerate && needsTable && ReadsTable(call)) allowed.insert(kWbemFailed);
    if (entry == Entry::kGetMissing && allowed.erase(S_OK) != 0) allowed.insert(kWbemNotFound);
    return allowed;
}

std::set<HRESULT> AllowedStartStatuses(FaultMode mode, const std::string& call) {
    if (mode == FaultMode::kFromThereOn) return {S_OK, kWbemFailed, E_OUTOFMEMORY};
    if (call == "CreateThread" || call == "GetModuleHandleExW") return {kWbemFailed};
    if (call == "malloc") return {S_OK, E_OUTOFMEMORY};
    return {S_OK};
}

}  // namespace velktest
