#include "support/registry_tree.h"

#include <cstring>
#include <vector>

#include "common/handle.h"

namespace velktest {

namespace {

std::wstring DataText(DWORD type, const std::vector<BYTE>& data) {
    if (type == REG_DWORD && data.size() == sizeof(DWORD)) {
        DWORD number = 0;
        std::memcpy(&number, data.data(), sizeof number);
        return L"d:" + std::to_wstring(number);
    }
    // The terminator is part of the data and shown: a value without one is not what was meant.
    std::wstring text(data.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    const bool terminated = !text.empty() && text.back() == L'\0';
    if (terminated) text.pop_back();
    return (type == REG_SZ && terminated ? L"s:" : L"type " + std::to_wstring(type) + L":") + text;
}

void Read(HKEY parent, const std::wstring& name, const std::wstring& path, RegistryTree& tree) {
    velk::UniqueRegistryKey key;
    if (::RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return;
    tree[path] = L"";
    wchar_t buffer[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = 256;
        DWORD type = 0;
        std::vector<BYTE> data(4096);
        DWORD size = static_cast<DWORD>(data.size());
        if (::RegEnumValueW(key.Get(), index, buffer, &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS)
            break;
        data.resize(size);
        tree[path + L":" + buffer] = DataText(type, data);
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = 256;
        if (::RegEnumKeyExW(key.Get(), index, buffer, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        Read(key.Get(), buffer, path + L"\\" + buffer, tree);
    }
}

}  // namespace

RegistryTree ReadRegistryTree(HKEY root, const std::wstring& path) {
    RegistryTree tree;
    Read(root, path, L"", tree);
    return tree;
}

}  // namespace velktest
