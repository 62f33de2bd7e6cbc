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

/// What the stand-ins, which are plain functions, answer from.
struct State {
    const Answers* answers = nullptr;
    SampleObjects objects;
    velk::Variant text;        ///< what every other property of an object is
    bool isDelivered = false;  ///< of the one result of the last query
};
State* theState = nullptr;

BOOL Refuse(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

HDEVINFO WINAPI GetClassDevs(const GUID*, PCWSTR, HWND, DWORD) { return theState; }

BOOL WINAPI EnumDevice(HDEVINFO, DWORD index, PSP_DEVINFO_DATA device) {
    if (index >= theState->answers->devices.size()) return Refuse(ERROR_NO_MORE_ITEMS);
    device->DevInst = index;
    return TRUE;
}

BOOL WINAPI ReadProperty(HDEVINFO, PSP_DEVINFO_DATA device, DWORD property, PDWORD, PBYTE buffer, DWORD size,
                         PDWORD required) {
    const std::vector<BYTE>& bytes = theState->answers->devices[device->DevInst][property];
    if (bytes.empty()) return Refuse(ERROR_INVALID_DATA);
    if (required != nullptr) *required = static_cast<DWORD>(bytes.size());
    if (size < bytes.size()) return Refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(buffer, bytes.data(), bytes.size());
    return TRUE;
}

BOOL WINAPI DestroyDevices(HDEVINFO) { return TRUE; }

BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT, LPWSTR buffer, LPDWORD size) {
    const std::wstring& name = theState->answers->computerName;
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
    return Give(theState->objects.enumerator, results);
}

HRESULT STDMETHODCALLTYPE ConnectServer(IWbemLocator*, const BSTR, const BSTR, const BSTR, const BSTR, LONG,
                                        const BSTR, IWbemContext*, IWbemServices** services) {
    return Give(theState->objects.services, services);
}

HRESULT STDMETHODCALLTYPE Next(IEnumWbemClassObject*, LONG, ULONG count, IWbemClassObject** objects,
                               ULONG* returned) {
    *returned = std::exchange(theState->isDelivered, true) ? 0 : 1;
    if (*returned == 1) Give(theState->objects.object, objects);
    return *returned == count ? HRESULT{S_OK} : HRESULT{WBEM_S_FALSE};
}

HRESULT STDMETHODCALLTYPE Get(IWbemClassObject*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) {
    const std::wstring_view property = name;
    const velk::Variant& constant = property == L"Size"         ? theState->answers->tableSize
                                    : property == L"SMBiosData" ? theState->answers->table
                                                                : theState->text;
    return ::VariantCopy(value, const_cast<VARIANT*>(&constant.Get()));
}

HRESULT STDMETHODCALLTYPE Put(IWbemClassObject*, LPCWSTR, LONG, VARIANT*, CIMTYPE) { return S_OK; }

HRESULT STDMETHODCALLTYPE Spawn(IWbemClassObject* self, LONG, IWbemClassObject** instance) {
    return Give(self, instance);
}

HRESULT WINAPI CreateInstance(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* object) {
    return Give(theState->objects.locator, reinterpret_cast<IWbemLocator**>(object));
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

Answers::Answers(const velkhost::Machine& machine)
    : computerName(machine.names.dnsFullyQualified.value_or(L"")) {
    for (const velkhost::PnpDevice& device : machine.devices) {
        Device& kept = devices.emplace_back();
        for (const auto& [code, value] : device.properties) kept[code] = value.bytes;
    }
    const std::vector<std::uint8_t>& bytes = machine.smbios->table;
    velk::UniqueSafeArray array(::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
    void* data = nullptr;
    ::SafeArrayAccessData(array.Get(), &data);
    std::memcpy(data, bytes.data(), bytes.size());
    ::SafeArrayUnaccessData(array.Get());
    table = velk::Variant::Array(VT_UI1, std::move(array));
    tableSize = velk::Variant::SInt32(static_cast<LONG>(bytes.size()));
}

NearFree::NearFree(HMODULE module, const SampleObjects& objects, const Answers& answers) {
    theState = new State{&answers, objects, velk::Variant::FromText(velk::Bstr(L"SERVER17"))};
    imports_ = Redirect(module, Calls());
    methods_.emplace_back(objects.locator, kLocatorConnectServer, Address(&ConnectServer));
    methods_.emplace_back(objects.services, kServicesExecQuery, Address(&ExecQuery));
    methods_.emplace_back(objects.enumerator, kEnumeratorNext, Address(&Next));
    methods_.emplace_back(objects.object, kObjectGet, Address(&Get));
    methods_.emplace_back(objects.object, kObjectPut, Address(&Put));
    methods_.emplace_back(objects.object, kObjectSpawnInstance, Address(&Spawn));
}

NearFree::~NearFree() {
    // The stand-ins go before what they answer from.
    methods_.clear();
    imports_.clear();
    delete std::exchange(theState, nullptr);
}

PlatformCalls NearFree::Calls() {
    return {&GetClassDevs, &EnumDevice, &ReadProperty,  &DestroyDevices,
            &ComputerName, &OpenFile,   &CreateInstance};
}

void NearFree::Use(const Answers& answers) { theState->answers = &answers; }

}  // namespace velkbench
