#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "host/machine/machine.h"

namespace {

using testing::HasSubstr;
using velkhost::Machine;
using velkhost::ParseMachine;

/// The complaint about a machine file that must be refused.
std::string Complaint(const std::string& json) {
    try {
        ParseMachine(json, "odd.json");
    } catch (const velkhost::MachineError& error) {
        return error.what();
    }
    return "(accepted)";
}

TEST(MachineFile, EmptyObjectIsAMachineWithNothing) {
    const Machine machine = ParseMachine("{}", "x");
    EXPECT_FALSE(machine.names.dnsFullyQualified);
    EXPECT_TRUE(machine.devices.empty());
    EXPECT_FALSE(machine.smbios);
    EXPECT_TRUE(machine.objects.empty());
}

TEST(MachineFile, DevicePropertiesHaveSetupApisLayout) {
    const Machine machine = ParseMachine(R"({"devices": [{"instanceId": "A\\1", "DeviceDesc": "Gerät",
        "HardwareID": ["H1", "H2"], "CompatibleIDs": [], "UINumber": 4294967295}]})",
                                         "x");
    const auto& properties = machine.devices.at(0).properties;
    EXPECT_EQ(properties.at(SPDRP_DEVICEDESC).type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(properties.at(SPDRP_DEVICEDESC).bytes,
              (std::vector<BYTE>{'G', 0, 'e', 0, 'r', 0, 0xE4, 0, 't', 0, 0, 0}));
    EXPECT_EQ(properties.at(SPDRP_HARDWAREID).type, static_cast<DWORD>(REG_MULTI_SZ));
    EXPECT_EQ(properties.at(SPDRP_HARDWAREID).bytes,
              (std::vector<BYTE>{'H', 0, '1', 0, 0, 0, 'H', 0, '2', 0, 0, 0, 0, 0}));
    EXPECT_EQ(properties.at(SPDRP_COMPATIBLEIDS).bytes, (std::vector<BYTE>{0, 0}));
    EXPECT_EQ(properties.at(SPDRP_UI_NUMBER).type, static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(properties.at(SPDRP_UI_NUMBER).bytes, (std::vector<BYTE>{0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_FALSE(properties.contains(SPDRP_LOCATION_PATHS));
    EXPECT_EQ(machine.devices[0].enumerator, L"PCI");
    EXPECT_TRUE(machine.devices[0].present);
}

TEST(MachineFile, RawFormReplacesAProperty) {
    const Machine machine = ParseMachine(R"({"devices": [{"HardwareID": ["H1"],
        "raw": {"HardwareID": {"type": "REG_SZ", "hex": "41 00"}}}]})",
                                         "x");
    const auto& property = machine.devices.at(0).properties.at(SPDRP_HARDWAREID);
    EXPECT_EQ(property.type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(property.bytes, (std::vector<BYTE>{0x41, 0x00}));
}

TEST(MachineFile, FirmwareTableReadsFromHexAndBase64) {
    const Machine hex = ParseMachine(R"({"smbios": {"version": "3.2", "hex": ["7F 04", "feff 0000"]}})", "x");
    ASSERT_TRUE(hex.smbios);
    EXPECT_EQ(hex.smbios->majorVersion, 3);
    EXPECT_EQ(hex.smbios->minorVersion, 2);
    EXPECT_EQ(hex.smbios->table, (std::vector<std::uint8_t>{0x7F, 4, 0xFE, 0xFF, 0, 0}));
    EXPECT_EQ(ParseMachine(R"({"smbios": {"version": "3.2", "base64": "fwT+/wAA"}})", "x").smbios->table,
              hex.smbios->table);
    EXPECT_EQ(
        ParseMachine(R"({"smbios": {"version": "3.2", "base64": ["fwT+", "/wA="]}})", "x").smbios->table,
        (std::vector<std::uint8_t>{0x7F, 4, 0xFE, 0xFF, 0}));
}

TEST(MachineFile, ObjectsKeepTheirValues) {
    const Machine machine = ParseMachine(
        R"({"objects": [{"namespace": "root\\VKQ", "class": "C", "properties": {"Tag": "T", "N": [1, null]}}]})",
        "x");
    ASSERT_EQ(machine.objects.size(), 1u);
    EXPECT_EQ(machine.objects[0].nameSpace, LR"(root\VKQ)");
    EXPECT_EQ(machine.objects[0].className, L"C");
    EXPECT_EQ(machine.objects[0].properties, R"({"Tag":"T","N":[1,null]})");
}

TEST(MachineFile, SettingsAreNumbersTextsAndRawValues) {
    EXPECT_FALSE(ParseMachine("{}", "x").settings) << "nothing is said of settings";
    const Machine none = ParseMachine(R"({"settings": {}})", "x");
    ASSERT_TRUE(none.settings);
    EXPECT_TRUE(none.settings->empty());

    const Machine machine = ParseMachine(R"({"settings": {"ModernSlotTypes": 4294967295, "Größe": "A",
        "Odd": {"type": "REG_QWORD", "hex": "01 00 00 00 00 00 00 00"}}})",
                                         "x");
    ASSERT_TRUE(machine.settings);
    const auto& settings = *machine.settings;
    ASSERT_EQ(settings.size(), 3u);
    EXPECT_EQ(settings.at(L"ModernSlotTypes").type, static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(settings.at(L"ModernSlotTypes").bytes, (std::vector<BYTE>{0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(settings.at(L"Gr\u00F6\u00DFe").type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(settings.at(L"Gr\u00F6\u00DFe").bytes, (std::vector<BYTE>{'A', 0, 0, 0}));
    EXPECT_EQ(settings.at(L"Odd").type, static_cast<DWORD>(REG_QWORD));
    EXPECT_EQ(settings.at(L"Odd").bytes.size(), 8u);

    EXPECT_EQ(Complaint(R"({"settings": []})"), "odd.json: $.settings: an object is expected");
    EXPECT_EQ(Complaint(R"({"settings": {"ModernSlotTypes": true}})"),
              "odd.json: $.settings.ModernSlotTypes: a whole number of 0 to 4294967295 is expected");
    EXPECT_EQ(Complaint(R"({"settings": {"A": {"type": "REG_SZ"}}})"),
              "odd.json: $.settings.A: type and hex are expected");
    EXPECT_EQ(Complaint(R"({"setting": {}})"), "odd.json: $.setting: unknown member");
}

TEST(MachineFile, ComplaintsNameTheFileAndThePlace) {
    EXPECT_EQ(Complaint(R"({"devices": [{}, {"HardwareID": ["A", 5]}]})"),
              "odd.json: $.devices[1].HardwareID[1]: a text is expected");
    EXPECT_EQ(Complaint(R"({"devices": [{"UINumber": -1}]})"),
              "odd.json: $.devices[0].UINumber: a whole number of 0 to 4294967295 is expected");
    EXPECT_EQ(Complaint(R"({"devices": [{"UINumber": 4294967296}]})"),
              "odd.json: $.devices[0].UINumber: a whole number of 0 to 4294967295 is expected");
    EXPECT_EQ(Complaint(R"({"devices": [{"HardwareIDs": []}]})"),
              "odd.json: $.devices[0].HardwareIDs: unknown member");
    EXPECT_EQ(Complaint(R"({"devices": {}})"), "odd.json: $.devices: an array is expected");
    EXPECT_EQ(Complaint(R"({"smbios": {"version": "3.2", "hex": "7G"}})"),
              "odd.json: $.smbios.hex: not hexadecimal at digit 1");
    EXPECT_EQ(Complaint(R"({"smbios": {"version": "3.2", "hex": "7"}})"),
              "odd.json: $.smbios.hex: an odd number of hexadecimal digits");
    EXPECT_EQ(Complaint(R"({"smbios": {"version": "3.2", "base64": "fw=/"}})"),
              "odd.json: $.smbios.base64: not base64 at character 3");
    EXPECT_EQ(Complaint(R"({"smbios": {"version": "3", "hex": ""}})"),
              "odd.json: $.smbios.version: a version as in \"3.2\" is expected");
    EXPECT_EQ(Complaint(R"({"smbios": {"version": "3.2"}})"),
              "odd.json: $.smbios: version and either hex or base64 are expected");
    EXPECT_EQ(Complaint(R"({"objects": [{"namespace": "root"}]})"),
              "odd.json: $.objects[0]: namespace, class and properties are expected");
    EXPECT_EQ(Complaint(R"({"devices": [{"raw": {"UINumber": {"type": "REG_X", "hex": ""}}}]})"),
              "odd.json: $.devices[0].raw.UINumber.type: unknown registry type");
    EXPECT_EQ(Complaint(R"({"devices": [{"raw": {"UiNumber": {"type": "REG_SZ", "hex": ""}}}]})"),
              "odd.json: $.devices[0].raw.UiNumber: unknown member");
    EXPECT_EQ(Complaint(R"({"devices": [{"raw": []}]})"),
              "odd.json: $.devices[0].raw: an object is expected");
    EXPECT_EQ(Complaint("[]"), "odd.json: $: an object is expected");
    EXPECT_THAT(Complaint("{"), HasSubstr("odd.json: "));
    EXPECT_THAT(Complaint("{"), HasSubstr("line 1, column 2"));
}

TEST(MachineFile, MissingFileIsNamed) {
    try {
        velkhost::LoadMachine("no-such-machine.json");
        FAIL();
    } catch (const velkhost::MachineError& error) {
        EXPECT_STREQ(error.what(), "no-such-machine.json: cannot be opened");
    }
}

}  // namespace
