#include "host/path/wbem_path.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "common/text.h"
#include "host/com/wbem_codes.h"
#include "host/path/path_key_list.h"
#include "host/path/path_parser.h"

namespace velkhost {

namespace {

constexpr ULONG kAcceptModes =
    WBEMPATH_CREATE_ACCEPT_RELATIVE | WBEMPATH_CREATE_ACCEPT_ABSOLUTE | WBEMPATH_CREATE_ACCEPT_ALL;

bool IsDot(std::wstring_view server) { return server == L"."; }

bool ModeAccepts(ULONG mode, const ObjectPath& path) {
    if ((mode & WBEMPATH_CREATE_ACCEPT_ALL) != 0) return true;
    const ULONG wanted =
        path.server.empty() ? WBEMPATH_CREATE_ACCEPT_RELATIVE : WBEMPATH_CREATE_ACCEPT_ABSOLUTE;
    return (mode & wanted) != 0;
}

/// The information bits as Windows has been seen to give them: a path that names a class always "has
/// subscopes" and is never version 1 compliant.
ULONGLONG PathInfo(const ObjectPath& path) {
    const bool local = path.server.empty() || IsDot(path.server);
    ULONGLONG info = local ? WBEMPATH_INFO_ANON_LOCAL_MACHINE : WBEMPATH_INFO_HAS_MACHINE_NAME;
    if (!path.server.empty()) info |= WBEMPATH_INFO_PATH_HAD_SERVER;
    if (path.className.empty()) {
        info |= WBEMPATH_INFO_SERVER_NAMESPACE_ONLY;
        if (path.server.empty() && path.namespaces.empty()) return info;
        return info | WBEMPATH_INFO_V1_COMPLIANT | WBEMPATH_INFO_V2_COMPLIANT | WBEMPATH_INFO_CIM_COMPLIANT;
    }
    info |= WBEMPATH_INFO_V2_COMPLIANT | WBEMPATH_INFO_CIM_COMPLIANT | WBEMPATH_INFO_HAS_SUBSCOPES;
    constexpr ULONGLONG kInstance = WBEMPATH_INFO_IS_INST_REF;
    constexpr ULONGLONG kClass = WBEMPATH_INFO_IS_CLASS_REF;
    return info | (path.IsInstance() ? kInstance : kClass) | KeyInfo(path);
}

/// nullopt for flags that are not of GetText, or that ask for a part that the path has not.
std::optional<std::wstring> PathText(const PathState& state, long flags) {
    switch (flags & ~WBEMPATH_COMPRESSED) {
        case 0:
            return FormatLocalPath(state.path);
        case WBEMPATH_GET_RELATIVE_ONLY:
            if (state.path.className.empty()) return std::wstring();
            return FormatRelativePath(state.path);
        case WBEMPATH_GET_SERVER_TOO:
            return FormatFullPath(state.path);
        case WBEMPATH_GET_SERVER_AND_NAMESPACE_ONLY:
            return FormatFullPath({state.path.server, state.path.namespaces, {}, {}, false});
        case WBEMPATH_GET_NAMESPACE_ONLY:
            return FormatNamespace(state.path);
        case WBEMPATH_GET_ORIGINAL:
            return state.original;
        default:
            return std::nullopt;
    }
}

/// Whether the path lies in that namespace of that machine, or below it when allowed.
bool IsWithin(const ObjectPath& path, LPCWSTR machine, LPCWSTR nameSpace, bool orBelow) {
    const auto wanted = ParseObjectPath(nameSpace, SingleIdentifier::kNamespace);
    if (!wanted || !wanted->className.empty()) return false;
    const bool local = path.server.empty() || IsDot(path.server);
    if (!local && !velk::EqualsIgnoringCase(path.server.c_str(), machine)) return false;
    const std::size_t depth = wanted->namespaces.size();
    if (orBelow ? path.namespaces.size() < depth : path.namespaces.size() != depth) return false;
    return std::equal(wanted->namespaces.begin(), wanted->namespaces.end(), path.namespaces.begin(),
                      [](const std::wstring& left, const std::wstring& right) {
                          return velk::EqualsIgnoringCase(left.c_str(), right.c_str());
                      });
}

BOOL CheckWithin(PathState& state, LPCWSTR machine, LPCWSTR nameSpace, bool orBelow) noexcept {
    if (machine == nullptr || nameSpace == nullptr) return FALSE;
    return GuardedCall([&]() -> HRESULT {
               const std::lock_guard lock(state.mutex);
               return IsWithin(state.path, machine, nameSpace, orBelow) ? S_OK : S_FALSE;
           }) == S_OK
               ? TRUE
               : FALSE;
}

}  // namespace

HRESULT WbemPath::SetText(ULONG mode, LPCWSTR text) noexcept {
    return GuardedCall([&]() -> HRESULT {
        constexpr ULONG kKnownModes = kAcceptModes | WBEMPATH_TREAT_SINGLE_IDENT_AS_NS;
        if (text == nullptr || (mode & kAcceptModes) == 0 || (mode & ~kKnownModes) != 0) {
            return velk::kWbemInvalidParameter;
        }
        const auto single = (mode & WBEMPATH_TREAT_SINGLE_IDENT_AS_NS) != 0 ? SingleIdentifier::kNamespace
                                                                            : SingleIdentifier::kClass;
        auto parsed = ParseObjectPath(text, single);
        if (!parsed || !ModeAccepts(mode, *parsed)) return velk::kWbemInvalidParameter;

        std::wstring original(text);
        const std::lock_guard lock(state_->mutex);
        state_->path = std::move(*parsed);
        state_->original = std::move(original);
        return S_OK;
    });
}

HRESULT WbemPath::GetText(long flags, ULONG* length, LPWSTR text) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const std::lock_guard lock(state_->mutex);
        const auto made = PathText(*state_, flags);
        return made ? CopyOut(*made, length, text) : velk::kWbemInvalidParameter;
    });
}

