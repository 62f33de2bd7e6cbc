#pragma once

#include <filesystem>
#include <string>

namespace velkpci {

/// The text of a file as UTF-8, whether it was saved as UTF-8 or, as shells of Windows redirect output, as
/// UTF-16 with a byte order mark. Throws InputError.
std::string ReadTextFile(const std::filesystem::path& file);

/// Writes a file whole or not at all: what stood there before stays until the new one is on the disk. Throws
/// InputError, which names the file and the reason. All texts are UTF-8.
void WriteFileWhole(const std::string& file, const std::string& text);

}  // namespace velkpci
