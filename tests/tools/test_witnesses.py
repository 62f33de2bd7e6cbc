"""tools/witnesses on recorded statements: what contradicts is found; silence is neither agreement nor contradiction."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "tools" / "witnesses"

LSPCI = """Slot:\t0000:00:00.0
Class:\t0600
Vendor:\t8086
Device:\t2020
ProgIf:\t00

Slot:\t0000:18:00.0
Class:\t0200
Vendor:\t8086
Device:\t1572
SVendor:\t8086
SDevice:\t0007
PhySlot:\t3
Rev:\t02
ProgIf:\t00
"""
ENTITIES = r"""DeviceId
HID\VID_845E&PID_0001\0&0000&0&0
PCI\VEN_0000&DEV_0000&SUBSYS_00000000&REV_00\00000000
PCI\VEN_8086&DEV_1572&SUBSYS_00078086&REV_02\3&F471A6B7&0&18
PCI\VEN_8086&DEV_2020&SUBSYS_00000000&REV_00\3&F471A6B7&0&00
"""
DMIDECODE = """System Slot Information
\tDesignation: PCIe Slot 3
\tType: x8 PCI Express 2 x8
\tCurrent Usage: In Use
\tLength: Long
\tID: 3
\tCharacteristics:
\t\t3.3 V is provided
\t\tHot-plug devices are supported

"""
DMIDECODE_BYTES = """System Slot Information
\tHeader and Data:
\t\t09 11 00 09 01 AB 0B 04 04 03 00 04 02 00 00 18
\t\t00
\tStrings:
\t\tPCIe Slot 3

