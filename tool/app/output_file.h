#pragma once

#include <string>
#include <string_view>

namespace velkpci {

/// Writes a file that is there whole or not at all: under another name beside it, which then takes its place.
/// A file of that name is replaced. Throws InputError with the path and the system's reason.
void WriteOutputFile(const std::string& path, std::string_view content);

}  // namespace velkpci
