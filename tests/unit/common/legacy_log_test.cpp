#include "common/legacy_log.h"

#include <gtest/gtest.h>

#include "common/log_paths.h"
#include "common/refused_opens.h"
#include "support/registry_fixture.h"
#include "support/stand_ins.h"
#include "support/temp_folder.h"

namespace velk {
namespace {

using velktest::FileExists;
using velktest::kLegacyLogKey;
using velktest::ReadBytes;
using velktest::StandIn;
using velktest::WriteBytes;

using Type = CLegacyLog::Type;

class CLegacyLogTest : public ::testing::Test {
  protected:
    CLegacyLogTest() : file_(temp_.Path(L"velkwbems.log")), windows_(temp_.Path(L"windows")) {}

    static std::string Line(const std::string& rest) { return " [03/07/2026 09:05:02:004] " + rest + "\r\n"; }
    void WriteAllSix() {
        log_.InfoLevel1(L"i%d", 1);
        log_.InfoLevel2(L"i%d", 2);
        log_.WarningLevel1(L"w%d", 1);
        log_.WarningLevel2(L"w%d", 2);
        log_.ErrorLevel1(L"e%d", 1);
        log_.ErrorLevel2(L"e%d", 2);
    }
    std::string Written() const { return ReadBytes(file_); }
    UniqueHandle OpenSemaphore() const {
        return UniqueHandle(::OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, PathAsObjectName(file_).c_str()));
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder temp_;
    CString file_;
    velktest::FakeWindowsDirectory windows_;
    velktest::FixedLocalTime time_;
    CLegacyLog log_;
};

TEST_F(CLegacyLogTest, LineHasLeadingBlankColonAndPrefix) {
    log_.SetPrefix(L"Mutex::");
    EXPECT_EQ(log_.Open(file_, 1, 7), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(log_.ErrorLevel1(L"failed.  Last error:  %d", 6), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Written(), " [03/07/2026 09:05:02:004] [Error] - Mutex::failed.  Last error:  6\r\n");
}

TEST_F(CLegacyLogTest, WithoutPrefixTheMessageStandsAlone) {
    log_.Open(file_, 1, 7);
    log_.InfoLevel1(L"one");
    log_.WarningLevel1(L"two");
    EXPECT_EQ(Written(), Line("[Information] - one") + Line("[Warning] - two"));
}

TEST_F(CLegacyLogTest, WhatHasNoNarrowCharacterDoesNotCostTheLine) {
    log_.Open(file_, 1, 7);
    EXPECT_EQ(log_.ErrorLevel1(L"a\x4e2dz"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Written(), Line("[Error] - a?z"));
}

TEST_F(CLegacyLogTest, DefaultConfigurationKeepsLevel2Out) {
    const CString folder = temp_.MakeFolder(L"windows\\system32\\wbem\\logs");
    EXPECT_EQ(log_.Configure(), DWORD{ERROR_SUCCESS});
    WriteAllSix();
    EXPECT_EQ(ReadBytes(folder + L"velkwbems.log"),
              Line("[Information] - i1") + Line("[Warning] - w1") + Line("[Error] - e1"));
}

TEST_F(CLegacyLogTest, WithoutFileNameInTheRegistryNothingElseIsRead) {
    const CString folder = temp_.MakeFolder(L"windows\\system32\\wbem\\logs");
    registry_.SetDword(kLegacyLogKey, L"LEVEL", 2);
    registry_.SetDword(kLegacyLogKey, L"TYPE", 0);
    EXPECT_EQ(log_.Configure(), DWORD{ERROR_SUCCESS});
    WriteAllSix();
    EXPECT_EQ(ReadBytes(folder + L"velkwbems.log"),
              Line("[Information] - i1") + Line("[Warning] - w1") + Line("[Error] - e1"));
}

TEST_F(CLegacyLogTest, TypeMaskAndLevelDecideWhatIsWritten) {
    const std::string i1 = Line("[Information] - i1");
    const std::string w1 = Line("[Warning] - w1");
    const std::string e1 = Line("[Error] - e1");
    const struct {
        DWORD level;
        DWORD mask;
        std::string lines;
    } kCases[] = {
        {1, 1, i1},
        {1, 2, w1},
        {1, 4, e1},
        {1, 5, i1 + e1},
        {1, 0, ""},
        {0, 7, ""},
        {2, 4, e1 + Line("[Error] - e2")},
        {2, 7, i1 + Line("[Information] - i2") + w1 + Line("[Warning] - w2") + e1 + Line("[Error] - e2")},
        {0xFFFFFFFF, 0xFFFFFFF8, ""},
    };
    registry_.SetText(kLegacyLogKey, L"LOGFILENAME", file_);
    for (const auto& expected : kCases) {
        WriteBytes(file_, "");
        registry_.SetDword(kLegacyLogKey, L"LEVEL", expected.level);
        registry_.SetDword(kLegacyLogKey, L"TYPE", expected.mask);
        EXPECT_EQ(log_.Configure(), DWORD{ERROR_SUCCESS});
        WriteAllSix();
        EXPECT_EQ(Written(), expected.lines) << expected.level << " " << expected.mask;
    }
}

TEST_F(CLegacyLogTest, WhatIsNotWrittenDoesNotTouchTheFile) {
    log_.Open(file_, 1, 4);
    EXPECT_EQ(log_.InfoLevel1(L"i"), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(FileExists(file_));
}

TEST_F(CLegacyLogTest, EmptyFileNameIsRefused) {
    EXPECT_EQ(log_.Open(L"", 1, 7), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_NE(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS});
}

TEST_F(CLegacyLogTest, FirstOpenerMakesTheSemaphoreWithOneCount) {
    log_.Open(file_, 1, 7);
    const UniqueHandle semaphore = OpenSemaphore();
    ASSERT_TRUE(semaphore) << "named after the path, upper-cased, without backslashes";
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_TIMEOUT});
    ::ReleaseSemaphore(semaphore.Get(), 1, nullptr);
}

TEST_F(CLegacyLogTest, SecondOpenerDoesNotRaiseTheCount) {
    log_.Open(file_, 1, 7);
    const UniqueHandle semaphore = OpenSemaphore();
    ASSERT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_OBJECT_0});
    CLegacyLog second;
    EXPECT_EQ(second.Open(file_, 1, 7), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_TIMEOUT});
}

