#include "host/machine/machine.h"
#include "recording_console.h"
#include "support/temp_folder.h"
#include "tool/app/program.h"
#include "tool/basics/errors.h"
#include "tool/source/hosted_source.h"
#include "tool/source/wmi_source.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::ElementsAre;

/// The host registers its locator for the process, as WMI does for the computer.
using WmiSourceTest = ToolTest;

TEST_F(WmiSourceTest, WmiOfThisComputerIsReachedThroughItsLocator) {
    const auto source = OpenWmiSource({}, console_);
    EXPECT_EQ(source->Info().kind, SourceInfo::Kind::kWmi);
    WmiReader reader(*source, console_, false);
    const ClassData slots = reader.Enumerate(L"Velk_PCISlot");
    EXPECT_EQ(slots.status, S_OK);
    EXPECT_EQ(slots.instances.size(), 2u);
}

TEST_F(WmiSourceTest, ARefusedConnectionNamesWhatWasAskedAndTheStatus) {
    SourceOptions options;
    options.nameSpace = "root\\none";
    try {
        OpenWmiSource(options, console_);
        FAIL();
    } catch (const WmiError& error) {
        EXPECT_STREQ(error.what(), "\\\\.\\root\\none");
        EXPECT_EQ(error.Status(), static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE));
    }
    options = {};
    options.computer = "elsewhere";
    EXPECT_THROW(OpenWmiSource(options, console_), WmiError);
}

class ProgramTest : public testing::Test {
  protected:
    ProgramTest() { velktest::WriteBytes(folder_.Path(L"tool.mof"), kToolMof); }

    int Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {"--provider", "--mof", velkhost::Utf8FromWide(folder_.Path(L"tool.mof"))});
        console_.output.clear();
        console_.errors.clear();
        return RunProgram(std::move(arguments), console_);
    }

    const velktest::TempFolder folder_;
    RecordingConsole console_;
};

TEST_F(ProgramTest, UnreadableInputIsBadUsageToldInOneLine) {
    EXPECT_EQ(RunProgram({"--provider", "--mof", "no such file.mof", "classes"}, console_), 2);
    EXPECT_EQ(console_.errors, "velkpci: no such file.mof: the file cannot be read\n");
    EXPECT_EQ(RunProgram({"--machine", "no such file.json", "tree"}, console_), 2);
    EXPECT_EQ(console_.output, "");
}

TEST_F(ProgramTest, TheExitCodeTellsWhetherWmiAnsweredAFailure) {
    const std::string card = "Velk_PCICard.Tag=\"PCI Card 1\"", none = "Velk_PCICard.Tag=\"PCI Card 9\"";
    EXPECT_EQ(Run({"list", "Velk_PCISlot"}), 0);
    EXPECT_EQ(Run({"references", card}), 0);
    EXPECT_EQ(Run({"associators", card}), 0);
    EXPECT_EQ(Run({"classes"}), 0);
    EXPECT_EQ(Run({"dump"}), 0);
    EXPECT_EQ(Run({"tree"}), 0) << console_.errors;
    EXPECT_EQ(Run({"get", none}), 1);
    EXPECT_EQ(console_.errors, "velkpci: " + none + ": WBEM_E_NOT_FOUND (0x80041002)\n");
    EXPECT_EQ(Run({"get", none, card}), 1) << "one of several was not found";
    EXPECT_EQ(Run({"list", "Velk_PCISlt"}), 1);
    EXPECT_EQ(console_.errors,
              "velkpci: Velk_PCISlt: WBEM_E_INVALID_CLASS (0x80041010): did you mean Velk_PCISlot?\n");
    EXPECT_EQ(Run({"query", "SELECT * FROM Velk_PCISlt"}), 1);
    EXPECT_THAT(console_.errors, testing::EndsWith(": did you mean Velk_PCISlot?\n"));
    EXPECT_EQ(Run({"list", card}), 1) << "the path of an instance is no class";
    EXPECT_EQ(Run({"query", "SELECT Tag FROM Velk_PCISlot"}), 0);
    EXPECT_EQ(Run({"query", "nonsense"}), 1);
    EXPECT_EQ(Run({"list", "Velk_PCISlot", "--columns", "Nothing"}), 2);
    EXPECT_EQ(Run({"--namespace", "root\\none", "classes"}), 2);
}

}  // namespace
