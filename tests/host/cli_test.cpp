#include "host/cli/commands.h"
#include "host/cli/json_value.h"
#include "host/cli/links.h"
#include "host/cli/object_view.h"
#include "host/cli/options.h"
#include "host/cli/status_names.h"
#include "host/cli/table.h"
#include "host/cli/tree.h"
#include "host/com/wbem_codes.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using namespace velkhost;
using namespace velkhost::cli;
using testing::ElementsAre;
using testing::HasSubstr;

/// Classes of the same names as the product's with static instances: one chassis, a slot with card and
/// function, an empty slot, a bridge and a function outside.
constexpr char kMof[] = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Velk_ComputerSystemChassis { [Key] string Tag; };
class Velk_PCISlot { [Key] string CreationClassName; [Key] string Tag;
    [ValueMap{"16", "23"}, Values{"PCI", "PCI-E x16"}] uint16 ConnectorLayout; uint16 ConnectorType[];
    string ConnectorPinout; boolean SupportsHotPlug; boolean PoweredOn; };
class Velk_PCICard { [Key] string Tag; };
class Velk_PCIDevice { [Key] string DeviceID; uint16 VendorID; uint16 PCIDeviceID; string Description;
    uint32 BusNumber; uint32 DeviceNumber; uint32 FunctionNumber; };
class Velk_PCIBridge { [Key] string DeviceID; uint16 VendorID; uint16 PCIDeviceID; string Description;
    uint32 BusNumber; uint32 DeviceNumber; uint32 FunctionNumber; [ValueMap{"4"}, Values{"PCI"}] uint16 BridgeType; };
[Association] class Velk_SystemPCISlot { [Key] Velk_ComputerSystemChassis REF GroupComponent; [Key] Velk_PCISlot REF PartComponent; };
[Association] class Velk_PCICardInSlot { [Key] Velk_PCISlot REF Antecedent; [Key] Velk_PCICard REF Dependent; };
[Association] class Velk_RealizesPCIDevice { [Key] Velk_PCICard REF Antecedent; [Key] Velk_PCIDevice REF Dependent; };
instance of Velk_ComputerSystemChassis { Tag = "Box"; };
instance of Velk_PCISlot { CreationClassName = "Velk_PCISlot"; Tag = "PCI Slot 1"; ConnectorLayout = 23; ConnectorType = {1, 2}; SupportsHotPlug = FALSE; PoweredOn = TRUE; };
instance of Velk_PCISlot { CreationClassName = "Velk_PCISlot"; Tag = "PCI Slot 2"; ConnectorLayout = 16; SupportsHotPlug = TRUE; PoweredOn = FALSE; };
instance of Velk_PCICard { Tag = "PCI Card 1"; };
instance of Velk_PCIDevice { DeviceID = "F1"; VendorID = 32902; PCIDeviceID = 5490; Description = "Network"; BusNumber = 59; };
instance of Velk_PCIDevice { DeviceID = "F2"; VendorID = 1; PCIDeviceID = 2; Description = "Disk"; BusNumber = 0; };
instance of Velk_PCIBridge { DeviceID = "B1"; VendorID = 1; PCIDeviceID = 3; Description = "Root port"; BusNumber = 0; DeviceNumber = 1; BridgeType = 4; };
instance of Velk_SystemPCISlot { GroupComponent = "Velk_ComputerSystemChassis.Tag=\"Box\""; PartComponent = "\\\\SRV\\root\\VKQ:Velk_PCISlot.Tag=\"PCI Slot 1\",CreationClassName=\"Velk_PCISlot\""; };
instance of Velk_SystemPCISlot { GroupComponent = "Velk_ComputerSystemChassis.Tag=\"Box\""; PartComponent = "Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 2\""; };
instance of Velk_PCICardInSlot { Antecedent = "velk_pcislot.creationclassname=\"Velk_PCISlot\",tag=\"PCI Slot 1\""; Dependent = "Velk_PCICard.Tag=\"PCI Card 1\""; };
instance of Velk_RealizesPCIDevice { Antecedent = "Velk_PCICard.Tag=\"PCI Card 1\""; Dependent = "Velk_PCIDevice.DeviceID=\"F1\""; };
)";

class CliTest : public testing::Test {
  protected:
    CliTest() {
        Repository repository(L"SRV");
        repository.LoadMof(kMof, "cli.mof");
        host_.emplace(std::move(repository));
        services_ = host_->Connect(L"root\\VKQ");
    }

    velk::ComPtr<ClassObject> Object(const std::wstring& path) {
        velk::ComPtr<ClassObject> object;
        EXPECT_EQ(Reader(*services_, console_, false).Get(path, object), S_OK);
        return object;
    }

    const Console console_;
    std::optional<WmiHost> host_;
    velk::ComPtr<IWbemServices> services_;
};

