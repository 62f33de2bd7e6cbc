#include "tool/check/host_account.h"

#include <aclapi.h>

#include <algorithm>

#include "common/handle.h"

namespace velkpci {
namespace {

/// Who a service under NETWORK SERVICE is: itself, everyone, users, authenticated users, service.
constexpr WELL_KNOWN_SID_TYPE kHostIdentities[] = {WinNetworkServiceSid, WinWorldSid, WinBuiltinUsersSid,
                                                   WinAuthenticatedUserSid, WinServiceSid};

bool IsHost(PSID sid) {
    return std::ranges::any_of(
        kHostIdentities, [&](WELL_KNOWN_SID_TYPE type) { return ::IsWellKnownSid(sid, type) != FALSE; });
}

DWORD FileRights(DWORD mask) {
    GENERIC_MAPPING files{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    ::MapGenericMask(&mask, &files);
    return mask;
}

}  // namespace

bool IsGrantedToHost(ACL* list, DWORD wanted) {
    if (list == nullptr) return true;
    // As Windows walks it: in order, until all rights are granted or one that is still missing is denied.
    DWORD missing = wanted;
    for (DWORD i = 0; i < list->AceCount && missing != 0; ++i) {
        void* entry = nullptr;
        if (!::GetAce(list, i, &entry)) return false;
        const auto& header = *static_cast<const ACE_HEADER*>(entry);
        if ((header.AceFlags & INHERIT_ONLY_ACE) != 0) continue;
        // Both kinds have one layout: header, mask, SID.
        auto& ace = *static_cast<ACCESS_ALLOWED_ACE*>(entry);
        const bool allows = header.AceType == ACCESS_ALLOWED_ACE_TYPE;
        if ((!allows && header.AceType != ACCESS_DENIED_ACE_TYPE) || !IsHost(&ace.SidStart)) continue;
        const DWORD rights = FileRights(ace.Mask);
        if (!allows && (rights & missing) != 0) return false;
        if (allows) missing &= ~rights;
    }
    return missing == 0;
}

bool HostMay(const std::wstring& file, DWORD wanted) {
    ACL* list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    std::wstring name = file;
    const DWORD error = ::GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                                nullptr, nullptr, &list, nullptr, &descriptor);
    const velk::UniqueLocalMemory owner(descriptor);
    return error == ERROR_SUCCESS && IsGrantedToHost(list, wanted);
}

}  // namespace velkpci
