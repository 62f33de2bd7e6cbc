#include "support/temp_folder.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/platform.h"

namespace velktest {

namespace {

velk::CString FreshPath() {
    static int count = 0;
    wchar_t temp[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH, temp);
    return velk::FormatText(L"%svelk-%u-%d\\", temp, ::GetCurrentProcessId(), ++count);
}

}  // namespace

TempFolder::TempFolder() : path_(FreshPath()) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

velk::CString TempFolder::MakeFolder(const velk::CString& relative) const {
    std::filesystem::create_directories(Path(relative));
    return Path(relative) + L"\\";
}

bool FileExists(const velk::CString& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string ReadBytes(const velk::CString& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

velk::CString ReadWide(const velk::CString& path) {
    const std::string bytes = ReadBytes(path);
    velk::CString text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

void WriteBytes(const velk::CString& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(path), std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace velktest
