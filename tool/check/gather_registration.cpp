#include <algorithm>

#include "common/handle.h"
#include "host/services/registered_server.h"
#include "host/utf8.h"
#include "tool/check/gather.h"
#include "tool/check/provider_classes.h"

namespace velkpci {
namespace {

std::string FileVersion(const std::wstring& file) {
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(file.c_str(), &ignored);
    std::vector<BYTE> block(size);
    if (size == 0 || !::GetFileVersionInfoW(file.c_str(), 0, size, block.data())) return {};
    void* found = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(block.data(), L"\\", &found, &length) || length < sizeof(VS_FIXEDFILEINFO))
        return {};
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(found);
    return std::to_string(HIWORD(info.dwFileVersionMS)) + "." + std::to_string(LOWORD(info.dwFileVersionMS)) +
           "." + std::to_string(HIWORD(info.dwFileVersionLS));
}

/// 0, or why COM could not make an object of it.
DWORD LoadError(const std::wstring& file) {
    const velk::UniqueLibrary library(::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library) return ::GetLastError();
    return ::GetProcAddress(library.Get(), "DllGetClassObject") != nullptr ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

Registration GatherRegistration() {
    Registration registration;
    std::vector<std::wstring> files;
    for (const ProviderClass& each : kProviderClasses) {
        const auto file = velkhost::RegisteredServer(each.clsid);
        if (!file)
            registration.missing.push_back(velkhost::Utf8FromWide(each.name));
        else if (std::ranges::find(files, *file) == files.end())
            files.push_back(*file);
    }
    for (const std::wstring& file : files)
        registration.files.push_back({velkhost::Utf8FromWide(file), LoadError(file), FileVersion(file)});
    return registration;
}

}  // namespace velkpci
