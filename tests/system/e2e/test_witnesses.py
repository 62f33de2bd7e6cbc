"""tools/witnesses on the machine that the tests run on: the provider under Wine, Wine's own classes, lspci and
dmidecode. And the slots of a sample machine, as dmidecode reads them from the same table."""

import json
import pathlib
import re
import subprocess
import unittest

import wine_prefix
from wine_prefix import ROOT, SERVER

import compare_dmidecode

BUILD = wine_prefix.build_folder()
SYSFS = pathlib.Path("/sys")
PCI = SYSFS / "bus" / "pci" / "devices"

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-witnesses")
    unittest.addModuleCleanup(prefix.remove)


def witnesses(*options) -> wine_prefix.Answer:
    command = [ROOT / "tools" / "witnesses", *options]
    return wine_prefix.Answer(subprocess.run(command, capture_output=True, timeout=600))


class OnOneMachine(unittest.TestCase):
    maxDiff = None

    def assert_agree(self, answer):
        self.assertEqual((answer.code, answer.errors), (0, ""), answer)
        self.assertTrue(answer.output.endswith("No contradiction.\n"), answer)

    def contradictions(self, answer) -> list:
        self.assertEqual((answer.code, answer.errors), (1, ""), answer)
        return [line for line in answer.output.splitlines() if line.startswith("CONTRADICTION ")]


class ThisMachine(OnOneMachine):
    @classmethod
    def setUpClass(cls):
        # lspci has other ways to the devices, the rest has not.
        if not any(SYSFS.iterdir()):
            raise unittest.SkipTest("/sys is not mounted")
        cls.record = prefix.folder / "record"
        cls.answer = witnesses("--build", BUILD, "--prefix", prefix.folder, "--save", cls.record)

    def test_witnesses_agree(self):
        self.assert_agree(self.answer)

    def test_every_function_of_the_machine_stands_in_a_row(self):
        told = re.findall(r"^([0-9a-f]{2}:[0-9a-f]{2}\.[0-7])  ", self.answer.output, re.MULTILINE)
        there = sorted(each.name.partition(":")[2] for each in PCI.iterdir()) if PCI.is_dir() else []
        self.assertEqual(sorted(told), there)
        self.assertEqual("Nobody tells of a PCI function" in self.answer.output, not there)

    def test_what_was_recorded_is_compared_alike(self):
        # The reasons are not recorded.
        def tables(answer):
            return [line for line in answer.output.splitlines() if " does not say: " not in line]

        again = witnesses("--recorded", self.record)
        self.assert_agree(again)
        self.assertEqual(tables(again), tables(self.answer))

    def test_a_function_that_the_provider_lost_is_missed(self):
        file = self.record / "provider.json"
        whole = file.read_text(encoding="utf-8")
        self.addCleanup(file.write_text, whole, encoding="utf-8")
        document = json.loads(whole)
        lost = next((each for each in document["instances"] if each["class"] == "Velk_PCIDevice"), None)
        if lost is None:
            self.skipTest("a machine without PCI functions: none can be lost")
        document["instances"].remove(lost)
        file.write_text(json.dumps(document), encoding="utf-8")
        ids = "{VendorID:04x}:{PCIDeviceID:04x}".format_map(lost["properties"])
        # Wine's class always knows it; lspci where it is installed and sees a bus.
        self.assertTrue(all(ids in line for line in self.contradictions(witnesses("--recorded", self.record))))


class SampleServer(OnOneMachine):
    """Its table is one that dmidecode reads without rights."""

    @classmethod
    def setUpClass(cls):
        cls.record = prefix.folder / "server"
        cls.record.mkdir()
        prefix.register()
        dump = prefix.wine(BUILD / "velkpci.exe", "--machine", SERVER, "dump", "--json")
        for name in ("provider.json", "replayed.json"):
            (cls.record / name).write_text(dump.output, encoding="utf-8")
        texts = compare_dmidecode.texts_of(*compare_dmidecode.table_of(json.loads(SERVER.read_text(encoding="utf-8"))))
        for name, text in zip(("dmidecode.txt", "dmidecode-bytes.txt"), texts):
            (cls.record / name).write_text(text, encoding="utf-8")

    def test_slots_agree(self):
        answer = witnesses("--recorded", self.record)
        self.assert_agree(answer)
        rows = re.findall(r"^(\d+) +(.*?) +does not say +(.*)$", answer.output, re.MULTILINE)
        dump = json.loads((self.record / "replayed.json").read_text(encoding="utf-8"))
        self.assertEqual(len(rows), dump["classes"]["Velk_PCISlot"]["count"])
        self.assertTrue(rows and all(ours == theirs for _, ours, theirs in rows))

    def test_a_slot_of_another_width_is_found(self):
        file = self.record / "dmidecode.txt"
        whole = file.read_text(encoding="utf-8")
        self.addCleanup(file.write_text, whole, encoding="utf-8")
        # Up to dmidecode 3.5 the width stands before the type, from 3.6 on in a line of its own.
        changed, count = re.subn(r"(Type: |Data Bus Width: (?:\d+x or )?)x16\b", r"\1x1", whole, count=1)
        self.assertEqual(count, 1)
        file.write_text(changed, encoding="utf-8")
        self.assertEqual(len(self.contradictions(witnesses("--recorded", self.record))), 1)


if __name__ == "__main__":
    unittest.main()
