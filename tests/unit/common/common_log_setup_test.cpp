// What the common log makes of its configuration, at first, again, and at a reset: its folder, its mutex, its
// level and its size.

#include <gtest/gtest.h>

#include <string>

#include "common/common_log_fixture.h"
#include "common/handle.h"
#include "common/text.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

using velktest::CCommonLogTest;
using velktest::FileExists;
using velktest::kCommonLogKey;
using velktest::ReadBytes;
using velktest::ReadWide;
using velktest::StandIn;
using velktest::WriteBytes;

TEST_F(CCommonLogTest, FolderThatCannotBeOpenedGivesWayToTheDefaultOne) {
    const CString defaultFolder = temp_.MakeFolder(L"windows\\system32\\wbem\\logs");
    registry_.SetText(kCommonLogKey, L"LogFolder", temp_.Path(L"missing"));
    EXPECT_EQ(Init(), DWORD{ERROR_SUCCESS});
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(defaultFolder + L"VelkWBEMServer.log"), Error());
    const UniqueHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, MutexName(defaultFolder).c_str()));
    EXPECT_TRUE(mutex) << "named after the folder in use";
}

TEST_F(CCommonLogTest, WithoutAnyFolderInitSucceedsAndTheLogIsSilent) {
    registry_.SetText(kCommonLogKey, L"LogFolder", temp_.Path(L"missing"));
    SetLevel(1);
    EXPECT_EQ(Init(), 0U) << "every ordinary code is masked away";
    EXPECT_NE(log_.LocalMutex(), nullptr) << "call sites go on taking it";
    LogAllThree();
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(FileExists(L".log"));
}

HANDLE WINAPI FailWithMaskedBit(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) {
    ::SetLastError(0x30000005);
    return INVALID_HANDLE_VALUE;
}

TEST_F(CCommonLogTest, OnlyOneBitOfTheLastErrorIsReturned) {
    const StandIn create("CreateFileW", &FailWithMaskedBit);
    EXPECT_EQ(Init(), 0x10000000U);
}

TEST_F(CCommonLogTest, EmptyFolderIsRefused) {
    registry_.SetText(kCommonLogKey, L"LogFolder", L"");
    SetLevel(1);
    EXPECT_EQ(Init(), DWORD{ERROR_INVALID_PARAMETER});
    LogAllThree();
    EXPECT_FALSE(FileExists(L".log"));
}

TEST_F(CCommonLogTest, MutexIsNamedAfterThePathWithoutBackslashes) {
    Init();
    CString name = folder_ + L"VelkWBEMServer";
    std::erase(name, L'\\');
    const UniqueHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, (L"Global\\" + ToUpper(name)).c_str()));
    EXPECT_TRUE(mutex);
}

CString securityText;

BOOL WINAPI RecordSecurity(const wchar_t* text, DWORD revision, PSECURITY_DESCRIPTOR* descriptor, ULONG*) {
    securityText = FormatText(L"%d %s", revision, text);
    *descriptor = nullptr;
    ::SetLastError(ERROR_INVALID_ACL);
    return FALSE;
}

TEST_F(CCommonLogTest, MutexSecurityThatCannotBeMadeCountsAsNoMutex) {
    const StandIn convert("ConvertStringSecurityDescriptorToSecurityDescriptorW", &RecordSecurity);
    EXPECT_EQ(Init(), DWORD{ERROR_INVALID_ACL});
    EXPECT_EQ(securityText, L"1 D:(D;OICI;GA;;;BG)(A;OICI;GA;;;SY)(A;OICI;GA;;;BA)(A;OICI;GA;;;NS)");
}

