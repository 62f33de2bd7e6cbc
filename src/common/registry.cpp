#include "common/registry.h"

namespace velk {

bool ReadRegistryText(HKEY key, const wchar_t* name, CString& value) {
    DWORD type = 0;
    DWORD bytes = 0;
    if (::RegQueryValueExW(key, name, nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS) return false;
    if (type != REG_SZ) return false;

    // One spare element: the stored size may be odd, and the value may be stored without a terminator.
    CString text(bytes / sizeof(wchar_t) + 1, L'\0');
    if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &bytes) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
        return false;
    }
    text.resize(wcslen(text.c_str()));
    value = std::move(text);
    return true;
}

bool ReadRegistryDword(HKEY key, const wchar_t* name, DWORD& value) noexcept {
    DWORD type = 0;
    DWORD data = 0;
    DWORD bytes = sizeof data;
    if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    if (type != REG_DWORD || bytes != sizeof data) return false;
    value = data;
    return true;
}

}  // namespace velk
