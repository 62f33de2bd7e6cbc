// The parts of setup that ask and change the system.

#include <filesystem>

#include "common/handle.h"
#include "support/hosted/project_folder.h"
#include "support/temp_folder.h"
#include "tool/check/host_account.h"
#include "tool/inventory/status_names.h"
#include "tool/setup/autorecover.h"
#include "tool/setup/log_folder.h"
#include "tool/setup/mof_compiler.h"
#include "tool/setup/suite_classes.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;

constexpr wchar_t kCimom[] = L"SOFTWARE\\Microsoft\\WBEM\\CIMOM";
constexpr wchar_t kList[] = L"Autorecover MOFs";

/// What WMI would answer with these classes in its namespace.
NamespaceAnswers AnswersWith(const std::string& classes) {
    velkhost::Repository repository(L"SRV");
    repository.LoadMof(
        "#pragma namespace(\"\\\\\\\\.\\\\root\")\ninstance of __Namespace { Name = \"VKQ\"; };\n"
        "#pragma namespace(\"\\\\\\\\.\\\\root\\\\VKQ\")\n" +
            classes,
        "suite.mof");
    velkhost::WmiHost host(std::move(repository));
    const auto services = host.Connect(L"root\\VKQ");
    return AskAboutClasses(*services);
}

TEST(SuiteClassesTest, AnEmptyNamespaceHasNone) {
    const NamespaceAnswers answers = AnswersWith("");
    EXPECT_EQ(StateOf(answers.suite), SuiteState::kMissing);
    EXPECT_TRUE(IsNotThere(answers.ownClass));
}

TEST(SuiteClassesTest, ThoseOfStandaloneMofAreKnown) {
    const auto file = ProjectFolder() / "mof" / "standalone.mof";
    EXPECT_EQ(StateOf(AnswersWith(ReadBytes(file.wstring())).suite), SuiteState::kStandalone);
}

TEST(SuiteClassesTest, TheSuitesAreTakenForItsOwn) {
    const char* const suites[] = {
        "[dynamic, provider(\"SuiteProv\")] class Velk_WinComputerSystem { [key] string CreationClassName; "
        "[key] string Name; };",
        "class Velk_Base { [key] string CreationClassName; [key] string Name; };\n"
        "class Velk_WinComputerSystem : Velk_Base { };",
        "class Velk_WinComputerSystem { [key] string CreationClassName; [key] string Name; string Model; };",
        "class Velk_WinComputerSystem { [key] string Name; string Model; };",
    };
    for (const char* suite : suites)
        EXPECT_EQ(StateOf(AnswersWith(suite).suite), SuiteState::kSuite) << suite;
}

TEST(SuiteClassesTest, OwnClassesAreSeen) {
    EXPECT_EQ(AnswersWith("class Velk_PCIDevice { [key] string DeviceID; };").ownClass, S_OK);
}

/// The list of WMI with the lines of a test, and what was there before put back.
class AutorecoverTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kCimom, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    key_.Put(), nullptr),
                  ERROR_SUCCESS);
    }
    ~AutorecoverTest() override { ::RegDeleteValueW(key_.Get(), kList); }

    void Set(const std::wstring& text) {
        ASSERT_EQ(
            ::RegSetValueExW(key_.Get(), kList, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(text.data()),
                             static_cast<DWORD>(text.size() * sizeof(wchar_t))),
            ERROR_SUCCESS);
    }
    std::wstring Get() const {
        wchar_t text[1024];
        DWORD size = sizeof text;
        if (::RegGetValueW(key_.Get(), nullptr, kList, RRF_RT_REG_MULTI_SZ, nullptr, text, &size) !=
            ERROR_SUCCESS)
            return L"none";
        return {text, size / sizeof(wchar_t)};
    }
    static std::wstring Lines(std::initializer_list<std::wstring> lines) {
        std::wstring text;
        for (const std::wstring& line : lines) text += line + L'\0';
        return text + L'\0';
    }

    const TempFolder folder_;
    // Without the backslash at its end.
    const std::filesystem::path copies_ =
        std::filesystem::path(folder_.MakeFolder(L"AutoRecover")).parent_path();
    velk::UniqueRegistryKey key_;
};

