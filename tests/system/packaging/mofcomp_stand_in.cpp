// Stands in for WMI's MOF compiler in the tests of the package: notes in C:\mofcomp.calls which file it was
// given, and whether the file was there, and ends with the code in C:\mofcomp.code. Where there is a folder
// C:\wmi it keeps there what it was given, for the stand-in for WMI, in the order of the names.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

void Keep(const fs::path& file, const fs::path& folder) {
    const auto count = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    char name[16];
    std::snprintf(name, sizeof name, "%04d.mof", static_cast<int>(count));
    fs::copy_file(file, folder / name);
}

}  // namespace

int main(int count, char** arguments) {
    const fs::path file = count == 2 ? arguments[1] : "not one file";
    std::ofstream("C:\\mofcomp.calls", std::ios::app)
        << file.string() << (fs::exists(file) ? "\n" : " (missing)\n");
    int code = EXIT_FAILURE;
    std::ifstream("C:\\mofcomp.code") >> code;
    if (code == EXIT_SUCCESS && fs::exists("C:\\wmi")) Keep(file, "C:\\wmi");
    return code;
}
