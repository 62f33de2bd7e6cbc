#include "host/services/registered_server.h"

#include <vector>

#include "common/text.h"

namespace velkhost {

std::wstring FormatClsid(REFCLSID classId) {
    wchar_t text[39];
    const int length = ::StringFromGUID2(classId, text, 39);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length) - 1) : std::wstring();
}

std::optional<std::wstring> RegisteredServer(REFCLSID classId) {
    const std::wstring key = L"CLSID\\" + FormatClsid(classId) + L"\\InprocServer32";
    DWORD size = 0;
    // REG_EXPAND_SZ is let through too, expanded: that is what asking for REG_SZ alone means.
    if (::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, nullptr, &size) != 0)
        return {};
    std::vector<wchar_t> text(size / sizeof(wchar_t) + 1);
    if (::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text.data(), &size) !=
        0) {
        return {};
    }
    return std::wstring(text.data());
}

std::wstring ExplainCreationFailure(REFCLSID classId, HRESULT failure) {
    const std::wstring clsid = FormatClsid(classId);
    const auto server = RegisteredServer(classId);
    if (!server) {
        return L"the class " + clsid +
               L" is not registered: run \"regsvr32 VelkWmiPci.dll\" as administrator";
    }
    if (::GetFileAttributesW(server->c_str()) == INVALID_FILE_ATTRIBUTES) {
        return L"the class " + clsid + L" is registered with " + *server +
               L", which is not there: run regsvr32 again with the DLL where it is now";
    }
    return velk::FormatText(L"the class %s of %s could not be created (0x%08lX)", clsid, *server,
                            static_cast<unsigned long>(failure));
}

}  // namespace velkhost
