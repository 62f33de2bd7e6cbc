#pragma once

#include <string>
#include <vector>

#include "tool/inventory/instance.h"

namespace velkpci {

/// The order in which a person looks for properties: keys, then those with a value, then NULL ones. Indices
/// into the class's properties.
std::vector<std::size_t> ReadingOrder(const Instance& instance);

/// The properties of those names, in their order, as far as the instance has them; without names all, in the
/// class's order. Indices into the class's properties.
std::vector<std::size_t> ChosenProperties(const Instance& instance, const std::vector<std::wstring>& names);

/// A property's value for people: texts as they are, TRUE and FALSE, NULL, arrays in braces, numbers with
/// their name from the class's value map ("23 (PCI-E x16)"), references without server and namespace.
std::string ShowValue(const Instance& instance, std::size_t property);

/// "string", "uint16[]".
std::string ShowType(const CimType& type);

/// Whether a key has the same value in all instances of a class: creation class and system names.
bool IsSameForAll(std::wstring_view key);

/// What tells an instance from its siblings: the values of its keys, except creation class and system names,
/// which are the same for all; of an association the things that it links.
std::string ShortName(const Instance& instance);

/// The same of a path, as references are written; the path itself when it cannot be read.
std::string ShortNameOfPath(const std::wstring& path);

/// An instance or class as a heading line and an aligned block of properties; NULL ones only with `all`. With
/// columns these alone.
std::string FormatBlock(const Instance& instance, const std::string& heading, bool all,
                        const std::vector<std::wstring>& columns = {});

}  // namespace velkpci
