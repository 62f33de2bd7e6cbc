#include "tool/setup/log_folder.h"

#include <aclapi.h>

#include <string>

namespace velkpci {
namespace {

constexpr DWORD kModify = FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE | DELETE;

void LetHostModify(const std::filesystem::path& folder) {
    std::wstring name = folder.wstring();
    ACL* list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (::GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                &list, nullptr, &descriptor) != ERROR_SUCCESS)
        return;
    const velk::UniqueLocalMemory owner(descriptor);
    const velk::UniqueLocalMemory changed = WithHostMayModify(list);
    if (!changed) return;
    ::SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                            static_cast<ACL*>(changed.Get()), nullptr);
}

}  // namespace

velk::UniqueLocalMemory WithHostMayModify(ACL* list) {
    // By its SID: the account's name depends on the language of Windows.
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    if (!::CreateWellKnownSid(WinNetworkServiceSid, nullptr, sid, &size)) return {};
    EXPLICIT_ACCESSW entry{};
    entry.grfAccessPermissions = kModify;
    entry.grfAccessMode = GRANT_ACCESS;
    entry.grfInheritance = SUB_CONTAINERS_AND_OBJECTS_INHERIT;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    entry.Trustee.ptstrName = reinterpret_cast<wchar_t*>(sid);
    ACL* changed = nullptr;
    if (::SetEntriesInAclW(1, &entry, list, &changed) != ERROR_SUCCESS) return {};
    return velk::UniqueLocalMemory(changed);
}

bool MakeLogFolder(const std::filesystem::path& folder) {
    std::error_code ignored;
    if (!std::filesystem::create_directory(folder, ignored)) return false;
    LetHostModify(folder);
    return true;
}

}  // namespace velkpci
