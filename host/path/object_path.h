#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// WMI object paths as text and as parts: \\server\namespace\namespace:Class.Key="value",Key2=1. Standard
// library only, so that the parser can be built and fuzzed natively.

namespace velkhost {

/// A key's value as a path can spell it: quoted text (unescaped), an integer or a boolean. An integer is held
/// as unsigned only when it does not fit the signed type.
using PathKeyValue = std::variant<std::wstring, std::int64_t, std::uint64_t, bool>;

struct PathKey {
    std::wstring name;  ///< empty when implied, as in Class="value"
    PathKeyValue value;

    bool operator==(const PathKey&) const = default;
};

struct ObjectPath {
    std::wstring server;                   ///< empty when the text names none
    std::vector<std::wstring> namespaces;  ///< from the root down
    std::wstring className;                ///< empty when the text ends with the namespace
    std::vector<PathKey> keys;             ///< in the order of the text
    bool singleton = false;                ///< Class=@

    /// Whether it names an instance, not a class or a namespace.
    bool IsInstance() const noexcept { return singleton || !keys.empty(); }
    bool operator==(const ObjectPath&) const = default;
};

/// Which class of thing a text that is one bare identifier (X, or \\.\X) names.
enum class SingleIdentifier { kClass, kNamespace };

/// Takes a path apart; nullopt when the text is not a path. The empty text is an empty path. Separators are
/// \ or /, blanks are allowed nowhere but inside quotes, quotes are double or single, and within them a
/// backslash takes the meaning from a following quote or backslash. Integers are decimal or 0x hexadecimal
/// and at most 64 bits wide.
std::optional<ObjectPath> ParseObjectPath(std::wstring_view text,
                                          SingleIdentifier single = SingleIdentifier::kClass);

/// The namespace alone: its parts joined by backslashes.
std::wstring FormatNamespace(const ObjectPath& path);
/// Key="value",Key2=1 in the order of the keys; nothing for a singleton.
std::wstring FormatKeys(const ObjectPath& path);
/// The part after the colon, as in __RELPATH: Class, Class=@, or Class with its keys.
std::wstring FormatRelativePath(const ObjectPath& path);
/// namespace:relative, without a server.
std::wstring FormatLocalPath(const ObjectPath& path);
/// The whole path as in __PATH. A missing server is written as the local machine's dot.
std::wstring FormatFullPath(const ObjectPath& path);
/// A value as a path spells it: quoted and escaped text, decimal number, TRUE or FALSE.
std::wstring FormatKeyValue(const PathKeyValue& value);

}  // namespace velkhost
