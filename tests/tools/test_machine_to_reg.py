"""machine-to-reg: what regedit is given."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "tools" / "machine-to-reg"


def registry_file(machine: dict) -> bytes:
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "machine.json"
        target = pathlib.Path(folder) / "machine.reg"
        source.write_text(json.dumps(machine), encoding="utf-8")
        subprocess.run([sys.executable, TOOL, source, target], check=True)
        return target.read_bytes()


class MachineToReg(unittest.TestCase):
    def test_device_becomes_a_key_with_its_values(self):
        data = registry_file({"devices": [{
            "instanceId": "PCI\\VEN_1\\3&1&0&00", "DeviceDesc": 'A "quoted" \\ name', "HardwareID": ["A", "B"],
            "LocationInformation": "PCI bus 0", "UINumber": 5, "BusNumber": 0}]})
        self.assertEqual(data[:2], b"\xff\xfe")
        lines = data[2:].decode("utf-16-le").split("\r\n")
        enum = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum"
        self.assertEqual(lines, [
            "Windows Registry Editor Version 5.00", "", f"[-{enum}\\PCI]", "", f"[{enum}\\PCI]", "",
            f"[{enum}\\PCI\\VEN_1\\3&1&0&00]", '"ClassGUID"="{4D36E97D-E325-11CE-BFC1-08002BE10318}"',
            '"DeviceDesc"="A \\"quoted\\" \\\\ name"', '"LocationInformation"="PCI bus 0"',
            '"HardwareID"=hex(7):41,00,00,00,42,00,00,00,00,00', '"UINumber"=dword:00000005', "", ""])

    def test_other_enumerators_stay_out(self):
        data = registry_file({"devices": [{"enumerator": "USB", "instanceId": "USB\\X\\1"}]})
        self.assertNotIn("USB", data[2:].decode("utf-16-le"))


if __name__ == "__main__":
    unittest.main()