TEST_F(CLegacyLogTest, SemaphoreIsClosedWithTheLog) {
    {
        CLegacyLog log;
        log.Open(file_, 1, 7);
        EXPECT_TRUE(OpenSemaphore());
    }
    EXPECT_FALSE(OpenSemaphore());
}

TEST_F(CLegacyLogTest, SemaphoreThatCannotBeMadeIsReportedAndLosesTheLines) {
    const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, PathAsObjectName(file_).c_str()));
    EXPECT_EQ(log_.Open(file_, 1, 7), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(Written(), "");
}

std::vector<DWORD> g_waits;  // milliseconds
DWORD WINAPI WaitBriefly(HANDLE object, DWORD timeout) {
    g_waits.push_back(timeout);
    return ::WaitForSingleObjectEx(object, 0, FALSE);
}

TEST_F(CLegacyLogTest, BusyFileCostsTheLineAfterASecond) {
    log_.Open(file_, 1, 7);
    const UniqueHandle semaphore = OpenSemaphore();
    ASSERT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_OBJECT_0});
    {
        const StandIn wait("WaitForSingleObject", &WaitBriefly);
        g_waits.clear();
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), 258U);
    }
    EXPECT_EQ(g_waits, std::vector<DWORD>{1000});
    EXPECT_EQ(Written(), "");
    EXPECT_TRUE(::DeleteFileW(file_.c_str())) << "the handle was closed";
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_TIMEOUT}) << "it was not released";
}

TEST_F(CLegacyLogTest, EveryWriteGivesTheSemaphoreBack) {
    log_.Open(file_, 1, 7);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS});
    const UniqueHandle semaphore = OpenSemaphore();
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_OBJECT_0});
}

TEST_F(CLegacyLogTest, FileBelow200000BytesIsLeftAlone) {
    log_.Open(file_, 1, 7);
    WriteBytes(file_, std::string(199999, 'a'));
    EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Written(), std::string(199999, 'a') + Line("[Error] - e"));
}

/// 200,000 bytes whose last 100,000 begin with `tail`.
std::string FullFile(const std::string& tail) {
    return std::string(100000, 'a') + tail + std::string(100000 - tail.size(), 'b');
}

TEST_F(CLegacyLogTest, FullFileKeepsWhatFollowsTheFirstLineBreakOfItsSecondHalf) {
    const struct {
        std::string tail;
        std::string kept;
    } kCases[] = {
        {"rest\r\nline\r\n", "line\r\n" + std::string(99988, 'b')},
        {"\r\nline", "line" + std::string(99994, 'b')},
        {"rest\rline\r\n", "line\r\n" + std::string(99989, 'b')},  // no line feed to skip
        {"\r\r\n", "\r\n" + std::string(99997, 'b')},
        {"\n\r\n\n", "\n" + std::string(99996, 'b')},
        {std::string(99998, 'c') + "\r\n", ""},
        {std::string(99999, 'c') + "\r", ""},
        {"no line break", ""},
    };
    log_.Open(file_, 1, 7);
    for (const auto& expected : kCases) {
        WriteBytes(file_, FullFile(expected.tail));
        EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS});
        EXPECT_TRUE(Written() == expected.kept + Line("[Error] - e")) << expected.tail.substr(0, 20);
    }
}

