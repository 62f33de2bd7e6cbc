// Stands in for WMI's MOF compiler in the test of the package: notes in C:\mofcomp.calls which file it was
// given, and whether the file was there, and ends with the code in C:\mofcomp.code.

#include <cstdlib>
#include <filesystem>
#include <fstream>

int main(int count, char** arguments) {
    const std::filesystem::path file = count == 2 ? arguments[1] : "not one file";
    std::ofstream("C:\\mofcomp.calls", std::ios::app)
        << file.string() << (std::filesystem::exists(file) ? "\n" : " (missing)\n");
    int code = EXIT_FAILURE;
    std::ifstream("C:\\mofcomp.code") >> code;
    return code;
}
