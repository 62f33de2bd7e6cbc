// How the common log opens, writes and rotates its file, and shares it with another process.

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "common/common_log.h"
#include "common/common_log_fixture.h"
#include "common/handle.h"
#include "common/log_file.h"
#include "common/refused_opens.h"
#include "common/text.h"
#include "host/utf8.h"
#include "support/child_process.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"
#include "support/waiting.h"

namespace velk {
namespace {

using velktest::CCommonLogTest;
using velktest::FileExists;
using velktest::ReadBytes;
using velktest::ReadWide;
using velktest::StandIn;
using velktest::WriteBytes;

TEST_F(CCommonLogTest, FileAtTheLimitIsRotatedBeforeTheNextLine) {
    const std::string full(2097152, 'a');
    WriteBytes(File(), full);
    WriteBytes(OldFile(), "the generation before");
    Init();
    EXPECT_EQ(log_.LogError(L"e"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadWide(File()), Error());
    EXPECT_TRUE(ReadBytes(OldFile()) == full);
}

TEST_F(CCommonLogTest, FileOneByteBelowTheLimitIsNotRotated) {
    WriteBytes(File(), std::string(2097151, 'a'));
    Init();
    log_.LogError(L"e");
    EXPECT_EQ(ReadBytes(File()).size(), 2097151 + Error().size() * sizeof(wchar_t));
    EXPECT_FALSE(FileExists(OldFile()));
}

TEST_F(CCommonLogTest, TinySizeRotatesAtEveryLine) {
    SetMaxSize(1);
    Init();
    log_.LogError(L"first");
    log_.LogError(L"second");
    log_.LogError(L"third");
    EXPECT_EQ(ReadWide(File()), Line(L"[Error] third"));
    EXPECT_EQ(ReadWide(OldFile()), Line(L"[Error] second"));
}

BOOL WINAPI RefuseToMove(const wchar_t*, const wchar_t*) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(CCommonLogTest, FileThatCannotBeMovedIsReportedOnStderrAndGrowsOn) {
    const StandIn move("MoveFileW", &RefuseToMove);
    SetMaxSize(4);
    WriteBytes(File(), "abcd");
    Init();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(log_.LogError(L"e"), DWORD{ERROR_SUCCESS});
    std::string written = ::testing::internal::GetCapturedStderr();
    std::erase(written, '\r');
    const CString path = File();
    EXPECT_EQ(written,
              "logging: Failed to replace old log file: " + std::string(path.begin(), path.end()) + "\n");
    EXPECT_EQ(ReadBytes(File()).substr(0, 4), "abcd");
    EXPECT_EQ(ReadWide(File()).substr(2), Error());
}

TEST_F(CCommonLogTest, TheReportNamesTheFileWholeWhateverItsLetters) {
    const StandIn move("MoveFileW", &RefuseToMove);
    const CString base = temp_.MakeFolder(L"Gr\u00FC\u00DFe \u65E5\u672C") + L"VelkWBEMServer";
    UniqueFile file = OpenLogFile(base);
    ASSERT_TRUE(file);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(RotateLogFile(base, 0, file), 3U);
    std::string written = ::testing::internal::GetCapturedStderr();
    std::erase(written, '\r');
    EXPECT_EQ(written, "logging: Failed to replace old log file: " + velkhost::Utf8FromWide(base) + ".log\n");
}

TEST_F(CCommonLogTest, RotationThatCannotMoveTheFileReturns3WithoutAHandle) {
    const StandIn move("MoveFileW", &RefuseToMove);
    const CString base = folder_ + L"VelkWBEMServer";
    WriteBytes(File(), "abcd");
    UniqueFile file = OpenLogFile(base);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(RotateLogFile(base, 4, file), 3U);
    ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(file);
}

DWORD WINAPI GiveThreeGigabytes(HANDLE, DWORD* high) {
    *high = 0;
    return 0xC0000000;
}

TEST_F(CCommonLogTest, SizeIsTakenAsSigned) {
    const StandIn size("GetFileSize", &GiveThreeGigabytes);
    const CString base = folder_ + L"VelkWBEMServer";
    UniqueFile file = OpenLogFile(base);
    EXPECT_EQ(RotateLogFile(base, 1, file), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(file);
    EXPECT_FALSE(FileExists(OldFile()));
}

HANDLE WINAPI RefuseToCreate(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) {
    ::SetLastError(ERROR_SHARING_VIOLATION);
    return INVALID_HANDLE_VALUE;
}

TEST_F(CCommonLogTest, RotationThatCannotReopenReturnsTheSystemsCode) {
    const CString base = folder_ + L"VelkWBEMServer";
    WriteBytes(File(), "abcd");
    UniqueFile file = OpenLogFile(base);
    const StandIn create("CreateFileW", &RefuseToCreate);
    EXPECT_EQ(RotateLogFile(base, 4, file), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(file);
}

TEST_F(CCommonLogTest, LineThatCannotBeWrittenReturnsTheSystemsCode) {
    Init();
    {
        const StandIn create("CreateFileW", &RefuseToCreate);
        EXPECT_EQ(log_.LogError(L"lost"), DWORD{ERROR_SHARING_VIOLATION});
    }
    EXPECT_EQ(log_.LogError(L"e"), DWORD{ERROR_SUCCESS}) << "the mutex was released";
    EXPECT_EQ(ReadWide(File()), Error());
}

TEST_F(CCommonLogTest, LineWhoseFileCannotBeOpenedAgainAfterItsRotationReturnsTheSystemsCode) {
    SetMaxSize(1);
    Init();
    EXPECT_EQ(log_.LogError(L"first"), DWORD{ERROR_SUCCESS});
    {
        // By the rotation, and once more after it.
        const velktest::RefusedOpens refused(1, 2, ERROR_SHARING_VIOLATION);
        EXPECT_EQ(log_.LogError(L"lost"), DWORD{ERROR_SHARING_VIOLATION});
        EXPECT_EQ(refused.Count(), 3);
    }
    EXPECT_EQ(log_.LogError(L"e"), DWORD{ERROR_SUCCESS}) << "the mutex was released";
}

TEST_F(CCommonLogTest, FullDiskIsReturnedAndReleasesEverything) {
    Init();
    {
        const velktest::FullDisk full;
        EXPECT_EQ(log_.LogError(L"lost"), DWORD{ERROR_DISK_FULL});
    }
    EXPECT_TRUE(::DeleteFileW(File().c_str())) << "the handle was closed";
    EXPECT_EQ(log_.LogError(L"e"), DWORD{ERROR_SUCCESS});
}

constexpr int kContendedLines = 200;

/// What each of the two processes writes into the log that the parent configured.
void WriteContendedLines(const CString& module) {
    CCommonLog log;
    log.LogInit(L"VelkContended", module);
    for (int i = 0; i < kContendedLines; ++i) log.LogError(L"%s %03d %s", module, i, CString(100, L'x'));
}

void MeetTheOtherProcess(const wchar_t* mine, const wchar_t* other) {
    const UniqueHandle set = velktest::OpenSharedEvent(mine);
    const UniqueHandle awaited = velktest::OpenSharedEvent(other);
    ::SetEvent(set.Get());
    ASSERT_TRUE(velktest::BecomesSignalled(awaited.Get()));
}

TEST(CommonLogContender, DISABLED_WritesFromAnotherProcess) {
    MeetTheOtherProcess(L"velk-log-child", L"velk-log-parent");
    WriteContendedLines(L"child");
}

TEST_F(CCommonLogTest, TwoProcessesLoseNoLineOfEachOther) {
    SetLevel(5);
    const UniqueHandle parentEvent = velktest::OpenSharedEvent(L"velk-log-parent");
    velktest::ChildProcess child(L"CommonLogContender.DISABLED_WritesFromAnotherProcess");
    MeetTheOtherProcess(L"velk-log-parent", L"velk-log-child");
    WriteContendedLines(L"parent");
    ASSERT_EQ(child.Wait(), 0U);

    const CString written = ReadWide(folder_ + L"VelkContended.log");
    int next[2] = {0, 0};
    std::size_t start = 0;
    while (start < written.size()) {
        const std::size_t end = written.find(L"\r\n", start);
        ASSERT_NE(end, CString::npos);
        const CString line = written.substr(start, end - start);
        const int who = line.find(L"child") == CString::npos ? 0 : 1;
        const CString module = who == 0 ? L"parent" : L"child";
        ASSERT_EQ(line.substr(std::size(kStamp) - 1),
                  FormatText(L" [Error] %s %03d %s", module, next[who]++, CString(100, L'x')));
        start = end + 2;
    }
    EXPECT_EQ(next[0], kContendedLines);
    EXPECT_EQ(next[1], kContendedLines);
}

}  // namespace
}  // namespace velk
