#include "host/machine/machine_repository.h"

#include <gmock/gmock.h>

#include "host/machine/json_value.h"
#include "support/temp_folder.h"

namespace {

using namespace velkhost;
using testing::ElementsAre;

constexpr char kMof[] = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Velk_ComputerSystemChassis { [Key] string Tag; };
instance of Velk_ComputerSystemChassis { Tag = "Box"; };
)";

TEST(MachineJson, ValuesMustFitTheTypeOfTheProperty) {
    const CimType uint16{Cim::kUInt16, false};
    EXPECT_EQ(ValueFromJson(uint16, 65535), Value::Unsigned(65535));
    EXPECT_FALSE(ValueFromJson(uint16, 65536));
    EXPECT_FALSE(ValueFromJson(uint16, -1));
    EXPECT_FALSE(ValueFromJson(uint16, "1"));
    EXPECT_EQ(ValueFromJson({Cim::kSInt8, false}, -128), Value::Signed(-128));
    EXPECT_TRUE(ValueFromJson(uint16, nullptr)->IsNull());
    EXPECT_EQ(ValueFromJson({Cim::kString, true}, {"a", "b"}),
              Value::Array({Value::Text(L"a"), Value::Text(L"b")}));
    EXPECT_FALSE(ValueFromJson({Cim::kString, true}, "a"));
}

Machine WithObjects(const wchar_t* className, const std::vector<Json>& objects) {
    Machine machine;
    machine.names.netbios = L"BOX";
    for (const auto& properties : objects)
        machine.objects.push_back({L"root\\VKQ", className, JsonText(properties)});
    return machine;
}

TEST(MachineRepository, ObjectsOfTheMachineReplaceThoseOfTheMof) {
    const velktest::TempFolder folder;
    const auto file = folder.Path(L"cli.mof");
    velktest::WriteBytes(file, kMof);
    const Machine machine = WithObjects(L"Velk_ComputerSystemChassis", {{{"Tag", "A"}}, {{"Tag", "B"}}});
    const Repository repository = BuildRepository({file}, &machine);
    EXPECT_EQ(repository.Server(), L"BOX");
    EXPECT_EQ(repository.StaticInstances(L"root\\VKQ", L"Velk_ComputerSystemChassis").size(), 2u);
    EXPECT_EQ(repository.FindClass(L"root\\wmi", L"MSSmBios_RawSMBiosTables"), nullptr)
        << "a machine without table";
    EXPECT_EQ(repository.FindClass(L"root\\wmi", L"DataStoreStatus"), nullptr);
    const Machine wrong = WithObjects(L"Velk_ComputerSystemChassis", {{{"Tag", 5}}});
    EXPECT_THROW(BuildRepository({file}, &wrong), MachineError);
    const Machine unknown = WithObjects(L"Velk_Nothing", {Json::object()});
    EXPECT_THROW(BuildRepository({file}, &unknown), MachineError);
    const Machine store = WithObjects(L"DataStoreStatus", {{{"DataAvailable", true}}});
    EXPECT_NE(BuildRepository({file}, &store).FindClass(L"root\\wmi", L"DataStoreStatus"), nullptr);
}

TEST(MachineRepository, TheComputerSystemHasTheLongestNameOfTheMachine) {
    const velktest::TempFolder folder;
    const auto file = folder.Path(L"computer.mof");
    velktest::WriteBytes(file, R"(#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Velk_WinComputerSystem { [Key] string CreationClassName; [Key] string Name; };)");
    const auto paths = [&](const Machine* machine) {
        std::vector<std::wstring> found;
        const Repository repository = BuildRepository({file}, machine);
        for (const auto& one : repository.StaticInstances(L"root\\VKQ", L"Velk_WinComputerSystem"))
            found.push_back(one->RelativePath().value());
        return found;
    };
    const auto named = [](const std::wstring& name) {
        return L"Velk_WinComputerSystem.CreationClassName=\"Velk_WinComputerSystem\",Name=\"" + name + L"\"";
    };
    Machine machine;
    machine.names = {L"box.example.com", L"box", L"BOX"};
    EXPECT_THAT(paths(&machine), ElementsAre(named(L"box.example.com")));
    machine.names.dnsFullyQualified.reset();
    EXPECT_THAT(paths(&machine), ElementsAre(named(L"box")));
    machine.names.dnsHostname.reset();
    EXPECT_THAT(paths(&machine), ElementsAre(named(L"BOX")));
    EXPECT_THAT(paths(nullptr), testing::SizeIs(1)) << "this machine has a name, too";
    machine.objects.push_back({L"root\\VKQ", L"Velk_WinComputerSystem",
                               R"({"CreationClassName": "Velk_WinComputerSystem", "Name": "other"})"});
    EXPECT_THAT(paths(&machine), ElementsAre(named(L"other"))) << "the machine file says which";
}

TEST(MachineRepository, TheFirmwareTableOfThisMachineIsServedWithoutItsHeader) {
    const velktest::TempFolder folder;
    const auto file = folder.Path(L"cli.mof");
    velktest::WriteBytes(file, kMof);
    const Repository repository = BuildRepository({file}, nullptr);
    const auto tables = repository.StaticInstances(L"root\\wmi", L"MSSmBios_RawSMBiosTables");
    ASSERT_EQ(tables.size(), 1u);
    const auto& bytes = *tables[0]->At(tables[0]->Class().IndexOf(L"SMBiosData")).As<Value::List>();
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes[0], Value::Unsigned(0)) << "the first structure is type 0, BIOS information";
    EXPECT_EQ(tables[0]->At(tables[0]->Class().IndexOf(L"Size")), Value::Unsigned(bytes.size()));
}

}  // namespace