"""


def instance(name: str, **properties) -> dict:
    return {"class": name, "properties": properties}


def function(name: str, address: tuple, ids: tuple, base_class: int) -> dict:
    names = ("VendorID", "PCIDeviceID", "SubsystemVendorID", "SubsystemID", "RevisionID")
    place = zip(("BusNumber", "DeviceNumber", "FunctionNumber"), address)
    return instance(name, **dict(place), **dict(zip(names, ids)), ClassCode=base_class)


def functions() -> list:
    return [function("Velk_PCIBridge", (0, 0, 0), (0x8086, 0x2020, 0, 0, 0), 6),
            function("Velk_PCIDevice", (0x18, 0, 0), (0x8086, 0x1572, 0x8086, 7, 2), 2)]


def slot() -> dict:
    return instance("Velk_PCISlot", Tag="PCI Slot 3", Number=3, ConnectorPinout="PCI Express", ConnectorType=[1],
                    ConnectorLayout=22, SupportsHotPlug=True)


def card(number: int) -> dict:
    return instance("Velk_RealizesPCIDevice", Antecedent=f'Velk_PCICard.Tag="PCI Card {number}"',
                    Dependent='Velk_PCIDevice.DeviceID="BUS(24)DEV(0)FN(0)"')


class Witnesses(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.provider(functions())
        self.replayed([*functions(), slot(), card(3)])
        for name, text in (("lspci", LSPCI), ("pnp-entities", ENTITIES), ("dmidecode", DMIDECODE),
                           ("dmidecode-bytes", DMIDECODE_BYTES)):
            self.write(name, text)

    def write(self, name: str, text: str) -> None:
        (self.folder / f"{name}.txt").write_text(text, encoding="utf-8")

    def provider(self, instances: list, failures=(), name="provider") -> None:
        document = {"instances": instances, "failures": list(failures)}
        (self.folder / f"{name}.json").write_text(json.dumps(document), encoding="utf-8")

    def replayed(self, instances: list) -> None:
        self.provider(instances, name="replayed")

    def run_tool(self) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, "-B", TOOL, "--recorded", self.folder], capture_output=True, text=True)

    def agree(self) -> str:
        done = self.run_tool()
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.assertTrue(done.stdout.endswith("No contradiction.\n"), done.stdout)
        return done.stdout

    def contradict(self, *expected: str) -> None:
        done = self.run_tool()
        self.assertEqual((done.returncode, done.stderr), (1, ""), done.stdout)
        told = [line for line in done.stdout.splitlines() if line.startswith("CONTRADICTION")]
        self.assertEqual(told, [f"CONTRADICTION {each}" for each in expected])

    def test_what_agrees_stands_side_by_side(self):
        lines = self.agree().splitlines()
        self.assertEqual(lines[2].split(), ["18:00.0", *["8086:1572", "8086:0007", "rev", "02"] * 3])
        # lspci leaves out a subsystem of zeros.
        numbers = ["8086:2020", "0000:0000", "rev", "00"]
        self.assertEqual(lines[1].split(), ["00:00.0", *numbers, *numbers, "8086:2020", "rev", "00"])
        express = ["PCI", "Express,", "connector", "1,", "layout", "22,", "hot-plug"]
        self.assertEqual(lines[5].split(), ["3", *express, "does", "not", "say", *express])

    def test_another_device_at_an_address(self):
        self.write("lspci", LSPCI.replace("1572", "1573"))
        self.contradict("18:00.0: the provider tells 8086:1572 8086:0007 rev 02 class 02, "
                        "lspci 8086:1573 8086:0007 rev 02 class 02")

    def test_another_class_subsystem_or_revision(self):
        for old, new in (("0200", "0300"), ("0007", "0008"), ("Rev:\t02\n", "")):
            with self.subTest(old=old):
                self.write("lspci", LSPCI.replace(old, new))
                self.assertEqual(self.run_tool().returncode, 1)

    def test_a_function_that_only_one_tells(self):
        self.write("lspci", LSPCI.partition("\n\n")[0] + "\n")
        self.contradict("18:00.0: only the provider tells 8086:1572 8086:0007 rev 02")
        self.write("lspci", LSPCI + "\n" + LSPCI.partition("\n\n")[0].replace("00.0", "01.0"))
        self.contradict("00:01.0: only lspci tells 8086:2020 rev 00")

    def test_a_function_of_the_platforms_class_alone_and_one_that_it_lacks(self):
        self.write("pnp-entities", ENTITIES.replace("DEV_1572", "DEV_1573"))
        self.contradict("18:00.0: no Win32_PnPEntity is 8086:1572 8086:0007 rev 02",
                        "only Win32_PnPEntity tells 8086:1573 8086:0007 rev 02")

    def test_another_slot(self):
        without_hot_plug = DMIDECODE.replace("\t\tHot-plug devices are supported\n", "")
        self.write("dmidecode", without_hot_plug.replace("x8 PCI", "x4 PCI"))
        self.contradict("slot 3: the provider tells PCI Express, connector 1, layout 22, hot-plug, "
                        "dmidecode PCI Express, connector 1, layout 21")

    def test_a_slot_that_only_one_tells(self):
        self.replayed(functions())
        self.contradict("slot 3: the provider tells none, dmidecode PCI Express, connector 1, layout 22, hot-plug")
        self.replayed([slot(), slot() | {"properties": slot()["properties"] | {"Tag": "PCI Slot 4", "Number": 4}}])
        self.contradict("slot 4: the provider tells PCI Express, connector 1, layout 22, hot-plug, dmidecode none")

    def test_a_slot_that_the_platforms_class_lacks(self):
        self.write("system-slots", "Number\n3\n5\n")
        self.agree()
        self.write("system-slots", "Number\n5\n")
        self.contradict("slot 3: no Win32_SystemSlot has the number")

    def test_a_card_in_another_slot(self):
        self.replayed([*functions(), slot(), card(4)])
        self.contradict("18:00.0: lspci puts it in slot 3, the provider on card 4")
        self.replayed([*functions(), slot()])
        self.contradict("18:00.0: lspci puts it in slot 3, the provider on card none")
        # A name that is no number is none that Windows could know.
        self.write("lspci", LSPCI.replace("PhySlot:\t3", "PhySlot:\t3-1"))
        self.agree()

    def test_a_class_that_failed_is_no_silence(self):
        self.provider([], [{"request": "Velk_PCIDevice", "status": {"name": "WBEM_E_FAILED"}}])
        self.write("lspci", "")
        self.write("pnp-entities", "DeviceId\n")
        self.contradict("the provider failed: Velk_PCIDevice: WBEM_E_FAILED")

    def test_who_is_silent_is_told_and_contradicts_nobody(self):
        for name in ("lspci.txt", "pnp-entities.txt", "dmidecode-bytes.txt", "replayed.json"):
            (self.folder / name).unlink()
        text = self.agree()
        for name in ("lspci", "Win32_PnPEntity", "Win32_SystemSlot", "dmidecode", "the provider, of slots,"):
            self.assertIn(f"{name} does not say: nothing was recorded\n", text)
        self.assertIn("00:00.0  8086:2020 0000:0000 rev 00  does not say                    does not say\n", text)
        self.assertIn("Nobody tells of a slot.\n", text)

    def test_a_machine_without_pci_is_told_and_passes(self):
        self.provider([])
        (self.folder / "replayed.json").unlink()
        for name in ("lspci", "dmidecode"):
            (self.folder / f"{name}.txt").unlink()
        self.write("pnp-entities", ENTITIES.partition("PCI\\VEN_8086")[0])
        self.assertIn("Nobody tells of a PCI function: a machine without PCI, or one that does not show it.\n",
                      self.agree())

    def test_without_the_provider_there_is_nothing_to_compare(self):
        (self.folder / "provider.json").unlink()
        done = self.run_tool()
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("the record of the provider is missing", done.stderr)


if __name__ == "__main__":
    unittest.main()