TEST_F(CLegacyLogTest, CutLooksAtTheLast100000BytesOfALargerFile) {
    log_.Open(file_, 1, 7);
    // The byte before those would end a line.
    WriteBytes(file_, std::string(500000, 'a') + "\r" + FullFile("x\r\nlast").substr(100000));
    log_.ErrorLevel1(L"e");
    EXPECT_TRUE(Written() == "last" + std::string(99993, 'b') + Line("[Error] - e"));
}

void* WINAPI NoMemory(HANDLE, DWORD, SIZE_T) { return nullptr; }
BOOL WINAPI Refuse(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) {
    ::SetLastError(ERROR_READ_FAULT);
    return FALSE;
}
BOOL WINAPI RefuseToSeek(HANDLE, LARGE_INTEGER, LARGE_INTEGER*, DWORD) {
    ::SetLastError(ERROR_SEEK);
    return FALSE;
}
BOOL WINAPI RefuseSize(HANDLE, LARGE_INTEGER*) {
    ::SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}
HANDLE WINAPI RefuseToOpen(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST_F(CLegacyLogTest, EveryFailureOfACutIsReturnedAndGivesTheSemaphoreBack) {
    log_.Open(file_, 1, 7);
    WriteBytes(file_, FullFile("\r\n"));
    {
        const StandIn heap("HeapAlloc", &NoMemory);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), 8U);
    }
    {
        const StandIn read("ReadFile", &Refuse);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_READ_FAULT});
    }
    {
        const StandIn move("SetFilePointerEx", &RefuseToSeek);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_SEEK});
    }
    {
        const StandIn size("GetFileSizeEx", &RefuseSize);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_GEN_FAILURE});
    }
    EXPECT_TRUE(Written() == FullFile("\r\n")) << "nothing was cut or written";
    const UniqueHandle semaphore = OpenSemaphore();
    EXPECT_EQ(::WaitForSingleObject(semaphore.Get(), 0), DWORD{WAIT_OBJECT_0});
}

TEST_F(CLegacyLogTest, ACutThatCannotOpenTheFileIsReturnedAndCutsNothing) {
    log_.Open(file_, 1, 7);
    WriteBytes(file_, FullFile("\r\n"));
    // The line's own open comes first, then the two of the cut: to read, and to write what is kept.
    for (const int before : {1, 2}) {
        const velktest::RefusedOpens refused(before, 1, ERROR_ACCESS_DENIED);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_ACCESS_DENIED}) << before;
        EXPECT_EQ(refused.Count(), before + 1);
        EXPECT_TRUE(Written() == FullFile("\r\n")) << before;
    }
    EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS}) << "the semaphore was given back";
}

int g_writes = 0;
decltype(&::WriteFile) g_writeFile = nullptr;
BOOL WINAPI RefuseFirstWrite(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped) {
    if (g_writes++ > 0) return g_writeFile(file, data, size, written, overlapped);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(CLegacyLogTest, ACutThatCannotWriteWhatItKeepsIsReturnedAndCostsTheLine) {
    log_.Open(file_, 1, 7);
    WriteBytes(file_, FullFile("\r\n"));
    {
        const StandIn<decltype(&RefuseFirstWrite)> write("WriteFile", &RefuseFirstWrite);
        g_writeFile = write.Original<decltype(g_writeFile)>();
        g_writes = 0;
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_DISK_FULL});
        EXPECT_EQ(g_writes, 1);
    }
    EXPECT_EQ(Written(), "") << "the file was made anew for what it could not take";
    EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS}) << "the semaphore was given back";
}

TEST_F(CLegacyLogTest, FailuresOfALineAreReturnedAndGiveTheSemaphoreBack) {
    log_.Open(file_, 1, 7);
    {
        const StandIn open("CreateFileW", &RefuseToOpen);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_ACCESS_DENIED});
    }
    {
        const velktest::FullDisk full;
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_DISK_FULL});
    }
    {
        const StandIn move("SetFilePointerEx", &RefuseToSeek);
        EXPECT_EQ(log_.ErrorLevel1(L"lost"), DWORD{ERROR_SEEK});
    }
    EXPECT_EQ(log_.ErrorLevel1(L"e"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Written(), Line("[Error] - e"));
}

}  // namespace
}  // namespace velk
