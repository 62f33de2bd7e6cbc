#include "tool/basics/files.h"

#include <cstring>
#include <fstream>
#include <iterator>

#include "common/handle.h"
#include "common/text.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"

namespace velkpci {
namespace {

namespace fs = std::filesystem;
using velkhost::Utf8FromWide;

/// "The disk is full (error 112)": the system's own words, in one line.
std::string SystemMessage(DWORD error) {
    wchar_t text[512];
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                    error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
    const std::string number = "error " + std::to_string(error);
    return length == 0 ? number : Utf8FromWide({text, length}) + " (" + number + ")";
}

[[noreturn]] void Refuse(const fs::path& file, const char* what, DWORD error) {
    throw InputError(Utf8FromWide(file.wstring()) + ": " + what + ": " + SystemMessage(error));
}

/// A file beside the wanted one, which is gone at the end unless it took the wanted one's place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const fs::path& wanted)
        : wanted_(wanted),
          // The process's number keeps two programs apart that write the same file.
          path_(wanted.wstring() + velk::FormatText(L".%lu.tmp", ::GetCurrentProcessId())),
          file_(::CreateFileW(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                              nullptr)) {
        if (!file_) Fail();
    }
    ~TemporaryFile() {
        file_.Reset();
        if (!path_.empty()) ::DeleteFileW(path_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void Write(const std::string& text) {
        DWORD written = 0;
        if (!::WriteFile(file_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
            Fail();
        if (written != text.size()) Refuse(wanted_, "cannot be written", ERROR_DISK_FULL);
        if (!::FlushFileBuffers(file_.Get())) Fail();
    }

    void TakeItsPlace() {
        file_.Reset();
        if (!::MoveFileExW(path_.c_str(), wanted_.c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            Fail();
        path_.clear();
    }

  private:
    [[noreturn]] void Fail() const { Refuse(wanted_, "cannot be written", ::GetLastError()); }

    const fs::path wanted_;
    std::wstring path_;  ///< empty once it is the wanted file
    velk::UniqueFile file_;
};

}  // namespace

std::string ReadTextFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream) throw InputError(Utf8FromWide(file.wstring()) + ": the file cannot be read");
    if (bytes.starts_with("\xEF\xBB\xBF")) return bytes.substr(3);
    if (!bytes.starts_with("\xFF\xFE")) return bytes;
    std::wstring wide(bytes.size() / sizeof(wchar_t) - 1, L'\0');
    std::memcpy(wide.data(), bytes.data() + 2, wide.size() * sizeof(wchar_t));
    return Utf8FromWide(wide);
}

void WriteFileWhole(const std::string& file, const std::string& text) {
    TemporaryFile temporary{fs::path(velkhost::WideFromUtf8(file))};
    temporary.Write(text);
    temporary.TakeItsPlace();
}

}  // namespace velkpci
