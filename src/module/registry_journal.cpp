#include "module/registry_journal.h"

#include <utility>

#include "common/handle.h"

namespace velk {

namespace {

LSTATUS ReadValues(HKEY key, DWORD maxName, std::vector<RegistrySnapshot::Value>& values) {
    std::vector<wchar_t> name(maxName + 1);
    for (DWORD index = 0;; ++index) {
        RegistrySnapshot::Value value;
        DWORD nameLength = static_cast<DWORD>(name.size());
        DWORD size = 0;
        LSTATUS status =
            ::RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &value.type, nullptr, &size);
        if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
        if (status != ERROR_SUCCESS) return status;

        value.name.assign(name.data(), nameLength);
        value.data.resize(size);
        status = ::RegQueryValueExW(key, value.name.c_str(), nullptr, &value.type, value.data.data(), &size);
        if (status != ERROR_SUCCESS) return status;
        value.data.resize(size);
        values.push_back(std::move(value));
    }
}

LSTATUS ReadTree(HKEY parent, const wchar_t* path, RegistrySnapshot& tree) {
    UniqueRegistryKey key;
    LSTATUS status = ::RegOpenKeyExW(parent, path, 0, KEY_READ, key.Put());
    if (status != ERROR_SUCCESS) return status;
    DWORD maxSubkey = 0;
    DWORD maxValueName = 0;
    status = ::RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, &maxSubkey, nullptr, nullptr,
                                &maxValueName, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return status;
    status = ReadValues(key.Get(), maxValueName, tree.values);
    if (status != ERROR_SUCCESS) return status;

    std::vector<wchar_t> name(maxSubkey + 1);
    for (DWORD index = 0;; ++index) {
        DWORD length = static_cast<DWORD>(name.size());
        status = ::RegEnumKeyExW(key.Get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
        if (status != ERROR_SUCCESS) return status;
        RegistrySnapshot& subkey = tree.subkeys.emplace_back();
        subkey.name.assign(name.data(), length);
        status = ReadTree(key.Get(), subkey.name.c_str(), subkey);
        if (status != ERROR_SUCCESS) return status;
    }
}

void WriteValue(HKEY key, const RegistrySnapshot::Value& value) noexcept {
    ::RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(),
                     static_cast<DWORD>(value.data.size()));
}

void WriteTree(HKEY parent, const wchar_t* path, const RegistrySnapshot& tree) noexcept {
    UniqueRegistryKey key;
    if (::RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_WRITE, nullptr, key.Put(), nullptr) !=
        ERROR_SUCCESS)
        return;
    for (const RegistrySnapshot::Value& value : tree.values) WriteValue(key.Get(), value);
    for (const RegistrySnapshot& subkey : tree.subkeys) WriteTree(key.Get(), subkey.name.c_str(), subkey);
}

LSTATUS WriteData(HKEY key, const wchar_t* name, const RegistryData& data) {
    if (data.number) {
        return ::RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&*data.number),
                                sizeof *data.number);
    }
    return ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.text.c_str()),
                            static_cast<DWORD>((data.text.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

RegistryJournal::~RegistryJournal() {
    for (; !steps_.empty(); steps_.pop_back()) Undo(steps_.back());
}

// Each operation below records its step before it changes anything: no step can be lost for want of memory.

LSTATUS RegistryJournal::CreateKey(HKEY root, const std::wstring& path) {
    steps_.push_back({Step::Kind::kCreatedKey, root, path, {}, {}});
    UniqueRegistryKey key;
    DWORD disposition = REG_OPENED_EXISTING_KEY;
    const LSTATUS status = ::RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                                             key.Put(), &disposition);
    if (status != ERROR_SUCCESS || disposition != REG_CREATED_NEW_KEY) steps_.pop_back();
    return status;
}

LSTATUS RegistryJournal::SetValue(HKEY root, const std::wstring& path, const std::wstring& name,
                                  const RegistryData& data) {
    UniqueRegistryKey key;
    LSTATUS status = ::RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | KEY_WRITE, key.Put());
    if (status != ERROR_SUCCESS) return status;

    RegistrySnapshot::Value old;
    old.name = name;
    DWORD size = 0;
    status = ::RegQueryValueExW(key.Get(), name.c_str(), nullptr, &old.type, nullptr, &size);
    const bool exists = status == ERROR_SUCCESS;
    if (exists) {
        old.data.resize(size);
        status = ::RegQueryValueExW(key.Get(), name.c_str(), nullptr, &old.type, old.data.data(), &size);
    }
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return status;

    steps_.push_back(
        {exists ? Step::Kind::kOldValue : Step::Kind::kNewValue, root, path, std::move(old), {}});
    status = WriteData(key.Get(), name.c_str(), data);
    if (status != ERROR_SUCCESS) steps_.pop_back();
    return status;
}

LSTATUS RegistryJournal::DeleteTree(HKEY root, const std::wstring& path) {
    RegistrySnapshot tree;
    const LSTATUS status = ReadTree(root, path.c_str(), tree);
    if (status == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    // The step stays even if the deletion fails: it may have failed half-way.
    steps_.push_back({Step::Kind::kDeletedTree, root, path, {}, std::move(tree)});
    return ::RegDeleteTreeW(root, path.c_str());
}

void RegistryJournal::Undo(const Step& step) noexcept {
    if (step.kind == Step::Kind::kCreatedKey) {
        ::RegDeleteKeyW(step.root, step.path.c_str());
        return;
    }
    if (step.kind == Step::Kind::kDeletedTree) {
        WriteTree(step.root, step.path.c_str(), step.tree);
        return;
    }
    UniqueRegistryKey key;
    if (::RegOpenKeyExW(step.root, step.path.c_str(), 0, KEY_WRITE, key.Put()) != ERROR_SUCCESS) return;
    if (step.kind == Step::Kind::kNewValue) {
        ::RegDeleteValueW(key.Get(), step.value.name.c_str());
    } else {
        WriteValue(key.Get(), step.value);
    }
}

}  // namespace velk
