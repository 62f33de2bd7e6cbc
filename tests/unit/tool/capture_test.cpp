#include <gmock/gmock.h>

#include "host/machine/machine.h"
#include "host/utf8.h"
#include "recording_console.h"
#include "support/hosted/project_folder.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"
#include "tool/app/program.h"
#include "tool/basics/errors.h"
#include "tool/basics/files.h"

namespace {

using namespace velkpci;
using testing::HasSubstr;
using testing::StartsWith;

class CaptureTest : public testing::Test {
  protected:
    int Capture(std::vector<std::string> words) {
        const auto sample = velktest::ProjectFolder() / "machines" / "two-socket-rack-server.json";
        words.insert(words.begin(), {"--machine", velkhost::Utf8FromWide(sample.wstring()), "capture"});
        return RunProgram(std::move(words), console_);
    }
    std::string File(const wchar_t* name) const { return velkhost::Utf8FromWide(folder_.Path(name)); }
    /// What lies in the folder beside the files that a test names.
    std::size_t Leftovers() const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.Path()))
            count += entry.path().extension() == ".tmp" ? 1u : 0u;
        return count;
    }

    const velktest::TempFolder folder_;
    velktest::RecordingConsole console_;
};

TEST_F(CaptureTest, TwoCapturesAreEqualAndACaptureOfOneIsTheSameAgain) {
    ASSERT_EQ(Capture({"-o", File(L"one.json")}), 0) << console_.errors;
    ASSERT_EQ(Capture({"--output", File(L"two.json")}), 0) << console_.errors;
    const std::string one = velktest::ReadBytes(folder_.Path(L"one.json"));
    EXPECT_EQ(velktest::ReadBytes(folder_.Path(L"two.json")), one);
    ASSERT_EQ(RunProgram({"--machine", File(L"one.json"), "capture"}, console_), 0) << console_.errors;
    EXPECT_EQ(console_.output, one);
    EXPECT_EQ(Leftovers(), 0u);
}

TEST_F(CaptureTest, IdentifiersAreKeptOnRequestAlone) {
    ASSERT_EQ(Capture({"--keep-identifiers"}), 0);
    EXPECT_THAT(console_.output, HasSubstr("rack17.example.com"));
    console_.output.clear();
    ASSERT_EQ(Capture({}), 0);
    EXPECT_THAT(console_.output, testing::Not(HasSubstr("rack17")));
    EXPECT_TRUE(velkhost::ParseMachine(console_.output, "x").suite) << "the suite is the file's";
}

TEST_F(CaptureTest, APlaceThatCannotBeWrittenIsNamedInOneLine) {
    EXPECT_EQ(Capture({"-o", File(L"none\\machine.json")}), 2);
    EXPECT_THAT(console_.errors,
                StartsWith("velkpci: " + File(L"none\\machine.json") + ": cannot be written: "));
    EXPECT_EQ(std::ranges::count(console_.errors, '\n'), 1);
    folder_.MakeFolder(L"folder");
    EXPECT_EQ(Capture({"-o", File(L"folder")}), 2);
    EXPECT_EQ(Leftovers(), 0u);
    EXPECT_EQ(RunProgram({"--computer", "elsewhere", "capture"}, console_), 2);
    EXPECT_EQ(console_.output, "");
}

BOOL WINAPI FullDisk(HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED) {
    *written = 0;
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(CaptureTest, AFullDiskLeavesTheOldFileAlone) {
    velktest::WriteBytes(folder_.Path(L"machine.json"), "old");
    const velktest::StandIn<decltype(&::WriteFile)> full("WriteFile", FullDisk);
    try {
        WriteFileWhole(File(L"machine.json"), "new");
        FAIL();
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("machine.json: cannot be written: "));
        EXPECT_THAT(error.what(), HasSubstr("(error 112)"));
    }
    EXPECT_EQ(velktest::ReadBytes(folder_.Path(L"machine.json")), "old");
    EXPECT_EQ(Leftovers(), 0u);
}

}  // namespace
