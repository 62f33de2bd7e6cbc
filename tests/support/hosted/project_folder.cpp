#include "support/hosted/project_folder.h"

#include <string_view>

namespace velktest {

std::filesystem::path ProjectFolder() {
    // On the drive of the working folder: the build may have named this file by the path of another system.
    // In UTF-8, as that system does; a narrow text would be taken for one of the code page.
    constexpr std::string_view kThisFile = __FILE__;
    return std::filesystem::path(std::u8string(kThisFile.begin(), kThisFile.end())).parent_path() / ".." /
           ".." / "..";
}

velkhost::Machine LoadSampleMachine(const std::string& name) {
    return velkhost::LoadMachine(ProjectFolder() / "machines" / (name + ".json"));
}

}  // namespace velktest
