#include "common/log_configuration.h"

#include "common/handle.h"
#include "common/log_paths.h"
#include "common/registry.h"
#include "common/suite_names.h"

namespace velk {

namespace {

struct Range {
    LONG lowest;
    LONG highest;
    bool Holds(LONG value) const noexcept { return value >= lowest && value <= highest; }
};

constexpr Range kLevels = {1, 5};
constexpr Range kSizes = {0x80000, 0x2000000};

/// Reads a number straight into the setting: a value outside the range stays in force all the same, which is
/// how a level of 0 or 6 is meant to open or silence a log. Whether it was there and in its range.
bool ReadSetting(HKEY key, const wchar_t* name, const Range& range, LONG& setting) {
    DWORD value = 0;
    if (!ReadRegistryDword(key, name, value)) return false;
    setting = static_cast<LONG>(value);
    return range.Holds(setting);
}

/// An override counts only when it is in its range. Whether it did.
bool ReadOverride(HKEY key, const CString& name, const Range& range, LONG& setting) {
    LONG value = 0;
    if (!ReadSetting(key, name.c_str(), range, value)) return false;
    setting = value;
    return true;
}

bool ReadFolder(HKEY key, CString& folder) {
    if (!ReadRegistryText(key, L"LogFolder", folder)) return false;
    if (!folder.empty() && folder.back() != L'\\') folder += L'\\';
    return true;
}

bool ReadLevel(HKEY key, const CString& base, const CString& module, LONG& level) {
    if (!ReadSetting(key, L"LogLevel", kLevels, level)) return false;
    if (ReadOverride(key, FormatText(L"LogLevel (%s)", base), kLevels, level)) {
        ReadOverride(key, FormatText(L"LogLevel (%s:%s)", base, module), kLevels, level);
    }
    return true;
}

bool ReadMaxSize(HKEY key, const CString& base, LONG& maxSize) {
    if (!ReadSetting(key, L"LogMaxSize", kSizes, maxSize)) return false;
    ReadOverride(key, FormatText(L"LogMaxSize (%s)", base), kSizes, maxSize);
    return true;
}

}  // namespace

CString DefaultLogFolder() { return WbemLogFolder(MAX_PATH); }

DWORD ReadLogConfiguration(const CString& baseName, const CString& moduleName,
                           LogConfiguration& configuration) {
    configuration = {};
    configuration.folder = DefaultLogFolder();

    UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_READ, key.Put()) != ERROR_SUCCESS) {
        return ERROR_SUCCESS;
    }
    const CString base = ToUpper(baseName);
    const CString module = ToUpper(moduleName);
    const bool folderRead = ReadFolder(key.Get(), configuration.folder);
    const bool levelRead = ReadLevel(key.Get(), base, module, configuration.level);
    const bool sizeRead = ReadMaxSize(key.Get(), base, configuration.maxSize);
    return folderRead && levelRead && sizeRead ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

}  // namespace velk
