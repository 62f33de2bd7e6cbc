#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "common/platform.h"
#include "host/path/object_path.h"

namespace velkhost {

/// What an IWbemPath and the key lists handed out by it share.
struct PathState {
    std::mutex mutex;  ///< guards the rest
    ObjectPath path;
    std::wstring original;  ///< the text as it was set
};

/// Hands a text out through WMI's length-and-buffer protocol: the length is in characters with the
/// terminating zero, in and out. A length of 0 with no buffer only asks for it.
HRESULT CopyOut(std::wstring_view text, ULONG* length, LPWSTR buffer) noexcept;

/// A name argument: null counts as empty.
inline std::wstring_view NameArgument(LPCWSTR name) noexcept {
    return name == nullptr ? std::wstring_view() : name;
}

}  // namespace velkhost
