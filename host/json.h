#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace velkhost {

/// The one JSON of host and program: each further kind of it is compiled in full. Members stay in the order
/// in which they were added, since documents are read by people, too; objects of another order are not equal.
using Json = nlohmann::ordered_json;

// The library's parser and writer are compiled here and nowhere else: they take as long as all that a file
// does with them.

/// The document of a text. Throws Json::parse_error.
Json ParseJson(std::string_view text);

/// In one line, or with `indent` blanks for each level. What is no UTF-8 becomes U+FFFD.
std::string JsonText(const Json& json, int indent = -1);

}  // namespace velkhost
