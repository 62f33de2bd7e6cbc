#include "module/registrar.h"

#include "common/handle.h"

namespace velk {

namespace {

HKEY RootKey(RegistryRoot root) noexcept {
    switch (root) {
        case RegistryRoot::kClassesRoot:
            return HKEY_CLASSES_ROOT;
        case RegistryRoot::kCurrentUser:
            return HKEY_CURRENT_USER;
        case RegistryRoot::kLocalMachine:
            return HKEY_LOCAL_MACHINE;
        case RegistryRoot::kUsers:
            return HKEY_USERS;
        case RegistryRoot::kPerformanceData:
            return HKEY_PERFORMANCE_DATA;
        case RegistryRoot::kDynData:
            return HKEY_DYN_DATA;
        case RegistryRoot::kCurrentConfig:
            return HKEY_CURRENT_CONFIG;
    }
    return nullptr;
}

/// The block as it is written in the scope: for one user, HKCR { ... } is
/// HKCU { NoRemove Software { NoRemove Classes { ... } } }.
RegistryBlock InScope(const RegistryBlock& block, RegistrationScope scope) {
    if (scope != RegistrationScope::kUser || block.root != RegistryRoot::kClassesRoot) return block;
    RegistryKeyEntry classes{L"Classes", RegistryKeyRule::kNoRemove, {}, block.values, block.children};
    RegistryKeyEntry software{L"Software", RegistryKeyRule::kNoRemove, {}, {}, {std::move(classes)}};
    return {RegistryRoot::kCurrentUser, {}, {std::move(software)}};
}

std::wstring Join(const std::wstring& path, const std::wstring& name) {
    return path.empty() ? name : path + L'\\' + name;
}

LSTATUS FirstFailure(LSTATUS first, LSTATUS second) noexcept {
    return first != ERROR_SUCCESS ? first : second;
}

LSTATUS IgnoreMissing(LSTATUS status) noexcept {
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

LSTATUS RemoveKey(HKEY parent, const RegistryKeyEntry& entry);

LSTATUS RemoveItems(HKEY key, const std::vector<RegistryValue>& values,
                    const std::vector<RegistryKeyEntry>& children) {
    LSTATUS result = ERROR_SUCCESS;
    for (const RegistryValue& value : values)
        result = FirstFailure(result, IgnoreMissing(::RegDeleteValueW(key, value.name.c_str())));
    for (const RegistryKeyEntry& child : children) result = FirstFailure(result, RemoveKey(key, child));
    return result;
}

LSTATUS RemoveKey(HKEY parent, const RegistryKeyEntry& entry) {
    if (entry.rule == RegistryKeyRule::kForceRemove || entry.rule == RegistryKeyRule::kDelete)
        return IgnoreMissing(::RegDeleteTreeW(parent, entry.name.c_str()));

    UniqueRegistryKey key;
    LSTATUS result = ::RegOpenKeyExW(parent, entry.name.c_str(), 0, KEY_READ | KEY_WRITE, key.Put());
    if (result != ERROR_SUCCESS) return IgnoreMissing(result);
    result = RemoveItems(key.Get(), entry.values, entry.children);
    if (entry.rule == RegistryKeyRule::kNoRemove) return result;

    DWORD subkeys = 0;
    const LSTATUS counted = ::RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr,
                                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (counted != ERROR_SUCCESS || subkeys != 0) return FirstFailure(result, counted);
    key.Reset();
    return FirstFailure(result, IgnoreMissing(::RegDeleteKeyW(parent, entry.name.c_str())));
}

}  // namespace

LSTATUS Registrar::Register(const RegistryScript& script) {
    for (const RegistryBlock& written : script) {
        const RegistryBlock block = InScope(written, scope_);
        const LSTATUS status = RegisterItems(RootKey(block.root), L"", block.values, block.children);
        if (status != ERROR_SUCCESS) return status;
    }
    return ERROR_SUCCESS;
}

LSTATUS Registrar::RegisterItems(HKEY root, const std::wstring& path,
                                 const std::vector<RegistryValue>& values,
                                 const std::vector<RegistryKeyEntry>& children) {
    for (const RegistryValue& value : values) {
        const LSTATUS status = journal_.SetValue(root, path, value.name, value.data);
        if (status != ERROR_SUCCESS) return status;
    }
    for (const RegistryKeyEntry& child : children) {
        const LSTATUS status = RegisterKey(root, Join(path, child.name), child);
        if (status != ERROR_SUCCESS) return status;
    }
    return ERROR_SUCCESS;
}

LSTATUS Registrar::RegisterKey(HKEY root, const std::wstring& path, const RegistryKeyEntry& key) {
    const bool isDelete = key.rule == RegistryKeyRule::kDelete;
    if (isDelete || key.rule == RegistryKeyRule::kForceRemove) {
        const LSTATUS status = journal_.DeleteTree(root, path);
        if (status != ERROR_SUCCESS || isDelete) return status;
    }
    LSTATUS status = journal_.CreateKey(root, path);
    if (status == ERROR_SUCCESS && key.defaultValue)
        status = journal_.SetValue(root, path, L"", *key.defaultValue);
    return status == ERROR_SUCCESS ? RegisterItems(root, path, key.values, key.children) : status;
}

LSTATUS Unregister(const RegistryScript& script, RegistrationScope scope) {
    LSTATUS result = ERROR_SUCCESS;
    for (const RegistryBlock& written : script) {
        const RegistryBlock block = InScope(written, scope);
        result = FirstFailure(result, RemoveItems(RootKey(block.root), block.values, block.children));
    }
    return result;
}

}  // namespace velk
