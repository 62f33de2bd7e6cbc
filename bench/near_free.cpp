#include "bench/near_free.h"

#include <array>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <utility>

#include "common/safe_array.h"
#include "common/variant.h"

namespace velkbench {
namespace {

/// The properties of one device by their codes; no bytes for one that is not there.
using Device = std::array<std::vector<BYTE>, SPDRP_MAXIMUM_PROPERTY>;

/// What the stand-ins, which are plain functions, answer from.
struct State {
    std::vector<Device> devices;
    std::wstring computerName;
    velk::Variant text, table, tableSize;
    IWbemServices* services = nullptr;
    IEnumWbemClassObject* results = nullptr;
    IWbemClassObject* object = nullptr;
    bool isDelivered = false;  ///< of the one result of the last query
};
State* theState = nullptr;

BOOL Refuse(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

HDEVINFO WINAPI GetClassDevs(const GUID*, PCWSTR, HWND, DWORD) { return theState; }

BOOL WINAPI EnumDevice(HDEVINFO, DWORD index, PSP_DEVINFO_DATA device) {
    if (index >= theState->devices.size()) return Refuse(ERROR_NO_MORE_ITEMS);
    device->DevInst = index;
    return TRUE;
}

BOOL WINAPI ReadProperty(HDEVINFO, PSP_DEVINFO_DATA device, DWORD property, PDWORD, PBYTE buffer, DWORD size,
                         PDWORD required) {
    const std::vector<BYTE>& bytes = theState->devices[device->DevInst][property];
    if (bytes.empty()) return Refuse(ERROR_INVALID_DATA);
    if (required != nullptr) *required = static_cast<DWORD>(bytes.size());
    if (size < bytes.size()) return Refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(buffer, bytes.data(), bytes.size());
    return TRUE;
}

BOOL WINAPI DestroyDevices(HDEVINFO) { return TRUE; }

BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT, LPWSTR buffer, LPDWORD size) {
    const std::wstring& name = theState->computerName;
    std::wmemcpy(buffer, name.c_str(), name.size() + 1);
    *size = static_cast<DWORD>(name.size());
    return TRUE;
}

HANDLE WINAPI OpenFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD creation, DWORD flags, HANDLE pattern) {
    // No health driver; the logs are the provider's own doing.
    if (!std::wstring_view(name).starts_with(LR"(\\.\)"))
        return ::CreateFileW(name, access, share, security, creation, flags, pattern);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

/// Hands out any of the objects, which are there for good, with a reference.
template <class Interface>
HRESULT Give(IUnknown* object, Interface** out) {
    object->AddRef();
    *out = static_cast<Interface*>(object);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE ExecQuery(IWbemServices*, const BSTR, const BSTR, LONG, IWbemContext*,
                                    IEnumWbemClassObject** results) {
    theState->isDelivered = false;
    return Give(theState->results, results);
}

HRESULT STDMETHODCALLTYPE ConnectServer(IWbemLocator*, const BSTR, const BSTR, const BSTR, const BSTR, LONG,
                                        const BSTR, IWbemContext*, IWbemServices** services) {
    return Give(theState->services, services);
}

HRESULT STDMETHODCALLTYPE Next(IEnumWbemClassObject*, LONG, ULONG count, IWbemClassObject** objects,
                               ULONG* returned) {
    *returned = std::exchange(theState->isDelivered, true) ? 0 : 1;
    if (*returned == 1) Give(theState->object, objects);
    return *returned == count ? HRESULT{S_OK} : HRESULT{WBEM_S_FALSE};
}

HRESULT STDMETHODCALLTYPE Get(IWbemClassObject*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) {
    const std::wstring_view property = name;
    const velk::Variant& constant = property == L"Size"         ? theState->tableSize
                                    : property == L"SMBiosData" ? theState->table
                                                                : theState->text;
    return ::VariantCopy(value, const_cast<VARIANT*>(&constant.Get()));
}

HRESULT STDMETHODCALLTYPE Put(IWbemClassObject*, LPCWSTR, LONG, VARIANT*, CIMTYPE) { return S_OK; }

HRESULT STDMETHODCALLTYPE Spawn(IWbemClassObject* self, LONG, IWbemClassObject** instance) {
    return Give(self, instance);
}

IWbemLocator* theLocator = nullptr;
HRESULT WINAPI CreateInstance(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* object) {
    return Give(theLocator, reinterpret_cast<IWbemLocator**>(object));
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

NearFree::NearFree(HMODULE module, const Recorder::Objects& objects) {
    theState = new State;
    theState->services = objects.services;
    theState->results = objects.enumerator;
    theState->object = objects.object;
    theLocator = objects.locator;
    theState->text = velk::Variant::FromText(velk::Bstr(L"SERVER17"));
    const PlatformCalls calls = Calls();
    const std::pair<const char*, void*> standIns[] = {
        {"SetupDiGetClassDevsW", Address(calls.getClassDevs)},
        {"SetupDiEnumDeviceInfo", Address(calls.enumDevice)},
        {"SetupDiGetDeviceRegistryPropertyW", Address(calls.readProperty)},
        {"SetupDiDestroyDeviceInfoList", Address(calls.destroyDevices)},
        {"GetComputerNameExW", Address(calls.computerName)},
        {"CreateFileW", Address(calls.openFile)},
        {"CoCreateInstance", Address(calls.createInstance)},
    };
    for (const auto& [function, standIn] : standIns) imports_.emplace_back(module, function, standIn);
    // Slots as the interfaces declare them, behind QueryInterface, AddRef and Release.
    methods_.emplace_back(objects.locator, 3, Address(&ConnectServer));
    methods_.emplace_back(objects.services, 20, Address(&ExecQuery));
    methods_.emplace_back(objects.enumerator, 4, Address(&Next));
    methods_.emplace_back(objects.object, 4, Address(&Get));
    methods_.emplace_back(objects.object, 5, Address(&Put));
    methods_.emplace_back(objects.object, 15, Address(&Spawn));
}

NearFree::~NearFree() { delete std::exchange(theState, nullptr); }

PlatformCalls NearFree::Calls() {
    return {&GetClassDevs, &EnumDevice, &ReadProperty,  &DestroyDevices,
            &ComputerName, &OpenFile,   &CreateInstance};
}

void NearFree::Use(const velkhost::Machine& machine) {
    theState->computerName = machine.names.dnsFullyQualified.value_or(L"");
    theState->devices.clear();
    for (const velkhost::PnpDevice& device : machine.devices) {
        Device& kept = theState->devices.emplace_back();
        for (const auto& [code, value] : device.properties) kept[code] = value.bytes;
    }
    const std::vector<std::uint8_t>& table = machine.smbios->table;
    velk::UniqueSafeArray bytes(::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(table.size())));
    void* data = nullptr;
    ::SafeArrayAccessData(bytes.Get(), &data);
    std::memcpy(data, table.data(), table.size());
    ::SafeArrayUnaccessData(bytes.Get());
    theState->table = velk::Variant::Array(VT_UI1, std::move(bytes));
    theState->tableSize = velk::Variant::SInt32(static_cast<LONG>(table.size()));
}

}  // namespace velkbench
