#include "tool/app/command_line.h"

#include <gmock/gmock.h>

namespace {

using namespace velkpci;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(CommandLineTest, ACommandWithItsOptionsIsRead) {
    const CommandLine line = ReadCommandLine(
        {"--machine", "m.json", "--json", "list", "Velk_PCIDevice", "--columns", "DeviceID,Name"});
    ASSERT_TRUE(line.command) << line.message;
    EXPECT_EQ(line.options.source.machine, "m.json");
    EXPECT_EQ(line.options.output.format, Format::kJson);
    EXPECT_THAT(line.options.output.columns, ElementsAre("DeviceID", "Name"));
    EXPECT_EQ(ReadCommandLine({"tree", "--json"}).options.output.format, Format::kJson)
        << "options may follow the command";
    EXPECT_TRUE(ReadCommandLine({"get", "A.K=1", "B.K=2"}).command);
}

TEST(CommandLineTest, BadUsageEndsWithTwoAndHelpWithZero) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"bogus"},
                                               {"list"},
                                               {"get"},
                                               {"--machine"},
                                               {"--provider", "--machine", "m.json", "dump"},
                                               {"--user", "me", "tree"},
                                               {"--standalone", "tree"},
                                               {"--json", "--csv", "list", "X"},
                                               {"tree", "--columns", "A"}}) {
        const CommandLine line = ReadCommandLine(arguments);
        EXPECT_FALSE(line.command);
        EXPECT_EQ(line.exitCode, kBadUsage);
        EXPECT_EQ(std::count(line.message.begin(), line.message.end(), '\n'), 1) << line.message;
    }
    EXPECT_EQ(ReadCommandLine({"--help"}).exitCode, kSuccess);
    EXPECT_THAT(ReadCommandLine({"list", "--help"}).message, HasSubstr("velkpci list Velk_PCISlot\n"));
}

TEST(CommandLineTest, AWrongWordIsNamedWithTheNearestRightOne) {
    EXPECT_EQ(ReadCommandLine({"lisst", "X"}).message,
              "velkpci: no command \"lisst\" (did you mean list?)\n");
    EXPECT_EQ(ReadCommandLine({"--machin", "m.json", "tree"}).message,
              "velkpci: no option \"--machin\" (did you mean --machine?)\n");
    EXPECT_EQ(ReadCommandLine({"--machine", "m.json", "gte", "X"}).message,
              "velkpci: no command \"gte\" (did you mean get?)\n");
    EXPECT_EQ(ReadCommandLine({"list", "X", "--jsn"}).message,
              "velkpci: no option \"--jsn\" (did you mean --json?)\n");
    EXPECT_EQ(ReadCommandLine({"tree", "--csv"}).message, "velkpci: tree has no --csv\n");
}

TEST(CommandLineTest, EveryCommandHasExamplesOfItself) {
    for (const CommandRow& row : CommandTable()) {
        EXPECT_THAT(row.examples, testing::StartsWith("  velkpci ")) << row.name;
        EXPECT_THAT(row.examples, HasSubstr(std::string(" ") + row.name)) << row.name;
        EXPECT_NE(row.make(), nullptr);
    }
}

}  // namespace
