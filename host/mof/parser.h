#pragma once

#include <string>
#include <string_view>

#include "host/mof/document.h"

namespace velkhost::mof {

/// Reads a MOF text (UTF-8, with or without byte order mark). The name stands in error messages only. Throws
/// MofError for the first thing that it does not understand; nothing is skipped.
///
/// Understood are the pragmas namespace, autorecover, classflags, instanceflags, deleteclass and
/// deleteinstance; classes with qualifiers, a superclass and properties (arrays, references, initial values);
/// instances with or without alias; adjacent strings as one; both kinds of comment. Not understood: methods,
/// qualifier declarations, includes, embedded instances as values. Nothing nests deeper than an array in a
/// qualifier, so that no text can exhaust the stack.
Document Parse(std::string_view text, const std::string& file);

}  // namespace velkhost::mof
