#include "tool/capture/identifiers.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/machine/machine_writer.h"
#include "support/hosted/project_folder.h"
#include "tool/basics/files.h"
#include "tool/basics/json.h"

namespace {

using velkhost::Machine;
using velkpci::Json;
using velkpci::JsonText;
using velkpci::ParseJson;
using velkpci::ReplaceIdentifiers;

Json AsJson(const Machine& machine) {
    auto json = ParseJson(velkhost::FormatMachine(machine));
    json.erase("about");
    return json;
}

/// The vectors that the Python tools are held against, too.
Json Vectors() {
    return ParseJson(
        velkpci::ReadTextFile(velktest::ProjectFolder() / "tests" / "support" / "identifiers.json"));
}

TEST(Identifiers, MachinesBecomeThoseOfTheVectors) {
    ASSERT_GE(Vectors().size(), 14u);
    for (const Json& vector : Vectors()) {
        Machine machine = velkhost::ParseMachine(JsonText(vector["machine"]), "vector");
        ReplaceIdentifiers(machine);
        EXPECT_EQ(AsJson(machine), vector["replaced"]) << vector["name"];
    }
}

TEST(Identifiers, ReplacingAgainChangesNothing) {
    for (const Json& vector : Vectors()) {
        Machine machine = velkhost::ParseMachine(JsonText(vector["replaced"]), "vector");
        ReplaceIdentifiers(machine);
        EXPECT_EQ(AsJson(machine), vector["replaced"]) << vector["name"];
    }
}

TEST(Identifiers, NoneOfTheSampleServersIdentifiersIsLeft) {
    Machine machine = velktest::LoadSampleMachine("two-socket-rack-server");
    const std::size_t length = machine.smbios->table.size();
    const auto contains = [&](const std::string& text) {
        const auto& table = machine.smbios->table;
        return std::string(table.begin(), table.end()).find(text) != std::string::npos;
    };
    EXPECT_TRUE(contains("SAMPLE0001") && contains("A-0001"));
    ReplaceIdentifiers(machine);
    EXPECT_FALSE(contains("SAMPLE0001") || contains("A-0001"));
    EXPECT_TRUE(contains("VR2200 Rack Server") && contains("PCIe Slot 1"));
    EXPECT_EQ(machine.smbios->table.size(), length);
    EXPECT_EQ(machine.names.netbios, L"MACHINE");
}

}  // namespace