TEST_F(CCommonLogTest, WithoutMutexLinesGoToASmallFileInTheCurrentDirectory) {
    wchar_t before[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, before);
    ::SetCurrentDirectoryW(temp_.Path().c_str());
    SetLevel(3);
    // An event of the mutex's name makes the mutex impossible.
    const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, MutexName(folder_).c_str()));
    EXPECT_EQ(Init(), DWORD{ERROR_INVALID_HANDLE});
    const CString file = temp_.Path(L"VelkCommonLog_MutexError.log");
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(file), Error());
    EXPECT_EQ(ReadBytes(File()), "");

    WriteBytes(file, std::string(1023, 'a'));
    log_.LogError(L"e");
    EXPECT_FALSE(FileExists(temp_.Path(L"VelkCommonLog_MutexError.lo_")));
    WriteBytes(file, std::string(1024, 'a'));
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(file), Error());
    EXPECT_TRUE(FileExists(temp_.Path(L"VelkCommonLog_MutexError.lo_")));
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_SUCCESS}) << "without action: no name was stored";
    EXPECT_EQ(ReadWide(file), Error());
    ::SetCurrentDirectoryW(before);
}

TEST_F(CCommonLogTest, SecondInitMovesTheLogAndKeepsTheLocalMutex) {
    Init();
    const HANDLE local = log_.LocalMutex();
    const CString second = temp_.MakeFolder(L"second");
    registry_.SetText(kCommonLogKey, L"LogFolder", second);
    Init();
    EXPECT_EQ(log_.LocalMutex(), local);
    EXPECT_EQ(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, MutexName(folder_).c_str())).Get(), nullptr);
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(second + L"VelkWBEMServer.log"), Error());
}

TEST_F(CCommonLogTest, SecondInitWithoutAnyFolderSilencesTheLog) {
    Init();
    registry_.SetText(kCommonLogKey, L"LogFolder", temp_.Path(L"missing"));
    Init();
    LogAllThree();
    EXPECT_EQ(ReadBytes(File()), "");
}

TEST_F(CCommonLogTest, ResetBeforeInitDoesNothing) {
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(FileExists(File()));
}

TEST_F(CCommonLogTest, ResetAppliesLevelAndSizeAndSaysSo) {
    Init();
    SetLevel(1);
    SetMaxSize(600000);
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_SUCCESS});
    log_.LogVerbose(L"v");
    EXPECT_EQ(ReadWide(File()),
              Line(L"[Information] VelkWmiPci.DLL!CCommonLog::LogReset| A logging interface is updated "
                   L"(Module=\"VelkWmiPci.DLL\", Level=Debug, size=600000)") +
                  Verbose());
}

TEST_F(CCommonLogTest, ResetSaysSoBelowLevel4Only) {
    Init();
    SetLevel(4);
    log_.LogReset();
    EXPECT_EQ(ReadBytes(File()), "");
    SetLevel(3);
    log_.LogReset();
    EXPECT_NE(ReadWide(File()).find(L"Level=Information, size=2097152)\r\n"), CString::npos);
}

TEST_F(CCommonLogTest, ResetMovesToAChangedFolderAndItsMutex) {
    Init();
    const CString second = temp_.MakeFolder(L"second");
    registry_.SetText(kCommonLogKey, L"LogFolder", temp_.Path(L"second"));
    SetLevel(5);
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_SUCCESS});
    log_.LogError(L"e");
    EXPECT_EQ(ReadBytes(File()), "");
    EXPECT_EQ(ReadWide(second + L"VelkWBEMServer.log"), Error());
    EXPECT_EQ(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, MutexName(folder_).c_str())).Get(), nullptr);
    EXPECT_TRUE(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, MutexName(second).c_str())));
}

TEST_F(CCommonLogTest, ResetKeepsTheOldFolderWhenTheNewOneCannotBeUsed) {
    Init();
    SetLevel(5);
    registry_.SetText(kCommonLogKey, L"LogFolder", temp_.Path(L"missing"));
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_PATH_NOT_FOUND});
    registry_.SetText(kCommonLogKey, L"LogFolder", L"");
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_INVALID_PARAMETER});
    const CString second = temp_.MakeFolder(L"second");
    const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, MutexName(second).c_str()));
    registry_.SetText(kCommonLogKey, L"LogFolder", second);
    EXPECT_EQ(log_.LogReset(), DWORD{ERROR_INVALID_HANDLE});
    log_.LogInformation(L"i");
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(File()), Error());
}

}  // namespace
}  // namespace velk
