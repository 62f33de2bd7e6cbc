#include "common/common_log.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "common/common_log_fixture.h"
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

TEST_F(CCommonLogTest, IsSilentBeforeInit) {
    LogAllThree();
    EXPECT_EQ(log_.LocalMutex(), nullptr);
    EXPECT_FALSE(FileExists(L".log"));
}

TEST_F(CCommonLogTest, InitMakesAnEmptyFileAndIsSilentAboveVerbose) {
    EXPECT_EQ(Init(), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(FileExists(File()));
    EXPECT_EQ(ReadBytes(File()), "");
    EXPECT_NE(log_.LocalMutex(), nullptr);
}

TEST_F(CCommonLogTest, LinesAreUtf16WithoutByteOrderMark) {
    Init();
    log_.SetFunctionName(L"C::M");
    EXPECT_EQ(log_.LogError(L"\x00e9\x20ac"), DWORD{ERROR_SUCCESS});
    std::string expected;
    for (const char c : std::string("03/07/2026 09:05:02.004 [Error] VelkWmiPci.DLL!C::M| ")) {
        expected += {c, '\0'};
    }
    expected += std::string("\xe9\x00\xac\x20\r\0\n\0", 8);
    EXPECT_EQ(ReadBytes(File()), expected);
}

TEST_F(CCommonLogTest, FrontEndsNameModuleFunctionAndLevel) {
    SetLevel(2);
    Init();
    log_.SetFunctionName(L"CVelkPCIDeviceProv::ExecQueryAsync");
    log_.LogVerbose(L"Entering");
    log_.LogInformation(L"Returning %d instances", 12);
    log_.LogError(L"Cannot return %s, error=0x%08x.", L"instances", 5);
    const CString function = L"VelkWmiPci.DLL!CVelkPCIDeviceProv::ExecQueryAsync| ";
    EXPECT_EQ(ReadWide(File()),
              Line(L"[Verbose] VelkWmiPci.DLL!CCommonLog::LogInit| A logging interface is initialized "
                   L"(Module=\"VelkWmiPci.DLL\", Level=Verbose, size=2097152)") +
                  Line(L"[Verbose] " + function + L"Entering") +
                  Line(L"[Information] " + function + L"Returning 12 instances") +
                  Line(L"[Error] " + function + L"Cannot return instances, error=0x00000005."));
}

TEST_F(CCommonLogTest, WithoutFunctionNameTheMessageStandsAlone) {
    Init();
    log_.LogError(L"alone");
    log_.SetFunctionName(L"C::M");
    log_.SetFunctionName(L"");
    log_.LogError(L"again");
    EXPECT_EQ(ReadWide(File()), Line(L"[Error] alone") + Line(L"[Error] again"));
}

TEST_F(CCommonLogTest, WriteLineTakesTheFunctionNameAsItIsAndEveryLevel) {
    Init();
    const CString names[] = {L"N/A", L"Debug", L"Verbose", L"Information", L"Warning", L"Error"};
    CString expected;
    for (LONG level = 0; level <= 5; ++level) {
        EXPECT_EQ(log_.WriteLine(L"F", level, L"100%s"), DWORD{ERROR_SUCCESS});
        expected += Line(L"[" + names[level] + L"] F| 100%s");
    }
    EXPECT_EQ(ReadWide(File()), expected);
}

TEST_F(CCommonLogTest, LevelsOutsideTheTableAreNotNamed) {
    Init();
    for (const LONG level : {-1L, 6L, std::numeric_limits<LONG>::min()}) log_.WriteLine(L"", level, L"m");
    const CString line = Line(L"[N/A] m");
    EXPECT_EQ(ReadWide(File()), line + line + line);
}

int WINAPI GiveString(HINSTANCE, UINT id, wchar_t* buffer, int size) {
    static constexpr wchar_t kText[] = L"Named::ByStringBeyond";
    // A size of 0 asks for the address of the text, which has no terminator.
    if (id != 107 || size != 0) return 0;
    *reinterpret_cast<const wchar_t**>(buffer) = kText;
    return 15;
}

TEST_F(CCommonLogTest, FunctionNameMayBeAStringResource) {
    const StandIn strings("LoadStringW", &GiveString);
    Init();
    log_.SetFunctionName(MAKEINTRESOURCEW(107));
    log_.LogError(L"e");
    log_.SetFunctionName(MAKEINTRESOURCEW(108));
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(File()), Line(L"[Error] VelkWmiPci.DLL!Named::ByString| e") + Line(L"[Error] e"));
}

TEST_F(CCommonLogTest, LevelDecidesWhichFrontEndsWrite) {
    const struct {
        DWORD level;
        CString lines;
        const wchar_t* name;  // null: no line from LogInit
    } kCases[] = {
        {0, Verbose() + Information() + Error(), L"N/A"},
        {1, Verbose() + Information() + Error(), L"Debug"},
        {2, Verbose() + Information() + Error(), L"Verbose"},
        {3, Information() + Error(), nullptr},
        {4, Error(), nullptr},
        {5, Error(), nullptr},
        {6, L"", nullptr},
        {0x7FFFFFFF, L"", nullptr},
        // Signed: every message appears.
        {0xFFFFFFFF, Verbose() + Information() + Error(), L"N/A"},
    };
    for (const auto& expected : kCases) {
        WriteBytes(File(), "");
        SetLevel(expected.level);
        EXPECT_EQ(Init(), DWORD{ERROR_SUCCESS});
        LogAllThree();
        CString lines;
        if (expected.name != nullptr) {
            lines =
                Line(FormatText(L"[Verbose] VelkWmiPci.DLL!CCommonLog::LogInit| A logging interface is "
                                L"initialized (Module=\"VelkWmiPci.DLL\", Level=%s, size=2097152)",
                                expected.name));
        }
        EXPECT_EQ(ReadWide(File()), lines + expected.lines) << "level " << expected.level;
    }
}

TEST_F(CCommonLogTest, ConfiguredSizeIsReportedAndUsed) {
    SetLevel(1);
    SetMaxSize(0x80000);
    Init();
    EXPECT_NE(ReadWide(File()).find(L"Level=Debug, size=524288)\r\n"), CString::npos);
}

TEST_F(CCommonLogTest, LinesAreAppendedToWhatIsThere) {
    WriteBytes(File(), "xx");
    Init();
    log_.LogError(L"e");
    EXPECT_EQ(ReadWide(File()), L"\x7878" + Error());
}

}  // namespace
}  // namespace velk