TEST_F(CliTest, TheTreeShowsChassisSlotsCardsFunctionsAndTheRestByBus) {
    const Reader reader(*services_, console_, false);
    const TreeNode root =
        ReadTree(reader, [](const std::wstring& name, HRESULT) { ADD_FAILURE() << name.size(); });
    EXPECT_EQ(FormatTree(root),
              "Velk_WinComputerSystem\n"
              "├─ Chassis Box\n"
              "│  ├─ PCI Slot 1: PCI-E x16, powered\n"
              "│  │  └─ PCI Card 1\n"
              "│  │     └─ F1  8086:1572  Network\n"
              "│  └─ PCI Slot 2: PCI, hot-plug, not powered - empty\n"
              "└─ Outside any slot\n"
              "   └─ Bus 0\n"
              "      ├─ F2  0001:0002  Disk\n"
              "      └─ B1  0001:0003  Root port  [bridge: PCI]\n");
}

TEST_F(CliTest, ABlockShowsKeysFirstValueNamesAndNoNullUnlessAsked) {
    const auto slot = Object(L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"");
    EXPECT_EQ(FormatBlock(*slot, "heading", false),
              "heading\n"
              "    CreationClassName  Velk_PCISlot\n"
              "    Tag                PCI Slot 1\n"
              "    ConnectorLayout    23 (PCI-E x16)\n"
              "    ConnectorType      {1, 2}\n"
              "    SupportsHotPlug    FALSE\n"
              "    PoweredOn          TRUE\n");
    EXPECT_THAT(FormatBlock(*slot, "heading", true), HasSubstr("    ConnectorPinout    NULL\n"));
    EXPECT_EQ(ShortName(*slot), "PCI Slot 1");
}

TEST_F(CliTest, JsonKeepsEveryPropertyWithTypeAndName) {
    const auto json = ToJson(*Object(L"Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\""));
    EXPECT_EQ(json["__PATH"],
              "\\\\SRV\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"");
    EXPECT_EQ(json["properties"]["ConnectorLayout"], 23);
    EXPECT_EQ(json["types"]["ConnectorType"], "uint16[]");
    EXPECT_EQ(json["valueNames"]["ConnectorLayout"], "PCI-E x16");
    EXPECT_TRUE(json["properties"]["ConnectorPinout"].is_null());
    EXPECT_EQ(json["keys"].size(), 2u);
}

TEST_F(CliTest, AnAssociationIsNamedByWhatItLinks) {
    Objects links;
    ASSERT_EQ(Reader(*services_, console_, false).Enumerate(L"Velk_PCICardInSlot", links), S_OK);
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(ShortName(*links[0]), "PCI Slot 1 - PCI Card 1");
}

TEST_F(CliTest, AnUnknownClassIsAFailureOfTheEnumeration) {
    Objects none;
    EXPECT_EQ(Reader(*services_, console_, false).Enumerate(L"Velk_Nothing", none), kWbemInvalidClass);
}

TEST(CliLinks, PathsAreTheSameInAnyOrderAndSpellingOfNamesButNotOfValues) {
    const auto one = PathIdentity(L"\\\\SRV\\root\\VKQ:Class.A=\"x\",B=\"y\"");
    EXPECT_EQ(one, PathIdentity(L"class.b='y',a='x'"));
    EXPECT_NE(one, PathIdentity(L"Class.A=\"X\",B=\"y\""));
}

TEST(CliTable, ColumnsAreAlignedByCharactersNotBytes) {
    EXPECT_EQ(FormatTable({{"Gerät", "a"}, {"Bus", "b", ""}}, 1), " Gerät  a\n Bus    b\n");
}

TEST(CliStatus, AStatusIsNamedWithItsNumber) {
    EXPECT_EQ(DescribeStatus(velk::kWbemNotFound), "WBEM_E_NOT_FOUND (0x80041002)");
    EXPECT_EQ(DescribeStatus(E_OUTOFMEMORY), "E_OUTOFMEMORY (0x8007000E)");
    EXPECT_EQ(DescribeStatus(static_cast<HRESULT>(0x8FFFFFFF)), "0x8FFFFFFF");
}

TEST(CliOptions, ACommandWithItsOptionsIsRead) {
    const auto parsed = ParseOptions(
        {"--machine", "m.json", "--json", "list", "Velk_PCIDevice", "--columns", "DeviceID,Name"});
    ASSERT_TRUE(parsed.options) << parsed.message;
    EXPECT_EQ(parsed.options->command, Options::Command::kList);
    EXPECT_EQ(parsed.options->target, "Velk_PCIDevice");
    EXPECT_EQ(parsed.options->machine, "m.json");
    EXPECT_TRUE(parsed.options->asJson);
    EXPECT_THAT(parsed.options->columns, ElementsAre("DeviceID", "Name"));
    EXPECT_TRUE(ParseOptions({"tree", "--json"}).options->asJson) << "options may follow the command";
}

TEST(CliOptions, SeveralPathsMayBeAskedForAtOnce) {
    const auto parsed = ParseOptions({"get", "A.K=1", "B.K=2", "--json"});
    ASSERT_TRUE(parsed.options) << parsed.message;
    EXPECT_THAT(parsed.options->paths, ElementsAre("A.K=1", "B.K=2"));
    EXPECT_TRUE(parsed.options->asJson);
}

TEST(CliOptions, BadUsageEndsWithTwoAndHelpWithZero) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {}, {"bogus"}, {"list"}, {"get"}, {"--machine"}, {"--live", "--machine", "m.json", "dump"}}) {
        const auto parsed = ParseOptions(arguments);
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.exitCode, 2);
        EXPECT_FALSE(parsed.message.empty());
    }
    EXPECT_EQ(ParseOptions({"--help"}).exitCode, 0);
}

