#include "module/server_registration_fixture.h"

#include "module/identifiers.h"

namespace velktest {
namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes";

constexpr CLSID TestClsid(unsigned char last) {
    return {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, last}};
}

HRESULT Unused(REFIID, void**) { return E_NOTIMPL; }

}  // namespace

const velk::ClassTableEntry kTable[] = {
    {TestClsid(1), L"VelkRegTest.First.1", L"VelkRegTest.First", L"CFirst Object", &Unused},
    {TestClsid(2), L"VelkRegTest.Second.1", L"VelkRegTest.Second", L"CSecond Object", &Unused},
};

const std::wstring& ProgramPath() {
    static const std::wstring program = [] {
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        return std::wstring(path);
    }();
    return program;
}

std::wstring AppIdText() {
    wchar_t text[39] = {};
    ::StringFromGUID2(velk::kAppId, text, 39);
    return text;
}

RegistryTree Registered(HKEY root) {
    const std::wstring keys[] = {L"AppID\\" + AppIdText(),
                                 L"AppID\\VelkWmiPci.DLL",
                                 L"VelkRegTest.First.1",
                                 L"VelkRegTest.First",
                                 L"VelkRegTest.Second.1",
                                 L"VelkRegTest.Second",
                                 std::wstring(L"CLSID\\") + kFirstClsid,
                                 std::wstring(L"CLSID\\") + kSecondClsid};
    RegistryTree all;
    for (const std::wstring& key : keys) {
        for (const auto& [path, value] : ReadRegistryTree(root, std::wstring(kClasses) + L"\\" + key))
            all[key + path] = value;
    }
    return all;
}

}  // namespace velktest
