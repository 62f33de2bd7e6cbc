#include "host/machine/machine_replay.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "common/text.h"

namespace velkhost {

namespace {

/// Owned copies: a set must survive changes of the machine.
using DeviceSet = std::vector<PnpDevice>;

}  // namespace

struct ReplayState {
    std::mutex mutex;  ///< guards the sets
    Machine machine;
    std::map<HDEVINFO, std::shared_ptr<const DeviceSet>> sets;
    // What the platform does where the machine has no say.
    decltype(&::GetSystemFirmwareTable) firmwareTable = nullptr;
    decltype(&::CreateFileW) createFile = nullptr;
    decltype(&::RegOpenKeyExW) openKey = nullptr;
    decltype(&::RegQueryValueExW) queryValue = nullptr;
    decltype(&::RegCloseKey) closeKey = nullptr;
};

namespace {

/// The one replay of the process; what the stand-ins, which are plain functions, answer from.
ReplayState* activeReplay = nullptr;

std::shared_ptr<const DeviceSet> FindSet(HDEVINFO handle) {
    const std::lock_guard lock(activeReplay->mutex);
    const auto found = activeReplay->sets.find(handle);
    return found == activeReplay->sets.end() ? nullptr : found->second;
}

BOOL Refuse(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

HDEVINFO WINAPI GetClassDevs(const GUID* setupClass, PCWSTR enumerator, HWND, DWORD flags) {
    if (setupClass == nullptr && (flags & DIGCF_ALLCLASSES) == 0) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    auto set = std::make_shared<DeviceSet>();
    // A machine file gives its devices no setup class, so a set of one class has none of them.
    if ((flags & DIGCF_ALLCLASSES) != 0) {
        for (const PnpDevice& device : activeReplay->machine.devices) {
            const bool wanted =
                enumerator == nullptr || velk::EqualsIgnoringCase(device.enumerator.c_str(), enumerator);
            if (wanted && (device.present || (flags & DIGCF_PRESENT) == 0)) set->push_back(device);
        }
    }
    const HDEVINFO handle = set.get();
    const std::lock_guard lock(activeReplay->mutex);
    activeReplay->sets.emplace(handle, std::move(set));
    return handle;
}

BOOL WINAPI EnumDeviceInfo(HDEVINFO handle, DWORD index, PSP_DEVINFO_DATA data) {
    const auto set = FindSet(handle);
    if (set == nullptr) return Refuse(ERROR_INVALID_HANDLE);
    if (data == nullptr) return Refuse(ERROR_INVALID_PARAMETER);
    if (data->cbSize != sizeof *data) return Refuse(ERROR_INVALID_USER_BUFFER);
    if (index >= set->size()) return Refuse(ERROR_NO_MORE_ITEMS);
    data->ClassGuid = {};
    data->DevInst = index + 1;
    data->Reserved = index;
    return TRUE;
}

BOOL WINAPI GetDeviceRegistryProperty(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD property, PDWORD type,
                                      PBYTE buffer, DWORD size, PDWORD required) {
    const auto set = FindSet(handle);
    if (set == nullptr) return Refuse(ERROR_INVALID_HANDLE);
    if (data == nullptr || data->cbSize != sizeof *data || data->DevInst == 0 ||
        data->DevInst > set->size()) {
        return Refuse(ERROR_INVALID_PARAMETER);
    }
    if (property >= SPDRP_MAXIMUM_PROPERTY) return Refuse(static_cast<DWORD>(ERROR_INVALID_REG_PROPERTY));
    const auto& properties = (*set)[data->DevInst - 1].properties;
    const auto found = properties.find(property);
    if (found == properties.end()) return Refuse(ERROR_INVALID_DATA);

    const auto& [regType, bytes] = found->second;
    if (required != nullptr) *required = static_cast<DWORD>(bytes.size());
    if (type != nullptr) *type = regType;
    if (buffer == nullptr || size < bytes.size()) return Refuse(ERROR_INSUFFICIENT_BUFFER);
    std::copy(bytes.begin(), bytes.end(), buffer);
    return TRUE;
}

BOOL WINAPI GetDeviceInstanceId(HDEVINFO handle, PSP_DEVINFO_DATA data, PWSTR id, DWORD size,
                                PDWORD required) {
    const auto set = FindSet(handle);
    if (set == nullptr) return Refuse(ERROR_INVALID_HANDLE);
    if (data == nullptr || data->DevInst == 0 || data->DevInst > set->size())
        return Refuse(ERROR_INVALID_PARAMETER);
    const std::wstring& text = (*set)[data->DevInst - 1].instanceId;
    if (required != nullptr) *required = static_cast<DWORD>(text.size()) + 1;
    if (id == nullptr || size <= text.size()) return Refuse(ERROR_INSUFFICIENT_BUFFER);
    std::wmemcpy(id, text.c_str(), text.size() + 1);
    return TRUE;
}

BOOL WINAPI DestroyDeviceInfoList(HDEVINFO handle) {
    const std::lock_guard lock(activeReplay->mutex);
    return activeReplay->sets.erase(handle) != 0 ? TRUE : Refuse(ERROR_INVALID_HANDLE);
}

/// nullptr for a format that a machine file cannot answer.
const std::optional<std::wstring>* NameOf(COMPUTER_NAME_FORMAT format) {
    const ComputerNames& names = activeReplay->machine.names;
    switch (format) {
        case ComputerNameNetBIOS:
            return &names.netbios;
        case ComputerNameDnsHostname:
            return &names.dnsHostname;
        case ComputerNameDnsFullyQualified:
            return &names.dnsFullyQualified;
        default:
            return nullptr;
    }
}

BOOL WINAPI ComputerName(COMPUTER_NAME_FORMAT format, LPWSTR buffer, LPDWORD size) {
    const std::optional<std::wstring>* name = NameOf(format);
    if (name == nullptr || size == nullptr || (buffer == nullptr && *size != 0))
        return Refuse(ERROR_INVALID_PARAMETER);
    if (!name->has_value()) return Refuse(ERROR_FILE_NOT_FOUND);
    const std::wstring& text = **name;
    const auto length = static_cast<DWORD>(text.size());
    // Too small: the size becomes that with the terminating zero. Success: that without it.
    if (*size <= length) {
        *size = length + 1;
        return Refuse(ERROR_MORE_DATA);
    }
    std::wmemcpy(buffer, text.c_str(), text.size() + 1);
    *size = length;
    return TRUE;
}

/// Of the one provider that a machine file knows.
UINT WINAPI FirmwareTable(DWORD provider, DWORD table, PVOID buffer, DWORD size) {
    constexpr DWORD kRawSmbios = 0x52534D42;  // 'RSMB'
    if (provider != kRawSmbios) return activeReplay->firmwareTable(provider, table, buffer, size);
    const auto& firmware = activeReplay->machine.smbios;
    if (!firmware) {
        ::SetLastError(ERROR_INVALID_FUNCTION);
        return 0;
    }
    std::vector<BYTE> data = {0, firmware->majorVersion, firmware->minorVersion, 0};
    for (unsigned shift = 0; shift < 32; shift += 8)
        data.push_back(static_cast<BYTE>(firmware->table.size() >> shift & 0xFF));
    data.insert(data.end(), firmware->table.begin(), firmware->table.end());
    // The size is the answer, too, when the buffer is too small.
    if (size >= data.size()) std::ranges::copy(data, static_cast<BYTE*>(buffer));
    return static_cast<UINT>(data.size());
}

HANDLE WINAPI OpenFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD creation, DWORD flags, HANDLE pattern) {
    // The health driver of the machine that the replay runs on says nothing about the machine that is
    // replayed.
    if (name != nullptr && velk::EqualsIgnoringCase(name, LR"(\\.\VkxHlth)")) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    return activeReplay->createFile(name, access, share, security, creation, flags, pattern);
}

/// Stands for the opened key of the provider's settings.
HKEY SettingsKey() { return reinterpret_cast<HKEY>(activeReplay); }

LSTATUS WINAPI OpenKey(HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
    const bool wanted = root == HKEY_LOCAL_MACHINE && path != nullptr &&
                        velk::EqualsIgnoringCase(path, LR"(Software\Velkor\WBEM)");
    if (!wanted || !activeReplay->machine.settings) {
        return activeReplay->openKey(root, path, options, access, key);
    }
    *key = SettingsKey();
    return ERROR_SUCCESS;
}

const RegistryValue* FindSetting(const wchar_t* name) {
    const auto& settings = activeReplay->machine.settings;
    if (!settings || name == nullptr) return nullptr;
    for (const auto& [known, value] : *settings) {
        if (velk::EqualsIgnoringCase(known.c_str(), name)) return &value;
    }
    return nullptr;
}

LSTATUS WINAPI QueryValue(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (key != SettingsKey()) return activeReplay->queryValue(key, name, reserved, type, data, size);
    if (data != nullptr && size == nullptr) return ERROR_INVALID_PARAMETER;
    const RegistryValue* const value = FindSetting(name);
    if (value == nullptr) return ERROR_FILE_NOT_FOUND;
    if (type != nullptr) *type = value->type;
    if (size == nullptr) return ERROR_SUCCESS;
    const DWORD room = std::exchange(*size, static_cast<DWORD>(value->bytes.size()));
    if (data == nullptr) return ERROR_SUCCESS;
    if (room < value->bytes.size()) return ERROR_MORE_DATA;
    std::ranges::copy(value->bytes, data);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI CloseKey(HKEY key) {
    return key == SettingsKey() ? ERROR_SUCCESS : activeReplay->closeKey(key);
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

MachineReplay::MachineReplay(HMODULE module, Machine machine) {
    if (activeReplay != nullptr) throw std::logic_error("a machine is being replayed already");
    state_.reset(new ReplayState);
    activeReplay = state_.get();
    state_->machine = std::move(machine);

    const std::pair<const char*, void*> standIns[] = {
        {"SetupDiGetClassDevsW", Address(GetClassDevs)},
        {"SetupDiEnumDeviceInfo", Address(EnumDeviceInfo)},
        {"SetupDiGetDeviceRegistryPropertyW", Address(GetDeviceRegistryProperty)},
        {"SetupDiGetDeviceInstanceIdW", Address(GetDeviceInstanceId)},
        {"SetupDiDestroyDeviceInfoList", Address(DestroyDeviceInfoList)},
        {"GetComputerNameExW", Address(ComputerName)},
        {"GetSystemFirmwareTable", Address(FirmwareTable)},
        {"CreateFileW", Address(OpenFile)},
        {"RegOpenKeyExW", Address(OpenKey)},
        {"RegQueryValueExW", Address(QueryValue)},
        {"RegCloseKey", Address(CloseKey)},
    };
    // Read before the redirection: in a test program this file's own calls go through the same imports.
    state_->firmwareTable = ::GetSystemFirmwareTable;
    state_->createFile = ::CreateFileW;
    state_->openKey = ::RegOpenKeyExW;
    state_->queryValue = ::RegQueryValueExW;
    state_->closeKey = ::RegCloseKey;
    for (const auto& [function, standIn] : standIns) {
        if (ImportRedirect::Imports(module, function)) redirects_.emplace_back(module, function, standIn);
    }
}

MachineReplay::~MachineReplay() = default;

void MachineReplay::Deactivate::operator()(ReplayState* state) const noexcept {
    activeReplay = nullptr;
    delete state;
}

Machine& MachineReplay::Current() noexcept { return state_->machine; }

std::size_t MachineReplay::OpenDeviceSets() const {
    const std::lock_guard lock(state_->mutex);
    return state_->sets.size();
}

}  // namespace velkhost
