#include "tool/basics/errors.h"
#include "tool/view/csv_view.h"
#include "tool/view/findings.h"
#include "tool/view/json_view.h"
#include "tool/view/object_view.h"
#include "tool/view/table.h"
#include "tool/view/text_view.h"
#include "tool/view/tree.h"
#include "tool_fixture.h"

namespace {

using namespace velkpci;
using namespace velktest;
using testing::HasSubstr;
using testing::Not;

class ViewTest : public ToolTest {
  protected:
    Findings List(const wchar_t* className) {
        Findings findings{"list", source_->Info(), {}, {}};
        findings.sections.push_back({velkhost::Utf8FromWide(className), reader_->Enumerate(className), true});
        return findings;
    }
    Json ListAsJson(const wchar_t* className) {
        return ParseJson(FormatFindings(List(className), {Format::kJson, {}, false, false}, 0));
    }
};

TEST_F(ViewTest, TheTreeShowsChassisSlotsCardsFunctionsAndTheRestByBus) {
    EXPECT_EQ(FormatTree(ReadInventory(*reader_)),
              "Computer\n"
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

TEST_F(ViewTest, TheTreeAsJsonIsDataAndNotProse) {
    const Json tree = ParseJson(FormatTreeAsJson(ReadInventory(*reader_), {}));
    EXPECT_EQ(tree["document"], "velkpci.tree");
    const Json& slot = tree["chassis"][0]["slots"][0];
    EXPECT_EQ(slot["tag"], "PCI Slot 1");
    EXPECT_EQ(slot["layout"], (Json{{"value", 23}, {"name", "PCI-E x16"}}));
    EXPECT_EQ(slot["cards"][0]["functions"][0]["vendorId"], 0x8086);
    EXPECT_EQ(tree["buses"][0]["functions"][1]["bridgeType"]["name"], "PCI");
    EXPECT_EQ(tree["classes"]["Velk_PCISlot"]["count"], 2);
    EXPECT_EQ(tree["classes"]["Velk_WinComputerSystem"]["status"]["name"], "WBEM_E_INVALID_CLASS");
}

TEST_F(ViewTest, ABlockShowsKeysFirstValueNamesAndNoNullUnlessAsked) {
    const InstancePtr slot = Get(kSlot1);
    EXPECT_EQ(FormatBlock(*slot, "heading", false),
              "heading\n"
              "    CreationClassName  Velk_PCISlot\n"
              "    Tag                PCI Slot 1\n"
              "    ConnectorLayout    23 (PCI-E x16)\n"
              "    ConnectorType      {1, 2}\n"
              "    SupportsHotPlug    FALSE\n"
              "    PoweredOn          TRUE\n");
    EXPECT_THAT(FormatBlock(*slot, "heading", true), HasSubstr("    ConnectorPinout    NULL\n"));
    EXPECT_EQ(FormatBlock(*slot, "heading", false, {L"PoweredOn", L"Tag"}),
              "heading\n    PoweredOn  TRUE\n    Tag        PCI Slot 1\n");
    EXPECT_EQ(ShortName(*slot), "PCI Slot 1");
}

TEST_F(ViewTest, AClassIsShownWithItsTypes) {
    EXPECT_THAT(FormatBlock(*Get(L"Velk_PCISlot"), "heading", false),
                HasSubstr("    Tag                string, key\n"));
}

TEST_F(ViewTest, AnAssociationIsNamedByWhatItLinks) {
    const ClassData links = reader_->Enumerate(L"Velk_PCICardInSlot");
    ASSERT_EQ(links.instances.size(), 1u);
    EXPECT_EQ(ShortName(*links.instances[0]), "PCI Slot 1 - PCI Card 1");
}

TEST_F(ViewTest, JsonTellsTypesAndKeysOncePerClassAndNamesBesideNumbers) {
    const Json document = ListAsJson(L"Velk_PCISlot");
    EXPECT_EQ(document["document"], "velkpci.instances");
    EXPECT_EQ(document["version"], kJsonVersion);
    EXPECT_EQ(document["source"],
              (Json{{"kind", "machine"}, {"name", "box.json"}, {"namespace", "root\\VKQ"}}));
    const Json& slot = document["classes"]["Velk_PCISlot"];
    EXPECT_EQ(slot["keys"], (Json{"CreationClassName", "Tag"}));
    EXPECT_EQ(slot["types"]["ConnectorType"], "uint16[]");
    EXPECT_EQ(slot["status"], (Json{{"code", 0}, {"hex", "0x00000000"}, {"name", "WBEM_S_NO_ERROR"}}));
    EXPECT_EQ(slot["count"], 2);
    const Json& first = document["instances"][0];
    EXPECT_EQ(first["path"], "\\\\SRV\\root\\VKQ:" + velkhost::Utf8FromWide(kSlot1));
    EXPECT_EQ(first["properties"]["ConnectorLayout"], 23);
    EXPECT_EQ(first["names"], (Json{{"ConnectorLayout", "PCI-E x16"}}));
    EXPECT_TRUE(first["properties"]["ConnectorPinout"].is_null());
    EXPECT_FALSE(first.contains("types"));
}

TEST_F(ViewTest, AFailedClassIsToldAsFailedInJson) {
    Findings findings = List(L"Velk_Nothing");
    findings.failures.push_back({"Velk_Nothing", findings.sections[0].data.status, "no such class"});
    const Json document = ParseJson(FormatFindings(findings, {Format::kJson, {}, false, false}, 0));
    EXPECT_EQ(document["classes"]["Velk_Nothing"]["status"]["hex"], "0x80041010");
    EXPECT_EQ(document["failures"][0]["status"]["name"], "WBEM_E_INVALID_CLASS");
    EXPECT_EQ(document["failures"][0]["reason"], "no such class");
    EXPECT_EQ(FormatFindings(findings, {Format::kText, {}, false, false}, 0), "");
    EXPECT_EQ(FormatFindings(findings, {Format::kCsv, {}, false, false}, 0), "") << "not even a head";
}

TEST_F(ViewTest, LinesOfJsonAreSelfContained) {
    std::istringstream lines(FormatFindings(List(L"Velk_PCISlot"), {Format::kNdjson, {}, false, false}, 0));
    std::vector<std::string> kinds;
    for (std::string line; std::getline(lines, line);) kinds.push_back(ParseJson(line)["line"]);
    EXPECT_THAT(kinds, testing::ElementsAre("document", "class", "instance", "instance"));
}

TEST_F(ViewTest, CsvHasANameColumnBesideEachMappedNumber) {
    const std::string csv =
        FormatFindings(List(L"Velk_PCISlot"), {Format::kCsv, {"Tag", "connectorlayout"}}, 0);
    EXPECT_EQ(csv,
              "Tag,ConnectorLayout,ConnectorLayout.name\r\n"
              "PCI Slot 1,23,PCI-E x16\r\n"
              "PCI Slot 2,16,PCI\r\n");
    const std::string whole = FormatFindings(List(L"Velk_PCISlot"), {Format::kCsv, {}}, 0);
    EXPECT_THAT(whole, HasSubstr("__CLASS,__PATH,CreationClassName,Tag"));
    EXPECT_THAT(whole, HasSubstr("\"\\\\SRV\\root\\VKQ:Velk_PCISlot.CreationClassName=\"\"Velk_PCISlot\"\""));
    EXPECT_THAT(whole, HasSubstr("1; 2"));
}

TEST(Csv, NullIsAnEmptyFieldAndAnEmptyTextAQuotedOne) {
    EXPECT_EQ(FormatCsv({{"a", std::nullopt, ""}, {"x,y", "\"", "line\nbreak"}}),
              "a,,\"\"\r\n\"x,y\",\"\"\"\",\"line\nbreak\"\r\n");
}

TEST_F(ViewTest, ColumnsWorkWithEveryFormat) {
    const Findings findings = List(L"Velk_PCISlot");
    EXPECT_EQ(FormatFindings(findings, {Format::kText, {"tag"}}, 0), "Tag\nPCI Slot 1\nPCI Slot 2\n");
    const Json json = ParseJson(FormatFindings(findings, {Format::kJson, {"Tag"}}, 0));
    EXPECT_EQ(json["instances"][0]["properties"], (Json{{"Tag", "PCI Slot 1"}}));
    EXPECT_THAT(FormatFindings(findings, {Format::kNdjson, {"Tag"}}, 0),
                HasSubstr("\"properties\":{\"Tag\":\"PCI Slot 2\"},\"names\":{}"));
}

TEST_F(ViewTest, AnUnknownColumnIsNamedWithTheNearestOne) {
    try {
        FormatFindings(List(L"Velk_PCISlot"), {Format::kText, {"PowerdOn"}}, 0);
        FAIL();
    } catch (const InputError& error) {
        EXPECT_STREQ(error.what(), "--columns: no property \"PowerdOn\" (did you mean PoweredOn?)");
    }
}

TEST_F(ViewTest, AnOverviewShowsWhatTellsInstancesApart) {
    Instances slots = reader_->Enumerate(L"Velk_PCISlot").instances;
    const std::string table = FormatOverview(slots, 0);
    EXPECT_THAT(table, testing::StartsWith("Tag         ConnectorLayout"));
    EXPECT_THAT(table, Not(HasSubstr("CreationClassName")));
    EXPECT_THAT(table, HasSubstr("Not shown: "));
    EXPECT_THAT(FormatOverview(slots, 12), Not(HasSubstr("ConnectorLayout"))) << "no room";
}

TEST_F(ViewTest, ManyInstancesMakeATableUnlessBlocksAreAskedFor) {
    Findings findings = List(L"Velk_PCISlot");
    EXPECT_THAT(FormatFindings(findings, {}, 0), HasSubstr("[1] PCI Slot 1\n"));
    Instances& slots = findings.sections[0].data.instances;
    slots.insert(slots.end(), {slots[0], slots[1], slots[0]});
    EXPECT_THAT(FormatFindings(findings, {}, 0), testing::StartsWith("Velk_PCISlot: 5 instances\n\nTag "));
    EXPECT_THAT(FormatFindings(findings, {Format::kText, {}, false, true}, 0), HasSubstr("[5] PCI Slot 1\n"));
}

TEST(Table, ColumnsAreAlignedByCharactersNotBytes) {
    EXPECT_EQ(FormatTable({{"Gerät", "a"}, {"Bus", "b", ""}}, 1), " Gerät  a\n Bus    b\n");
}

}  // namespace
