#include "support/project_folder.h"

namespace velktest {

std::filesystem::path ProjectFolder() {
    // On the drive of the working folder: the build may have named this file by the path of another system.
    return std::filesystem::path(__FILE__).parent_path() / ".." / "..";
}

velkhost::Machine LoadSampleMachine(const std::string& name) {
    return velkhost::LoadMachine(ProjectFolder() / "machines" / (name + ".json"));
}

}  // namespace velktest
