// What the common log does where Windows refuses and Wine would not.

#include <gtest/gtest.h>

#include <cwchar>

#include "common/common_log.h"
#include "common/common_log_fixture.h"
#include "common/handle.h"
#include "common/text.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

using velktest::CCommonLogTest;
using velktest::FileExists;
using velktest::ReadBytes;
using velktest::ReadWide;
using velktest::StandIn;
using velktest::WriteBytes;

TEST_F(CCommonLogTest, AReaderThatDeniesDeletionCostsTheOldGenerationAndTheFileGrowsUntilItIsGone) {
    SetMaxSize(4);
    WriteBytes(File(), "abcd");
    WriteBytes(OldFile(), "the generation before");
    Init();
    {
        // As an editor or a log shipper opens it: others may read and write, and not delete or rename.
        const UniqueFile reader(::CreateFileW(File().c_str(), GENERIC_READ,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                              nullptr));
        ASSERT_TRUE(reader);
        ::testing::internal::CaptureStderr();
        log_.LogError(L"first");
        log_.LogError(L"second");
        ::testing::internal::GetCapturedStderr();
        EXPECT_FALSE(FileExists(OldFile())) << "deleted before the move failed";
        EXPECT_EQ(ReadWide(File()).substr(2), Line(L"[Error] first") + Line(L"[Error] second"));
    }
    log_.LogError(L"third");
    EXPECT_EQ(ReadWide(File()), Line(L"[Error] third"));
    EXPECT_EQ(ReadBytes(OldFile()).substr(0, 4), "abcd");
}

decltype(&::CreateMutexW) createMutexBelow = nullptr;

/// As Windows documents it: a name has at most MAX_PATH characters. Wine takes any.
HANDLE WINAPI RefuseLongNames(SECURITY_ATTRIBUTES* security, BOOL owned, const wchar_t* name) {
    if (name == nullptr || std::wcslen(name) <= MAX_PATH) return createMutexBelow(security, owned, name);
    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
}

TEST_F(CCommonLogTest, AFolderTooLongForAMutexNameSendsTheLinesToTheCurrentFolder) {
    wchar_t before[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, before);
    ::SetCurrentDirectoryW(temp_.Path().c_str());
    // Longer than a path may be without this prefix.
    const CString folder = L"\\\\?\\" + temp_.Path(CString(150, L'a'));
    const CString inner = folder + L"\\" + CString(150, L'b');
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr) && ::CreateDirectoryW(inner.c_str(), nullptr));
    registry_.SetText(velktest::kCommonLogKey, L"LogFolder", inner);
    {
        const StandIn create("CreateMutexW", &RefuseLongNames);
        createMutexBelow = create.Original<decltype(&::CreateMutexW)>();
        EXPECT_EQ(Init(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    }
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(temp_.Path(L"VelkCommonLog_MutexError.log")), Error());
    const CString file = inner + L"\\VelkWBEMServer.log";
    EXPECT_EQ(ReadBytes(file), "") << "made to try the folder, and left empty";
    ::DeleteFileW(file.c_str());
    ::RemoveDirectoryW(inner.c_str());
    ::RemoveDirectoryW(folder.c_str());
    ::SetCurrentDirectoryW(before);
}

}  // namespace
}  // namespace velk
