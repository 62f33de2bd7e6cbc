#include "tool/compare/difference.h"

#include <gmock/gmock.h>

#include "host/utf8.h"
#include "recording_console.h"
#include "support/temp_folder.h"
#include "tool/app/program.h"
#include "tool/basics/errors.h"

namespace {

using namespace velkpci;
using testing::ElementsAre;
using testing::HasSubstr;

Snapshot SnapshotOf(const std::string& devices, const std::string& more = "") {
    return ParseSnapshot("{\"devices\": [" + devices + "]" + more + "}", "m.json");
}

std::string FunctionText(int bus, const std::string& name, const std::string& more = "") {
    return R"({"instanceId": "PCI\\X\\)" + std::to_string(bus) + R"(", "BusNumber": )" + std::to_string(bus) +
           R"(, "Address": 65538, "DeviceDesc": ")" + name + "\"" + more + "}";
}

/// A table with one slot, whose ID and usage are given.
std::string SlotText(const std::string& id, const std::string& usage) {
    return R"(, "smbios": {"version": "3.2", "hex": "09 11 0000 01 a5 0d )" + usage + " 03 " + id +
           R"( 00 04 01 0000 17 10 536c6f74203100 00"})";
}

TEST(Difference, EqualMachinesDoNotDifferWhateverTheirInstanceIds) {
    const Snapshot one = SnapshotOf(FunctionText(1, "Disk"));
    EXPECT_EQ(FormatDifference(Compare(one, SnapshotOf(FunctionText(1, "Disk")))), "No difference.\n");
    const Snapshot other =
        SnapshotOf(R"({"instanceId": "PCI\\X\\7", "BusNumber": 1, "Address": 65538, "DeviceDesc": "Disk"})");
    EXPECT_TRUE(Compare(one, other).IsEmpty());
}

TEST(Difference, FunctionsAndSlotsAreToldByTheirPlaces) {
    const Snapshot before =
        SnapshotOf(FunctionText(1, "Disk") + "," + FunctionText(2, "Net"), SlotText("01", "03"));
    const Snapshot after = SnapshotOf(
        FunctionText(3, "Video") + "," + FunctionText(2, "Net", R"(, "UINumber": 4)"), SlotText("01", "04"));
    EXPECT_EQ(FormatDifference(Compare(before, after)),
              "~ slot PCI Slot 1  Slot 1\n"
              "    usage: available -> in use\n"
              "- function BUS(1)DEV(1)FN(2)  Disk\n"
              "~ function BUS(2)DEV(1)FN(2)  Net\n"
              "    UINumber: (none) -> 4\n"
              "+ function BUS(3)DEV(1)FN(2)  Video\n"
              "\n1 added, 1 removed, 2 changed.\n");
}

TEST(Difference, OfListsTheFirstDifferenceIsShown) {
    const auto device = [](const std::string& ids) {
        return SnapshotOf(R"({"BusNumber": 1, "Address": 0, "HardwareID": [)" + ids + "]}");
    };
    EXPECT_THAT(FormatDifference(Compare(device(R"("A", "B", "C")"), device(R"("A", "X", "Y", "Z")"))),
                HasSubstr("HardwareID[1]: B -> X, and 2 more\n"));
    EXPECT_THAT(FormatDifference(Compare(device(R"("A")"), device(R"("A", "X")"))),
                HasSubstr("HardwareID[1]: (none) -> X\n"));
}

TEST(Difference, ThingsOfOneNameAreKeptApart) {
    const Snapshot twice = SnapshotOf(FunctionText(1, "A") + "," + FunctionText(1, "B"));
    const Difference difference = Compare(twice, SnapshotOf(FunctionText(1, "A")));
    ASSERT_EQ(difference.items.size(), 1u);
    EXPECT_EQ(difference.items[0].item.id, "BUS(1)DEV(1)FN(2) (2)");
    EXPECT_EQ(difference.items[0].how, ItemChange::How::kRemoved);
}

std::string Dump(const std::string& instances, const std::string& status = "WBEM_S_NO_ERROR",
                 const std::string& hex = "0x00000000") {
    return R"({"document": "velkpci.instances", "version": 1, "classes": {"Velk_PCISlot": {"status": {"name": ")" +
           status + R"(", "hex": ")" + hex + R"("}}, "Velk_PCICardInSlot": {"types": {"Antecedent": "ref",
           "Dependent": "ref"}}}, "instances": [)" +
           instances + "]}";
}

std::string SlotInstance(const std::string& server, bool powered) {
    return R"({"class": "Velk_PCISlot", "path": "\\\\)" + server +
           R"(\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"",
           "properties": {"Tag": "PCI Slot 1", "SystemName": ")" +
           server + R"(", "PoweredOn": )" + (powered ? "true" : "false") + "}}";
}

std::string Link(const std::string& server) {
    return R"({"class": "Velk_PCICardInSlot", "path": null, "properties": {
        "Antecedent": "\\\\)" +
           server + R"(\\root\\VKQ:Velk_PCISlot.CreationClassName=\"Velk_PCISlot\",Tag=\"PCI Slot 1\"",
        "Dependent": "Velk_WinComputerSystem.CreationClassName=\"Velk_WinComputerSystem\",Name=\")" +
           server + R"(\""}})";
}

