#include "common/handle.h"
#include "common/log_configuration.h"
#include "common/log_paths.h"
#include "common/registry.h"
#include "host/utf8.h"
#include "tool/check/gather.h"
#include "tool/check/host_account.h"

namespace velkpci {
namespace {

std::optional<std::uint64_t> SizeOf(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data)) return {};
    return std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
}

std::wstring LegacyLogFile() {
    std::wstring file = velk::WbemLogFolder(MAX_PATH) + L"velkwbems.log";
    velk::UniqueRegistryKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Velkor\\WBEM\\ServerLOGGING", 0, KEY_QUERY_VALUE,
                        key.Put()) == ERROR_SUCCESS)
        velk::ReadRegistryText(key.Get(), L"LOGFILENAME", file);
    return file;
}

/// Where a host of WMI would write when it cannot make the log's mutex: its current folder.
bool HasMutexErrorLog() {
    wchar_t folder[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(folder, MAX_PATH);
    return length < MAX_PATH &&
           SizeOf(std::wstring(folder, length) + L"\\VelkCommonLog_MutexError.log").has_value();
}

}  // namespace

LogWatch::LogWatch() : legacyLog_(LegacyLogFile()) {
    velk::LogConfiguration configuration;
    velk::ReadLogConfiguration(L"VelkWBEMServer", L"VelkWmiPci.DLL", configuration);
    folder_ = configuration.folder;
    level_ = configuration.level;
    commonLog_ = folder_ + L"VelkWBEMServer.log";
    commonSize_ = SizeOf(commonLog_).value_or(0);
    legacySize_ = SizeOf(legacyLog_).value_or(0);
}

Logs LogWatch::Finish() const {
    Logs logs;
    logs.folder = velkhost::Utf8FromWide(folder_);
    const DWORD attributes = ::GetFileAttributesW(folder_.c_str());
    logs.isThere = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const auto size = SizeOf(commonLog_);
    logs.hostMayWrite = logs.isThere && HostMay(folder_, FILE_ADD_FILE) &&
                        (!size || HostMay(commonLog_, FILE_GENERIC_READ | FILE_GENERIC_WRITE));
    logs.level = level_;
    // A log that was rotated meanwhile is another file, and smaller.
    logs.hasGrown = size && *size != commonSize_;
    logs.hasMutexError = HasMutexErrorLog();
    logs.hasLockFailures = SizeOf(legacyLog_).value_or(0) > legacySize_;
    return logs;
}

}  // namespace velkpci
