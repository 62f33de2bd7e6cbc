#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velkpci {

// What WMI compiles anew when its repository is rebuilt: "#pragma autorecover" puts a file on a list in the
// registry, and may keep a copy of it. A line that outlives its product brings registrations back that lead
// to no DLL.

/// Whether a line of the list stands for one of our files: it names the file, in any case and with variables
/// of the environment, or a copy with the same bytes below WMI's own folder.
bool IsLineOf(const std::wstring& line, const std::vector<std::filesystem::path>& ours,
              const std::filesystem::path& copies);

/// Takes the lines of these files out of the list, and the copies that the lines name away. The other lines
/// stay as they are. A list that cannot be read or written stays, too. Returns how many lines went.
std::size_t ForgetFiles(const std::vector<std::filesystem::path>& ours, const std::filesystem::path& copies);

}  // namespace velkpci
