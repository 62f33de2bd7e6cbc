#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/model/class_object.h"

namespace velkhost::cli {

/// The order in which a person looks for properties: keys, then those with a value, then NULL ones. Indices
/// into the class's properties.
std::vector<std::size_t> ReadingOrder(const ClassObject& object);

/// A property's value for people: texts as they are, TRUE and FALSE, NULL, arrays in braces, numbers with
/// their name from the class's value map ("23 (PCI-E x16)"), references without server and namespace.
std::string ShowValue(const ClassObject& object, std::size_t property);

/// "string", "uint16[]".
std::string ShowType(const CimType& type);

/// What tells an instance from its siblings: the values of its keys, except creation class and system names,
/// which are the same for all; of an association the things that it links.
std::string ShortName(const ClassObject& object);

/// The same of a path, as references are written; the path itself when it cannot be read.
std::string ShortNameOfPath(const std::wstring& path);

/// An instance or class as a heading line and an aligned block of properties; NULL ones only with `all`.
std::string FormatBlock(const ClassObject& object, const std::string& heading, bool all);

/// {"__CLASS", "__PATH", "properties": {name: value}, "types": {name: type}, "keys": [name], "valueNames":
/// {name: text of a mapped number}}. Every property is there, NULL as null; 64-bit numbers are numbers.
nlohmann::ordered_json ToJson(const ClassObject& object);

}  // namespace velkhost::cli
