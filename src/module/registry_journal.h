#pragma once

#include <string>
#include <vector>

#include "common/platform.h"
#include "module/registry_script.h"

namespace velk {

/// A key's values and subkeys, read before the key is deleted. Classes and security descriptors are not kept.
struct RegistrySnapshot {
    struct Value {
        std::wstring name;
        DWORD type = REG_NONE;
        std::vector<BYTE> data;
    };

    std::wstring name;
    std::vector<Value> values;
    std::vector<RegistrySnapshot> subkeys;
};

/// Changes the registry and remembers how it was, so that a change of many steps is made whole or not at all:
/// what was not committed is undone at destruction, the last step first. Keys are named by a root key and a
/// path below it. Operations return Win32 error codes and throw std::bad_alloc or std::length_error.
class RegistryJournal {
  public:
    RegistryJournal() = default;
    ~RegistryJournal();
    RegistryJournal(const RegistryJournal&) = delete;
    RegistryJournal& operator=(const RegistryJournal&) = delete;

    /// Makes the key unless it exists. The parent must exist.
    LSTATUS CreateKey(HKEY root, const std::wstring& path);
    /// Writes a value of an existing key; the empty name is the default value.
    LSTATUS SetValue(HKEY root, const std::wstring& path, const std::wstring& name, const RegistryData& data);
    /// Deletes the key with its whole subtree. A key that does not exist is no failure.
    LSTATUS DeleteTree(HKEY root, const std::wstring& path);

    /// What was done so far stays.
    void Commit() noexcept { steps_.clear(); }

  private:
    struct Step {
        enum class Kind { kCreatedKey, kNewValue, kOldValue, kDeletedTree };

        Kind kind;
        HKEY root;
        std::wstring path;
        RegistrySnapshot::Value value;
        RegistrySnapshot tree;
    };

    static void Undo(const Step& step) noexcept;

    std::vector<Step> steps_;
};

}  // namespace velk
