#include "module/registrar.h"

#include <algorithm>

#include "common/handle.h"

namespace velk {

namespace {

HKEY RootKey(RegistryRoot root) noexcept {
    switch (root) {
        case RegistryRoot::kClassesRoot:
            break;  // never reached, see InScope
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

/// The block as it is written in the scope: HKCR { ... } is HKLM { NoRemove Software { NoRemove Classes
/// { ... } } }, or the same below HKCU.
RegistryBlock InScope(const RegistryBlock& block, RegistrationScope scope) {
    if (block.root != RegistryRoot::kClassesRoot) return block;
    RegistryKeyEntry classes{L"Classes", RegistryKeyRule::kNoRemove, {}, block.values, block.children};
    RegistryKeyEntry software{L"Software", RegistryKeyRule::kNoRemove, {}, {}, {std::move(classes)}};
    const bool isUser = scope == RegistrationScope::kUser;
    return {isUser ? RegistryRoot::kCurrentUser : RegistryRoot::kLocalMachine, {}, {std::move(software)}};
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

/// Whether unregistration must leave a key: it is marked so, or one below it is.
bool Stays(const RegistryKeyEntry& entry) {
    if (entry.rule != RegistryKeyRule::kPlain) return entry.rule == RegistryKeyRule::kNoRemove;
    return std::any_of(entry.children.begin(), entry.children.end(), Stays);
}

LSTATUS RemoveKey(HKEY parent, const RegistryKeyEntry& entry) {
    if (!Stays(entry)) return IgnoreMissing(::RegDeleteTreeW(parent, entry.name.c_str()));
    UniqueRegistryKey key;
    const LSTATUS status = ::RegOpenKeyExW(parent, entry.name.c_str(), 0, KEY_READ | KEY_WRITE, key.Put());
    if (status != ERROR_SUCCESS) return IgnoreMissing(status);
    return RemoveItems(key.Get(), entry.values, entry.children);
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
