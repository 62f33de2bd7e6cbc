#include "host/machine/machine_capture.h"

#include <gtest/gtest.h>

#include "host/machine/machine_replay.h"
#include "host/machine/machine_writer.h"
#include "support/hosted/project_folder.h"

namespace {

using velkhost::Machine;
using velkhost::MachineReplay;

Machine CaptureOf(const Machine& machine) {
    const MachineReplay replay(::GetModuleHandleW(nullptr), machine);
    return velkhost::CaptureMachine();
}

TEST(MachineCapture, AReplayedMachineIsCapturedAsItIs) {
    for (const char* name : {"two-socket-rack-server", "german-windows", "no-smbios", "no-devices"}) {
        Machine machine = velktest::LoadSampleMachine(name);
        Machine captured = CaptureOf(machine);
        // These the system's own calls do not tell.
        machine.about.clear();
        machine.suite = false;
        machine.objects.clear();
        machine.settings = captured.settings;
        EXPECT_EQ(velkhost::FormatMachine(captured), velkhost::FormatMachine(machine)) << name;
    }
}

TEST(MachineCapture, OddPropertiesAreCapturedByteByByte) {
    const Machine odd = velkhost::ParseMachine(R"({"settings": {"ModernSlotTypes": 1, "Other": "x"},
        "devices": [{"instanceId": "PCI\\A\\1", "CompatibleIDs": [],
            "raw": {"HardwareID": {"type": "REG_MULTI_SZ", "hex": "41 00"}, "BusNumber": {"type": 77, "hex": "05"},
                    "DeviceDesc": {"type": "REG_SZ", "hex": "00 d8 00 00"}}},
            {"instanceId": "PCI\\B\\2", "HardwareID": ["", "B"], "UINumber": 4294967295},
            {"instanceId": "PCI\\C\\3", "present": false}, {"instanceId": "USB\\D\\4", "enumerator": "USB"}]})",
                                               "odd.json");
    const Machine captured = CaptureOf(odd);
    ASSERT_EQ(captured.devices.size(), 2u) << "those that are there, of the PCI enumerator";
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(captured.devices[i].instanceId, odd.devices[i].instanceId);
        EXPECT_EQ(captured.devices[i].properties, odd.devices[i].properties);
    }
    ASSERT_TRUE(captured.settings);
    EXPECT_EQ(captured.settings->size(), 1u) << "of the settings the one that changes answers";
    EXPECT_EQ(captured.settings->at(L"ModernSlotTypes"), velkhost::RegistryValue::Number(1));
}

TEST(MachineCapture, WhatIsWrittenReadsAsTheSameMachine) {
    const Machine odd = velkhost::ParseMachine(R"({"about": "Größe", "computer": {"netbios": "B"},
        "settings": {"A": 1, "B": "text", "C": {"type": "REG_QWORD", "hex": "01"}}, "suite": true,
        "devices": [{"enumerator": "USB", "instanceId": "X", "present": false, "LocationPaths": ["A", "B"],
            "raw": {"HardwareID": {"type": 4294967295, "hex": ""}}}],
        "smbios": {"version": "3.10", "hex": ["7f 04 fe ff 00 00"]},
        "objects": [{"namespace": "root\\VKQ", "class": "C", "properties": {"N": [1, null]}}]})",
                                               "odd.json");
    const std::string text = velkhost::FormatMachine(odd);
    const Machine again = velkhost::ParseMachine(text, "again.json");
    EXPECT_EQ(velkhost::FormatMachine(again), text);
    EXPECT_EQ(again.settings, odd.settings);
    EXPECT_EQ(again.devices.at(0).properties, odd.devices.at(0).properties);
    EXPECT_FALSE(again.devices.at(0).present);
    EXPECT_EQ(again.smbios->minorVersion, 10);
    EXPECT_EQ(again.smbios->table, odd.smbios->table);
    EXPECT_TRUE(again.suite);
}

TEST(MachineCapture, ThisComputerHasANameAndAFirmwareTable) {
    const Machine machine = velkhost::CaptureMachine();
    EXPECT_TRUE(machine.names.netbios);
    ASSERT_TRUE(machine.smbios);
    EXPECT_FALSE(machine.smbios->table.empty());
    EXPECT_TRUE(machine.settings) << "a replay elsewhere must not take the settings of that computer";
}

}  // namespace
