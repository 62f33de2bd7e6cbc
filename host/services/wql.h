#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The subset of WQL that management clients send to an instance provider's host. Standard library only, so
// that the parser can be built and fuzzed on any system.

namespace velkhost {

/// A constant on the right of a comparison.
struct WqlLiteral {
    enum class Kind { kText, kInteger, kBoolean };

    Kind kind = Kind::kText;
    std::wstring text;            ///< kText: the value with its escapes resolved
    bool negative = false;        ///< kInteger: the sign; never set for zero
    std::uint64_t magnitude = 0;  ///< kInteger: the absolute value
    bool truth = false;           ///< kBoolean
};

/// One term of the WHERE clause; all terms must hold.
struct WqlTerm {
    enum class Kind {
        kEquals,    ///< property = literal
        kIsDerived  ///< __this ISA "class": the class itself or derived from it; schema queries only
    };

    Kind kind = Kind::kEquals;
    std::wstring property;  ///< as written; empty for kIsDerived
    WqlLiteral literal;
};

/// SELECT properties FROM className WHERE terms.
struct WqlQuery {
    std::vector<std::wstring> properties;  ///< as written; empty means *
    std::wstring className;                ///< as written
    bool isSchema = false;                 ///< FROM meta_class: the answer is class objects
    std::vector<WqlTerm> terms;
};

struct WqlResult {
    std::optional<WqlQuery> query;  ///< nothing when the text is invalid
    std::wstring error;             ///< why, with the position in characters from 1
};

/// Reads `SELECT * | a, b FROM class | meta_class [WHERE name = constant [AND ...]]`. Keywords are read in
/// any case; constants are texts in double or single quotes (a backslash takes the next character as it is),
/// decimal or hexadecimal integers within 64 bits, TRUE and FALSE.
WqlResult ParseWql(std::wstring_view text);

}  // namespace velkhost