TEST(CliJson, ValuesMustFitTheTypeOfTheProperty) {
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

Machine WithObjects(const wchar_t* className, std::vector<nlohmann::json> objects) {
    Machine machine;
    machine.names.netbios = L"BOX";
    for (auto& properties : objects)
        machine.objects.push_back({L"root\\VKQ", className, std::move(properties)});
    return machine;
}

TEST(CliSession, ObjectsOfTheMachineReplaceThoseOfTheMof) {
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
    EXPECT_THROW(BuildRepository({file}, &wrong), InputError);
    const Machine unknown = WithObjects(L"Velk_Nothing", {nlohmann::json::object()});
    EXPECT_THROW(BuildRepository({file}, &unknown), InputError);
    const Machine store = WithObjects(L"DataStoreStatus", {{{"DataAvailable", true}}});
    EXPECT_NE(BuildRepository({file}, &store).FindClass(L"root\\wmi", L"DataStoreStatus"), nullptr);
}

TEST(CliSession, TheComputerSystemHasTheLongestNameOfTheMachine) {
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
    machine.objects.push_back({L"root\\VKQ",
                               L"Velk_WinComputerSystem",
                               {{"CreationClassName", "Velk_WinComputerSystem"}, {"Name", "other"}}});
    EXPECT_THAT(paths(&machine), ElementsAre(named(L"other"))) << "the machine file says which";
}

TEST(CliSession, TheFirmwareTableOfThisMachineIsServedWithoutItsHeader) {
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

TEST(CliSession, TheShippedMofIsFoundInAFolderAbove) {
    const velktest::TempFolder folder;
    velktest::WriteBytes(folder.MakeFolder(L"mof") + L"VelkWmiPci.mof", "");
    velktest::WriteBytes(folder.Path(L"mof\\uninstall.mof"), "");
    const auto files = FindShippedMof(folder.MakeFolder(L"build\\release"));
    ASSERT_EQ(files.size(), 1u) << "only what defines classes";
    EXPECT_EQ(files[0].filename(), L"VelkWmiPci.mof");
}

TEST(CliProgram, UnreadableInputIsBadUsage) {
    const Console console;
    EXPECT_EQ(RunProgram({"--mof", "no such file.mof", "classes"}, console), 2);
    EXPECT_EQ(RunProgram({"nonsense"}, console), 2);
}

TEST(CliProgram, TheExitCodeTellsWhetherWmiAnsweredAFailure) {
    const velktest::TempFolder folder;
    velktest::WriteBytes(folder.Path(L"cli.mof"), kMof);
    const std::wstring wide = folder.Path(L"cli.mof");
    const std::string mof(wide.begin(), wide.end());
    const Console console;
    EXPECT_EQ(RunProgram({"--mof", mof, "list", "Velk_PCISlot"}, console), 0);
    EXPECT_EQ(RunProgram({"--mof", mof, "references", "Velk_PCICard.Tag=\"PCI Card 1\""}, console), 0);
    EXPECT_EQ(RunProgram({"--mof", mof, "associators", "Velk_PCICard.Tag=\"PCI Card 1\""}, console), 0);
    EXPECT_EQ(RunProgram({"--mof", mof, "get", "Velk_PCICard.Tag=\"PCI Card 9\""}, console), 1);
    EXPECT_EQ(RunProgram(
                  {"--mof", mof, "get", "Velk_PCICard.Tag=\"PCI Card 9\"", "Velk_PCICard.Tag=\"PCI Card 1\""},
                  console),
              1)
        << "one of several was not found";
    EXPECT_EQ(RunProgram({"--mof", mof, "list", "Velk_Nothing"}, console), 1);
    EXPECT_EQ(RunProgram({"--mof", mof, "list", "Velk_PCISlot", "--columns", "Nothing"}, console), 2);
    EXPECT_EQ(RunProgram({"--mof", mof, "--namespace", "root\\none", "classes"}, console), 2);
}

}  // namespace
