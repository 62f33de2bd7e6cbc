#include "host/machine/machine_capture.h"

#include <iterator>

#include "common/handle.h"
#include "common/suite_names.h"
#include "host/machine/machine_format.h"

namespace velkhost {
namespace {

std::optional<std::wstring> ReadComputerName(COMPUTER_NAME_FORMAT format) {
    wchar_t name[256];  // a DNS name has at most 255 characters
    DWORD size = static_cast<DWORD>(std::size(name));
    if (!::GetComputerNameExW(format, name, &size)) return std::nullopt;
    return std::wstring(name, size);
}

/// Nothing when the device does not have the property, or its bus driver does not give it.
std::optional<RegistryValue> ReadProperty(HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property) {
    // A platform that does not know a property fails without an error code and without a size.
    ::SetLastError(ERROR_INVALID_DATA);
    RegistryValue value;
    DWORD size = 0;
    while (!::SetupDiGetDeviceRegistryPropertyW(devices, &device, property, &value.type, value.bytes.data(),
                                                static_cast<DWORD>(value.bytes.size()), &size)) {
        if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER || size <= value.bytes.size()) return std::nullopt;
        value.bytes.resize(size);
    }
    value.bytes.resize(size);
    return value;
}

std::wstring ReadInstanceId(HDEVINFO devices, SP_DEVINFO_DATA& device) {
    wchar_t id[MAX_PATH];  // an instance ID has at most 200 characters
    if (!::SetupDiGetDeviceInstanceIdW(devices, &device, id, static_cast<DWORD>(std::size(id)), nullptr))
        return {};
    return id;
}

std::vector<PnpDevice> ReadDevices() {
    // As the provider lists them.
    const velk::UniqueDeviceInfoSet devices(
        ::SetupDiGetClassDevsW(nullptr, L"PCI", nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
    if (devices.Get() == INVALID_HANDLE_VALUE) {
        throw MachineError("the PCI devices of this computer cannot be listed: error " +
                           std::to_string(::GetLastError()));
    }
    std::vector<PnpDevice> found;
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof data;
    for (DWORD index = 0; ::SetupDiEnumDeviceInfo(devices.Get(), index, &data); ++index) {
        PnpDevice device;
        device.instanceId = ReadInstanceId(devices.Get(), data);
        for (const DevicePropertyName& known : kDeviceProperties) {
            auto value = ReadProperty(devices.Get(), data, known.code);
            if (value) device.properties[known.code] = std::move(*value);
        }
        found.push_back(std::move(device));
    }
    return found;
}

/// The one setting by which the provider's answers differ; the others are the logs'. Never absent: a captured
/// machine says that it has no settings, whatever those of the computer are that replays it.
std::map<std::wstring, RegistryValue> ReadSettings() {
    velk::UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, velk::kSettingsKey, 0, KEY_QUERY_VALUE, key.Put()) !=
        ERROR_SUCCESS) {
        return {};
    }
    RegistryValue value;
    DWORD size = 0;
    if (::RegQueryValueExW(key.Get(), velk::kModernSlotTypes, nullptr, nullptr, nullptr, &size) !=
        ERROR_SUCCESS)
        return {};
    value.bytes.resize(size);
    if (::RegQueryValueExW(key.Get(), velk::kModernSlotTypes, nullptr, &value.type, value.bytes.data(),
                           &size) != ERROR_SUCCESS) {
        return {};
    }
    value.bytes.resize(size);
    return {{velk::kModernSlotTypes, std::move(value)}};
}

}  // namespace

ComputerNames ReadComputerNames() {
    return {ReadComputerName(ComputerNameDnsFullyQualified), ReadComputerName(ComputerNameDnsHostname),
            ReadComputerName(ComputerNameNetBIOS)};
}

std::optional<SmbiosFirmware> ReadFirmwareTable() {
    constexpr DWORD kRawSmbios = 0x52534D42;  // 'RSMB'
    constexpr std::size_t kHeader = 8;        // calling method, major, minor, DMI revision, length (4 bytes)
    std::vector<std::uint8_t> data(::GetSystemFirmwareTable(kRawSmbios, 0, nullptr, 0));
    const DWORD size = ::GetSystemFirmwareTable(kRawSmbios, 0, data.data(), static_cast<DWORD>(data.size()));
    if (size <= kHeader || size > data.size()) return std::nullopt;
    SmbiosFirmware firmware;
    firmware.majorVersion = data[1];
    firmware.minorVersion = data[2];
    firmware.table.assign(data.begin() + kHeader, data.begin() + size);
    return firmware;
}

Machine CaptureMachine() {
    Machine machine;
    machine.names = ReadComputerNames();
    machine.settings = ReadSettings();
    machine.devices = ReadDevices();
    machine.smbios = ReadFirmwareTable();
    return machine;
}

}  // namespace velkhost
