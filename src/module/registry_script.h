#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk {

// The language in which registry entries are written, as text into a tree; nothing here touches the registry.
// No platform headers: this is built and fuzzed wherever there is a compiler.
//
//     HKCR
//     {
//         NoRemove AppID
//         {
//             '%APPID%' = s 'Text'            a key with its default value
//             Name { val Count = d '5' }      a key with a named value
//         }
//     }
//
// Tokens are parted by white space. A text in single quotes may hold anything, a quote written as two. Bare
// words end at white space alone, so that {0001...} is a name. Words of the language are known in any case; a
// quoted word is always a name. A lone semicolon may stand between items.

/// A value's number (REG_DWORD) or, without one, its text (REG_SZ). No std::variant: GCC's destroys a text
/// that is not there when memory runs out while one is copied.
struct RegistryData {
    std::wstring text;
    std::optional<std::uint32_t> number;
};

struct RegistryValue {
    std::wstring name;
    RegistryData data;
};

enum class RegistryKeyRule {
    kPlain,        ///< written at registration, removed at unregistration
    kForceRemove,  ///< removed with its whole subtree before it is written, and at unregistration
    kNoRemove,     ///< never removed; only what is listed below it is
    kDelete,       ///< removed at registration
};

struct RegistryKeyEntry {
    /// Never empty, without backslash or null character, at most 255 characters: it names one key exactly.
    std::wstring name;
    RegistryKeyRule rule = RegistryKeyRule::kPlain;
    std::optional<RegistryData> defaultValue;
    std::vector<RegistryValue> values;
    std::vector<RegistryKeyEntry> children;
};

enum class RegistryRoot {
    kClassesRoot,
    kCurrentUser,
    kLocalMachine,
    kUsers,
    kPerformanceData,
    kDynData,
    kCurrentConfig,
};

/// One root key with what is listed below it.
struct RegistryBlock {
    RegistryRoot root = RegistryRoot::kClassesRoot;
    std::vector<RegistryValue> values;
    std::vector<RegistryKeyEntry> children;
};

using RegistryScript = std::vector<RegistryBlock>;

/// What is wrong and where: an index into the text that was given.
struct RegistryScriptError {
    std::size_t position = 0;
    const char* reason = "";
};

/// Name and text; names are known in any case.
using RegistryReplacements = std::vector<std::pair<std::wstring, std::wstring>>;

/// The text with its quotes doubled, fit to stand for a %NAME% inside a quoted text.
std::wstring EscapeQuotes(std::wstring_view text);

/// Puts the replacement for every %NAME%; what was put is not searched again. "%%" stands for one percent
/// sign. A name without a replacement and a lone percent sign are errors.
std::optional<RegistryScriptError> ReplaceNames(std::wstring_view script,
                                                const RegistryReplacements& replacements,
                                                std::wstring& replaced);

/// Parses a script whose names have been replaced. On an error `script` is left as it was.
std::optional<RegistryScriptError> ParseRegistryScript(std::wstring_view text, RegistryScript& script);

}  // namespace velk
