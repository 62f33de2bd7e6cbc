#include "tool/capture/identifiers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/machine/machine_writer.h"
#include "support/hosted/project_folder.h"
#include "tool/basics/files.h"

namespace {

using velkhost::Machine;
using velkpci::ReplaceIdentifiers;

nlohmann::json AsJson(const Machine& machine) {
    auto json = nlohmann::json::parse(velkhost::FormatMachine(machine));
    json.erase("about");
    return json;
}

/// The vectors that the Python tools are held against, too.
nlohmann::json Vectors() {
    return nlohmann::json::parse(
        velkpci::ReadTextFile(velktest::ProjectFolder() / "tests" / "support" / "identifiers.json"));
}

TEST(Identifiers, MachinesBecomeThoseOfTheVectors) {
    ASSERT_GE(Vectors().size(), 14u);
    for (const nlohmann::json& vector : Vectors()) {
        Machine machine = velkhost::ParseMachine(vector["machine"].dump(), "vector");
        ReplaceIdentifiers(machine);
        EXPECT_EQ(AsJson(machine), vector["replaced"]) << vector["name"];
    }
}

TEST(Identifiers, ReplacingAgainChangesNothing) {
    for (const nlohmann::json& vector : Vectors()) {
        Machine machine = velkhost::ParseMachine(vector["replaced"].dump(), "vector");
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