TEST_F(AutorecoverTest, OurLinesGoAndTheOthersStayInOrder) {
    const std::filesystem::path ours = folder_.Path(L"VelkWmiPci.mof");
    WriteBytes(ours.wstring(), "class Velk_X {};");
    const std::wstring copy = folder_.Path(L"AutoRecover\\12.mof"),
                       another = folder_.Path(L"AutoRecover\\34.mof");
    WriteBytes(copy, "class Velk_X {};");
    WriteBytes(another, "class Velk_Y {};");
    Set(Lines({L"b.mof", folder_.Path(L"VELKWMIPCI.MOF"), another, copy, L"%windir%\\a.mof"}));
    EXPECT_EQ(ForgetFiles({ours}, copies_), 2u);
    EXPECT_EQ(Get(), Lines({L"b.mof", another, L"%windir%\\a.mof"}));
    EXPECT_FALSE(FileExists(copy));
    EXPECT_TRUE(FileExists(another));
    EXPECT_TRUE(FileExists(ours.wstring()));
}

TEST_F(AutorecoverTest, ACopyElsewhereIsNotWmis) {
    const std::filesystem::path ours = folder_.Path(L"VelkWmiPci.mof");
    WriteBytes(ours.wstring(), "class Velk_X {};");
    WriteBytes(folder_.Path(L"mine.mof"), "class Velk_X {};");
    const std::wstring before = Lines({folder_.Path(L"mine.mof"), L"b.mof"});
    Set(before);
    EXPECT_EQ(ForgetFiles({ours}, copies_), 0u);
    EXPECT_EQ(Get(), before);
}

TEST_F(AutorecoverTest, VariablesOfTheEnvironmentAreExpanded) {
    ::SetEnvironmentVariableW(L"VELK_FOLDER", folder_.Path(L"").c_str());
    EXPECT_TRUE(IsLineOf(L"%VELK_FOLDER%x.mof", {folder_.Path(L"X.mof")}, copies_));
    ::SetEnvironmentVariableW(L"VELK_FOLDER", nullptr);
}

TEST_F(AutorecoverTest, WithoutAListNothingIsMade) {
    EXPECT_EQ(ForgetFiles({folder_.Path(L"x.mof")}, copies_), 0u);
    EXPECT_EQ(Get(), L"none");
}

TEST(LogFolderTest, TheHostMayModifyAndNobodyLosesARight) {
    const auto list = WithHostMayModify(nullptr);
    ASSERT_TRUE(list);
    auto* const acl = static_cast<ACL*>(list.Get());
    EXPECT_TRUE(IsGrantedToHost(acl, FILE_ADD_FILE | FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE));
    EXPECT_FALSE(IsGrantedToHost(acl, WRITE_DAC));
    void* entry = nullptr;
    ASSERT_TRUE(::GetAce(acl, 0, &entry));
    EXPECT_EQ(static_cast<ACE_HEADER*>(entry)->AceFlags, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE);
    const auto twice = WithHostMayModify(acl);
    ASSERT_TRUE(twice);
    EXPECT_GE(static_cast<ACL*>(twice.Get())->AceCount, acl->AceCount);
}

TEST(LogFolderTest, AFolderThatIsThereIsLeftAsItIs) {
    const TempFolder folder;
    EXPECT_TRUE(MakeLogFolder(std::filesystem::path(folder.Path(L"logs"))));
    EXPECT_FALSE(MakeLogFolder(std::filesystem::path(folder.Path(L"logs"))));
}

TEST(MofCompilerTest, WhatItPrintsAndItsCodeAreKept) {
    const TempFolder folder;
    const CompilerRun run = RunMofCompiler(folder.Path(L"none.exe"), folder.Path(L"x.mof"));
    EXPECT_EQ(run.code, kNoCompiler);
    EXPECT_THAT(run.said, testing::HasSubstr("none.exe cannot be started: error 2"));
}

}  // namespace
