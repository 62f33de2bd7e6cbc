"""compose-machine, and that the sample machines are what it makes of their descriptions."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL = ROOT / "tools" / "compose-machine"


def compose(description: pathlib.Path) -> str:
    return subprocess.run([sys.executable, TOOL, description], check=True, capture_output=True).stdout.decode("utf-8")


def compose_text(description: dict) -> dict:
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "machine.json"
        file.write_text(json.dumps(description), encoding="utf-8")
        return json.loads(compose(file))


def structures(table: bytes):
    """Type, formatted area and strings of every structure."""
    position = 0
    while position < len(table):
        length = table[position + 1]
        end = table.index(b"\0\0", position + length)
        strings = table[position + length:end].split(b"\0") if end > position + length else []
        yield table[position], table[position:position + length], [text.decode() for text in strings]
        position = end + 2


class SampleMachines(unittest.TestCase):
    def test_samples_are_what_their_descriptions_compose(self):
        descriptions = sorted((ROOT / "machines" / "described").glob("*.json"))
        self.assertEqual([file.name for file in descriptions],
                         sorted(file.name for file in (ROOT / "machines").glob("*.json")))
        for description in descriptions:
            with self.subTest(machine=description.name):
                sample = ROOT / "machines" / description.name
                self.assertEqual(compose(description), sample.read_text(encoding="utf-8"))

    def test_tables_walk_to_their_end(self):
        for sample in sorted((ROOT / "machines").glob("*.json")):
            machine = json.loads(sample.read_text(encoding="utf-8"))
            if "smbios" in machine:
                with self.subTest(machine=sample.name):
                    kinds = [kind for kind, _, _ in structures(bytes.fromhex("".join(machine["smbios"]["hex"])))]
                    self.assertEqual(kinds[:3], [0, 1, 3] if 3 in kinds else [0, 1, 9])
                    self.assertEqual(kinds[-1], 127)


class ComposeMachine(unittest.TestCase):
    def test_slot_fields_stand_at_their_offsets(self):
        machine = compose_text({"about": "", "smbiosVersion": "3.0", "structures": [
            {"kind": "slot", "designation": "Slot A", "type": "A5", "width": "0D", "usage": 4, "length": 3, "id": 258,
             "characteristics1": "04", "characteristics2": 3, "address": "0001:3a:02.1"},
            {"kind": "slot", "type": "06", "width": "05", "id": 2}]})
        first, second = structures(bytes.fromhex("".join(machine["smbios"]["hex"])))
        self.assertEqual(first, (9, bytes.fromhex("09 11 0000 01 a5 0d 04 03 0201 04 03 0100 3a 11"), ["Slot A"]))
        self.assertEqual(second, (9, bytes.fromhex("09 11 0100 00 06 05 02 02 0200 04 01 ffff ff ff"), []))

    def test_structure_of_any_type_is_given_by_its_bytes(self):
        machine = compose_text({"about": "", "smbiosVersion": "3.0", "structures": [
            {"kind": "raw", "type": 126, "bytes": "aa bb", "strings": ["x", "yz"]}]})
        self.assertEqual(machine["smbios"]["hex"], ["7e 06 00 00 aa bb 78 00 79 7a 00 00"])

    def test_location_text_is_localized(self):
        machine = compose_text({"about": "", "localized": "PCI-Bus {bus}, Gerät {device}, Funktion {function}",
                                "functions": [{"at": "02:03.1", "id": "8086:1234", "class": "020000"}]})
        self.assertEqual(machine["devices"][0]["LocationInformation"], "PCI-Bus 2, Gerät 3, Funktion 1")

    def test_settings_are_taken_over(self):
        machine = compose_text({"about": "", "settings": {"ModernSlotTypes": 1, "LogFolder": "C:\\"}})
        self.assertEqual(machine["settings"], {"ModernSlotTypes": 1, "LogFolder": "C:\\"})
        self.assertNotIn("settings", compose_text({"about": ""}))

    def test_omitted_properties_are_left_out(self):
        machine = compose_text({"about": "", "omit": ["LocationPaths"],
                                "functions": [{"at": "02:03.1", "id": "8086:1234", "class": "020000"}]})
        self.assertNotIn("LocationPaths", machine["devices"][0])
        self.assertIn("BusNumber", machine["devices"][0])


if __name__ == "__main__":
    unittest.main()
