#include "bench/pnp_database.h"

#include <stdexcept>

#include "common/handle.h"
#include "host/is_wine.h"
#include "host/machine/machine_format.h"

namespace velkbench {
namespace {

constexpr wchar_t kEnum[] = L"System\\CurrentControlSet\\Enum\\";
/// The setup class "System": Wine lists only devices with a class.
constexpr wchar_t kSystemClass[] = L"{4D36E97D-E325-11CE-BFC1-08002BE10318}";

struct ValueName {
    DWORD code;
    const wchar_t* name;
};
/// The properties that Wine's SetupAPI knows, as the database names them.
constexpr ValueName kValueNames[] = {{SPDRP_DEVICEDESC, L"DeviceDesc"},
                                     {SPDRP_HARDWAREID, L"HardwareID"},
                                     {SPDRP_COMPATIBLEIDS, L"CompatibleIDs"},
                                     {SPDRP_LOCATION_INFORMATION, L"LocationInformation"},
                                     {SPDRP_UI_NUMBER, L"UINumber"}};

void SetValue(HKEY key, const wchar_t* name, const velkhost::RegistryValue& value) {
    if (::RegSetValueExW(key, name, 0, value.type, value.bytes.data(),
                         static_cast<DWORD>(value.bytes.size())) != ERROR_SUCCESS) {
        throw std::runtime_error("a device cannot be written to the registry");
    }
}

void Write(const velkhost::PnpDevice& device) {
    velk::UniqueRegistryKey key;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, (kEnum + device.instanceId).c_str(), 0, nullptr, 0,
                          KEY_SET_VALUE, nullptr, key.Put(), nullptr) != ERROR_SUCCESS) {
        throw std::runtime_error("a device cannot be written to the registry");
    }
    SetValue(key.Get(), L"ClassGUID", velkhost::RegistryValue::Text(kSystemClass));
    for (const auto& [code, name] : kValueNames) {
        if (const auto found = device.properties.find(code); found != device.properties.end())
            SetValue(key.Get(), name, found->second);
    }
}

void Clear() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, (std::wstring(kEnum) + L"PCI").c_str()); }

}  // namespace

PnpDatabase::PnpDatabase(const velkhost::Machine& machine) {
    if (!velkhost::IsWine())
        throw std::runtime_error("the devices of a real Windows are left alone: use Wine");
    Clear();
    for (const velkhost::PnpDevice& device : machine.devices) Write(device);
}

PnpDatabase::~PnpDatabase() { Clear(); }

}  // namespace velkbench