TEST(Difference, DumpsOfTwoServersAreComparedWithoutTheirNames) {
    const Snapshot one = ParseSnapshot(Dump(SlotInstance("A", true) + "," + Link("A")), "a.json");
    EXPECT_EQ(one.kind, Snapshot::Kind::kDump);
    EXPECT_TRUE(
        Compare(one, ParseSnapshot(Dump(SlotInstance("B", true) + "," + Link("B")), "b.json")).IsEmpty());
    const Snapshot other = ParseSnapshot(Dump(SlotInstance("B", false)), "b.json");
    EXPECT_EQ(FormatDifference(Compare(one, other)),
              "~ slot PCI Slot 1\n"
              "    PoweredOn: true -> false\n"
              "- Velk_PCICardInSlot PCI Slot 1 - computer\n"
              "\n0 added, 1 removed, 1 changed.\n");
}

TEST(Difference, AClassThatFailedIsNotOneThatBecameEmpty) {
    const Snapshot good = ParseSnapshot(Dump(""), "a.json");
    const Snapshot failed = ParseSnapshot(Dump("", "WBEM_E_FAILED", "0x80041001"), "b.json");
    EXPECT_THAT(FormatDifference(Compare(good, failed)),
                HasSubstr("~ class Velk_PCISlot\n    status: WBEM_S_NO_ERROR -> WBEM_E_FAILED\n"));
}

TEST(Difference, JsonHasWholeItemsAndValues) {
    const Snapshot before = SnapshotOf(FunctionText(1, "Disk"), SlotText("01", "03"));
    const Snapshot after = SnapshotOf(FunctionText(2, "Net"), SlotText("01", "04"));
    const auto document = ParseJson(FormatDifferenceAsJson(Compare(before, after), before, after));
    EXPECT_EQ(document["compares"], "machines");
    EXPECT_EQ(document["equal"], false);
    EXPECT_EQ(document["added"][0]["properties"]["DeviceDesc"], "Net");
    EXPECT_EQ(document["removed"][0]["id"], "BUS(1)DEV(1)FN(2)");
    EXPECT_EQ(document["changed"][0]["changes"][0],
              ParseJson(R"({"property": "usage", "before": "available", "after": "in use"})"));
}

std::string Complaint(const std::string& text) {
    try {
        ParseSnapshot(text, "odd.json");
    } catch (const std::exception& error) {
        return error.what();
    }
    return "(accepted)";
}

TEST(Difference, WhatIsNeitherIsRefusedWithItsPlace) {
    EXPECT_THAT(Complaint("{"), HasSubstr("odd.json: "));
    EXPECT_EQ(Complaint("[]"), "odd.json: $: an object is expected");
    EXPECT_EQ(Complaint(R"({"device": []})"), "odd.json: $.device: unknown member");
    EXPECT_EQ(Complaint(R"({"document": "velkpci.tree", "version": 1})"),
              "odd.json: $.document: neither a machine file nor a document that dump --json prints");
    EXPECT_EQ(Complaint(R"({"document": "velkpci.instances", "version": 2})"),
              "odd.json: $.version: only version 1 is understood");
    EXPECT_EQ(Complaint(R"({"document": "velkpci.instances", "version": 1})"),
              "odd.json: $.classes: the member is missing");
    EXPECT_EQ(
        Complaint(
            R"({"document": "velkpci.instances", "version": 1, "classes": {}, "instances": [{"class": 5}]})"),
        "odd.json: $.instances[0].class: another kind of value is expected");
    EXPECT_EQ(Complaint(R"({"document": "velkpci.instances", "version": 1, "classes": {"C": 5},
        "instances": [{"class": "C", "path": null, "properties": {"A": "x"}}]})"),
              "odd.json: $.instances[0].path: another kind of value is expected");
}

class DiffCommandTest : public testing::Test {
  protected:
    std::string Write(const wchar_t* name, const std::string& bytes) {
        velktest::WriteBytes(folder_.Path(name), bytes);
        return velkhost::Utf8FromWide(folder_.Path(name));
    }

    const velktest::TempFolder folder_;
    velktest::RecordingConsole console_;
};

TEST_F(DiffCommandTest, TheExitCodeTellsSameDifferentAndTrouble) {
    const std::string a = Write(L"a.json", "{}"), b = Write(L"b.json", R"({"computer": {"netbios": "B"}})"),
                      dump = Write(L"dump.json", Dump(""));
    EXPECT_EQ(RunProgram({"diff", a, a}, console_), 0);
    EXPECT_EQ(RunProgram({"diff", a, b}, console_), 1);
    EXPECT_EQ(RunProgram({"diff", a, a, "--json"}, console_), 0);
    EXPECT_EQ(console_.errors, "");
    console_.output.clear();
    EXPECT_EQ(RunProgram({"diff", a, "no such file.json"}, console_), 2);
    EXPECT_EQ(console_.errors, "velkpci: no such file.json: the file cannot be read\n");
    EXPECT_EQ(RunProgram({"diff", a, dump}, console_), 2);
    EXPECT_THAT(console_.errors, HasSubstr("dump.json: a saved dump, while "));
    EXPECT_EQ(RunProgram({"--machine", a, "diff", a, b}, console_), 2);
    EXPECT_EQ(console_.output, "");
}

TEST_F(DiffCommandTest, FilesThatAShellSavedAsUtf16AreRead) {
    const std::string text = R"({"computer": {"netbios": "B"}})";
    std::string utf16 = "\xFF\xFE";
    for (const char c : text) utf16 += {c, '\0'};
    const std::string plain = Write(L"plain.json", text), wide = Write(L"wide.json", utf16),
                      marked = Write(L"marked.json", "\xEF\xBB\xBF" + text);
    EXPECT_EQ(RunProgram({"diff", plain, wide}, console_), 0) << console_.errors;
    EXPECT_EQ(RunProgram({"diff", plain, marked}, console_), 0) << console_.errors;
    EXPECT_EQ(RunProgram({"diff", plain, Write(L"empty.json", "\xFF\xFE")}, console_), 2);
}

}  // namespace