HRESULT WbemPath::GetInfo(ULONG requested, ULONGLONG* response) noexcept {
    if (requested != 0 || response == nullptr) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    *response = PathInfo(state_->path);
    return S_OK;
}

HRESULT WbemPath::SetServer(LPCWSTR name) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const std::lock_guard lock(state_->mutex);
        state_->path.server = NameArgument(name);
        return S_OK;
    });
}

HRESULT WbemPath::GetServer(ULONG* length, LPWSTR name) noexcept {
    const std::lock_guard lock(state_->mutex);
    if (length == nullptr || (*length != 0 && name == nullptr)) return velk::kWbemInvalidParameter;
    if (state_->path.server.empty()) return kWbemNotAvailable;
    return CopyOut(state_->path.server, length, name);
}

HRESULT WbemPath::GetNamespaceCount(ULONG* count) noexcept {
    if (count == nullptr) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    *count = static_cast<ULONG>(state_->path.namespaces.size());
    return S_OK;
}

HRESULT WbemPath::SetNamespaceAt(ULONG index, LPCWSTR name) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const std::lock_guard lock(state_->mutex);
        auto& namespaces = state_->path.namespaces;
        if (index > namespaces.size() || NameArgument(name).empty()) return velk::kWbemInvalidParameter;
        namespaces.insert(namespaces.begin() + static_cast<std::ptrdiff_t>(index), name);
        return S_OK;
    });
}

HRESULT WbemPath::GetNamespaceAt(ULONG index, ULONG* length, LPWSTR name) noexcept {
    const std::lock_guard lock(state_->mutex);
    const auto& namespaces = state_->path.namespaces;
    return index < namespaces.size() ? CopyOut(namespaces[index], length, name) : velk::kWbemInvalidParameter;
}

HRESULT WbemPath::RemoveNamespaceAt(ULONG index) noexcept {
    const std::lock_guard lock(state_->mutex);
    auto& namespaces = state_->path.namespaces;
    if (index >= namespaces.size()) return velk::kWbemInvalidParameter;
    namespaces.erase(namespaces.begin() + static_cast<std::ptrdiff_t>(index));
    return S_OK;
}

HRESULT WbemPath::RemoveAllNamespaces() noexcept {
    const std::lock_guard lock(state_->mutex);
    state_->path.namespaces.clear();
    return S_OK;
}

HRESULT WbemPath::SetClassName(LPCWSTR name) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (NameArgument(name).empty()) return velk::kWbemInvalidParameter;
        const std::lock_guard lock(state_->mutex);
        state_->path.className = name;
        return S_OK;
    });
}

HRESULT WbemPath::GetClassName(ULONG* length, LPWSTR name) noexcept {
    const std::lock_guard lock(state_->mutex);
    if (length == nullptr || (*length != 0 && name == nullptr)) return velk::kWbemInvalidParameter;
    if (state_->path.className.empty()) return velk::kWbemInvalidObjectPath;
    return CopyOut(state_->path.className, length, name);
}

HRESULT WbemPath::GetKeyList(IWbemPathKeyList** list) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (list == nullptr) return velk::kWbemInvalidParameter;
        *list = nullptr;
        const std::lock_guard lock(state_->mutex);
        if (state_->path.className.empty()) return velk::kWbemInvalidParameter;
        *list = MakeComObject<PathKeyList>(state_).Detach();
        return S_OK;
    });
}

HRESULT WbemPath::CreateClassPart(long flags, LPCWSTR name) noexcept {
    return flags == 0 ? SetClassName(name) : velk::kWbemInvalidParameter;
}

HRESULT WbemPath::DeleteClassPart(long flags) noexcept {
    if (flags != 0) return velk::kWbemInvalidParameter;
    const std::lock_guard lock(state_->mutex);
    state_->path.className.clear();
    state_->path.keys.clear();
    state_->path.singleton = false;
    return S_OK;
}

BOOL WbemPath::IsRelative(LPWSTR machine, LPWSTR nameSpace) noexcept {
    return CheckWithin(*state_, machine, nameSpace, false);
}

BOOL WbemPath::IsRelativeOrChild(LPWSTR machine, LPWSTR nameSpace, long) noexcept {
    return CheckWithin(*state_, machine, nameSpace, true);
}

BOOL WbemPath::IsLocal(LPCWSTR machine) noexcept {
    const std::lock_guard lock(state_->mutex);
    const std::wstring& server = state_->path.server;
    if (server.empty() || IsDot(server)) return TRUE;
    return machine != nullptr && velk::EqualsIgnoringCase(server.c_str(), machine) ? TRUE : FALSE;
}

BOOL WbemPath::IsSameClassName(LPCWSTR name) noexcept {
    const std::lock_guard lock(state_->mutex);
    const std::wstring& own = state_->path.className;
    return name != nullptr && !own.empty() && velk::EqualsIgnoringCase(own.c_str(), name) ? TRUE : FALSE;
}

velk::ComPtr<IClassFactory> MakePathParserClass() { return MakeClassFactory<WbemPath>(); }

ClassRegistration RegisterPathParser() {
    return ClassRegistration(kClsidWbemDefPath, MakePathParserClass().Get());
}

}  // namespace velkhost
