#include "host/server/registration.h"

#include "common/handle.h"
#include "common/registry.h"
#include "host/com/interface_id.h"
#include "host/is_wine.h"
#include "host/machine/machine_setup.h"
#include "host/server/message_log.h"
#include "host/server/settings.h"
#include "host/services/registered_server.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace velkhost {
namespace {

/// Each class by the name of the settings' value that remembers its displaced server.
struct ServedClass {
    const CLSID& clsid;
    const wchar_t* displaced;
};
const ServedClass kServedClasses[] = {{CLSID_WbemLocator, L"DisplacedLocator"},
                                      {kClsidWbemDefPath, L"DisplacedPathParser"}};

std::wstring OwnFile() { return FileOfModule(reinterpret_cast<HMODULE>(&__ImageBase)).wstring(); }

// A user's registration of these classes is not looked at by Wine, nor by services on Windows.
std::wstring ServerKey(REFCLSID clsid) {
    return LR"(Software\Classes\CLSID\)" + FormatClsid(clsid) + L"\\InprocServer32";
}

std::wstring ReadText(const std::wstring& path, const wchar_t* name) {
    velk::UniqueRegistryKey key;
    std::wstring value;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_QUERY_VALUE, key.Put()) == ERROR_SUCCESS)
        velk::ReadRegistryText(key.Get(), name, value);
    return value;
}

LSTATUS WriteText(const std::wstring& path, const wchar_t* name, const std::wstring& value) {
    return ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), name, REG_SZ, value.c_str(),
                             static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

HRESULT RegisterServer() {
    if (!IsWine()) {
        LogMessage(L"velkhost.dll is for Wine alone: on Windows it would take the place of WMI");
        return E_ACCESSDENIED;
    }
    const std::wstring own = OwnFile();
    for (const ServedClass& served : kServedClasses) {
        const std::wstring key = ServerKey(served.clsid);
        const std::wstring before = ReadText(key, nullptr);
        LSTATUS result = ERROR_SUCCESS;
        if (!SameName(before, own)) result = WriteText(kSettingsKey, served.displaced, before);
        if (result == ERROR_SUCCESS) result = WriteText(key, nullptr, own);
        if (result == ERROR_SUCCESS) result = WriteText(key, L"ThreadingModel", L"Both");
        if (result != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<DWORD>(result));
    }
    return S_OK;
}

HRESULT UnregisterServer() {
    const std::wstring own = OwnFile();
    for (const ServedClass& served : kServedClasses) {
        const std::wstring key = ServerKey(served.clsid);
        if (!SameName(ReadText(key, nullptr), own)) continue;
        const LSTATUS result = WriteText(key, nullptr, ReadText(kSettingsKey, served.displaced));
        if (result != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<DWORD>(result));
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kSettingsKey, served.displaced);
    }
    return S_OK;
}

}  // namespace velkhost
