#pragma once

#include <string>
#include <vector>

namespace velkpci {

/// A name of a class or property, which are ASCII and equal in any case, in lower case.
std::wstring LowerName(std::wstring name);

/// A path in the form in which two ways of writing the same reference are equal: without server, namespace,
/// class and key names in lower case, keys sorted; the values, which are compared exactly, as they are. An
/// unreadable path stays as it is.
std::wstring PathIdentity(const std::wstring& path);

/// The one of `candidates` that a person who wrote `word` probably meant: the nearest by letters to change,
/// without regard to case; empty when none is near.
std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates);

/// " (did you mean X?)", or nothing when no candidate is near.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace velkpci
