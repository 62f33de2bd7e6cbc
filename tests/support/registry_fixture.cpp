#include "support/registry_fixture.h"

#include "common/handle.h"

namespace velktest {

namespace {

velk::UniqueRegistryKey Create(const velk::CString& path) {
    velk::UniqueRegistryKey key;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(),
                      nullptr);
    return key;
}

}  // namespace

void RegistryFixture::MakeKey(const velk::CString& key) { Create(key); }

void RegistryFixture::SetText(const velk::CString& key, const velk::CString& name,
                              const velk::CString& value) {
    SetBytes(key, name, REG_SZ, value.c_str(), static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void RegistryFixture::SetDword(const velk::CString& key, const velk::CString& name, DWORD value) {
    SetBytes(key, name, REG_DWORD, &value, sizeof value);
}

void RegistryFixture::SetBytes(const velk::CString& key, const velk::CString& name, DWORD type,
                               const void* data, DWORD size) {
    ::RegSetValueExW(Create(key).Get(), name.c_str(), 0, type, static_cast<const BYTE*>(data), size);
}

std::optional<DWORD> RegistryFixture::GetDword(const velk::CString& key, const velk::CString& name) const {
    DWORD value = 0;
    DWORD size = sizeof value;
    DWORD type = 0;
    velk::UniqueRegistryKey opened;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, opened.Put()) != ERROR_SUCCESS ||
        ::RegQueryValueExW(opened.Get(), name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&value),
                           &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof value) {
        return std::nullopt;
    }
    return value;
}

void RegistryFixture::Clear() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Velkor"); }

}  // namespace velktest
