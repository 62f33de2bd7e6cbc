#include "host/server/settings.h"

#include "common/handle.h"
#include "common/registry.h"

namespace velkhost {
namespace {

std::optional<std::wstring> FromEnvironment(const wchar_t* name) {
    const DWORD size = ::GetEnvironmentVariableW(name, nullptr, 0);  // with the terminating zero
    if (size <= 1) return std::nullopt;
    std::wstring value(size, L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), size));
    return value;
}

std::optional<std::wstring> FromRegistry(const wchar_t* name) {
    velk::UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_QUERY_VALUE, key.Put()) != ERROR_SUCCESS)
        return std::nullopt;
    std::wstring value;
    if (!velk::ReadRegistryText(key.Get(), name, value) || value.empty()) return std::nullopt;
    return value;
}

std::optional<std::wstring> Setting(const wchar_t* variable, const wchar_t* value) {
    auto found = FromEnvironment(variable);
    return found ? found : FromRegistry(value);
}

}  // namespace

ServerSettings ReadServerSettings() {
    return {Setting(L"VELKHOST_MACHINE", L"Machine"), Setting(L"VELKHOST_CIMV2", L"Cimv2")};
}

}  // namespace velkhost
