"""capture-linux against a made-up sysfs tree."""

import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "tools" / "capture-linux"


def config_space(port_type=None, ssvid=None) -> bytes:
    """A configuration space with a capability list: power management, then the ones asked for."""
    config = bytearray(256)
    config[0x06] = 0x10
    config[0x34] = 0x40
    config[0x40:0x42] = bytes([0x01, 0x50 if port_type is not None else 0])
    if port_type is not None:
        config[0x50:0x53] = bytes([0x10, 0x60 if ssvid else 0, port_type << 4 | 2])
    if ssvid:
        config[0x0E] = 1
        config[0x60:0x62] = bytes([0x0D, 0])
        struct.pack_into("<HH", config, 0x64, *ssvid)
    return bytes(config)


class CaptureLinux(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self.root = pathlib.Path(self._folder.name)
        self.write("proc/sys/kernel/hostname", b"probe.example.com\n")

    def write(self, name: str, data: bytes) -> None:
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def add_function(self, path: str, ids: tuple, class_code: str, config: bytes = b"", subsystem=(0, 0)) -> None:
        folder = f"sys/devices/{path}"
        address = path.rsplit("/", 1)[-1]
        for name, number in (("vendor", ids[0]), ("device", ids[1]), ("subsystem_vendor", subsystem[0]),
                             ("subsystem_device", subsystem[1])):
            self.write(f"{folder}/{name}", b"0x%04x\n" % number)
        self.write(f"{folder}/class", f"0x{class_code}\n".encode())
        self.write(f"{folder}/revision", b"0x0a\n")
        self.write(f"{folder}/config", config)
        link = self.root / "sys/bus/pci/devices" / address
        link.parent.mkdir(parents=True, exist_ok=True)
        os.symlink(self.root / folder, link)

    def capture(self, *options) -> dict:
        done = subprocess.run([sys.executable, TOOL, "--root", self.root, *options], check=True, capture_output=True)
        return json.loads(done.stdout)

    def add_card_behind_port(self) -> None:
        self.add_function("pci0000:17/0000:17:02.0", (0x8086, 0x2032), "060400", config_space(4, (0x8086, 0x0A20)))
        self.add_function("pci0000:17/0000:17:02.0/0000:18:00.1", (0x1000, 0x0016), "010400", config_space(0),
                          (0x1000, 0x9361))

    def test_identifiers_are_those_of_windows(self):
        self.add_card_behind_port()
        card = self.capture()["devices"][1]
        ids = "PCI\\VEN_1000&DEV_0016"
        self.assertEqual(card["HardwareID"], [f"{ids}&SUBSYS_93611000&REV_0A", f"{ids}&SUBSYS_93611000",
                                              f"{ids}&CC_010400", f"{ids}&CC_0104"])
        self.assertEqual(card["CompatibleIDs"], [
            f"{ids}&REV_0A", ids, "PCI\\VEN_1000&CC_010400", "PCI\\VEN_1000&CC_0104", "PCI\\VEN_1000",
            "PCI\\CC_010400&DT_0", "PCI\\CC_010400", "PCI\\CC_0104&DT_0", "PCI\\CC_0104"])
        self.assertEqual(card["DeviceDesc"], "RAID Controller")

    def test_place_is_told_as_windows_tells_it(self):
        self.add_card_behind_port()
        port, card = self.capture()["devices"]
        self.assertEqual(port["LocationInformation"], "PCI bus 23, device 2, function 0")
        self.assertEqual(card["LocationInformation"], "PCI bus 24, device 0, function 1")
        self.assertEqual(port["LocationPaths"], ["PCIROOT(17)#PCI(0200)"])
        self.assertEqual(card["LocationPaths"], ["PCIROOT(17)#PCI(0200)#PCI(0001)"])
        self.assertEqual((card["BusNumber"], card["Address"]), (24, 1))
        self.assertEqual((port["BusNumber"], port["Address"]), (23, 2 << 16))
        # The tail is the function's own devfn and the port's.
        self.assertRegex(port["instanceId"], r"\\3&[0-9A-F]+&0&10$")
        self.assertRegex(card["instanceId"], r"\\4&[0-9A-F]+&0&0110$")

    def test_bridge_has_its_capability_s_subsystem_and_port_type(self):
        self.add_card_behind_port()
        port = self.capture()["devices"][0]
        self.assertEqual(port["HardwareID"][1], "PCI\\VEN_8086&DEV_2032&SUBSYS_0A208086")
        self.assertIn("PCI\\CC_0604&DT_4", port["CompatibleIDs"])
        self.assertEqual(port["DeviceDesc"], "PCI Express Root Port")

    def test_unreadable_capabilities_leave_the_port_type_out(self):
        self.add_function("pci0000:00/0000:00:03.0", (0x1AF4, 0x1041), "020000", config_space(0)[:64])
        self.assertEqual(self.capture()["devices"][0]["CompatibleIDs"][-2:], ["PCI\\CC_020000", "PCI\\CC_0200"])

    def test_capability_list_that_loops_ends(self):
        config = bytearray(config_space())
        config[0x41] = 0x40
        self.add_function("pci0000:00/0000:00:03.0", (0x1AF4, 0x1041), "020000", bytes(config))
        self.assertEqual(len(self.capture()["devices"]), 1)

    def test_several_segments_are_named(self):
        self.add_function("pci0000:00/0000:00:00.0", (0x8086, 1), "060000")
        self.add_function("pci0001:02/0001:02:03.4", (0x8086, 2), "088000")
        first, second = self.capture()["devices"]
        self.assertEqual(first["LocationInformation"], "PCI segment 0 bus 0, device 0, function 0")
        self.assertEqual(second["LocationInformation"], "PCI segment 1 bus 2, device 3, function 4")
        self.assertEqual(second["BusNumber"], 0x102)

    def test_slot_number_reaches_every_function_in_the_slot(self):
        self.add_card_behind_port()
        self.write("sys/bus/pci/slots/7/address", b"0000:18:00\n")
        self.write("sys/bus/pci/slots/7-1/address", b"0000:17:02\n")
        port, card = self.capture()["devices"]
        self.assertEqual(card["UINumber"], 7)
        self.assertNotIn("UINumber", port)

    def test_firmware_table_is_taken_with_its_version(self):
        self.write("sys/firmware/dmi/tables/DMI", b"\x7f\x04\xfe\xff\0\0")
        self.write("sys/firmware/dmi/tables/smbios_entry_point", b"_SM3_\0\x18\x03\x02\0")
        self.assertEqual(self.capture()["smbios"], {"version": "3.2", "hex": ["7f 04 fe ff 00 00"]})
        self.write("sys/firmware/dmi/tables/smbios_entry_point", b"_SM_\0\x1f\x02\x07")
        self.assertEqual(self.capture()["smbios"]["version"], "2.7")

    def test_machine_without_pci_and_firmware_has_neither(self):
        machine = self.capture()
        self.assertEqual(machine["devices"], [])
        self.assertNotIn("smbios", machine)

    def test_identifiers_are_replaced_unless_they_are_kept(self):
        chassis = bytes([3, 9, 0, 0, 0, 1, 0, 1, 0]) + b"SN-77\0\0"
        self.write("sys/firmware/dmi/tables/DMI", chassis)
        kept = self.capture("--keep-identifiers")
        self.assertEqual(kept["computer"],
                         {"dnsFullyQualified": "probe.example.com", "dnsHostname": "probe", "netbios": "PROBE"})
        self.assertEqual(bytes.fromhex(kept["smbios"]["hex"][0]), chassis)
        machine = self.capture()
        self.assertEqual(machine["computer"],
                         {"dnsFullyQualified": "machine.example.com", "dnsHostname": "machine", "netbios": "MACHINE"})
        self.assertEqual(bytes.fromhex(machine["smbios"]["hex"][0]), chassis.replace(b"SN-77", b"00-01"))
        self.assertNotIn("probe", json.dumps(machine).lower())
        self.assertEqual(self.capture(), machine)

    def test_an_output_is_written_whole_or_not_at_all(self):
        output = self.root / "machine.json"
        subprocess.run([sys.executable, TOOL, "--root", self.root, "-o", output], check=True, capture_output=True)
        self.assertEqual(json.loads(output.read_text(encoding="utf-8")), self.capture())
        self.assertEqual(list(self.root.glob("*.tmp")), [])


if __name__ == "__main__":
    unittest.main()
