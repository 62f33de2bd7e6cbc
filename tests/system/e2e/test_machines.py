"""Every sample machine, as the shipped DLL publishes it: its classes enumerate, what they list can be got by its path,
references lead to what they name, and counts are those of the machine file.

A machine's classes are read by one process (velkpci dump). Where the search for slots by number runs past 65,536, the
Velk_PCISlotElementLocation look-ups take half a minute or more without optimisation: there the other classes are read
one by one, and that class by the release build alone.
"""

import json
import re
import struct
import subprocess
import sys
import unittest

import wine_prefix
from wine_prefix import ASSOCIATIONS, CLASSES, MACHINES, ROOT

import compare_dmidecode

BUILD = wine_prefix.build_folder()
SLOW_CLASS = "Velk_PCISlotElementLocation"
NO_TABLE_MESSAGE = "velkpci: Velk_SystemPCISlot: WBEM_E_FAILED (0x80041001)\n"
# PCI, PCI 66 MHz, PCI-X, PCI Express: what counts as a PCI slot.
PCI_SLOT_TYPES = {0x06, 0x0E, 0x12} | set(range(0xA5, 0xB1))
# PCI Express 3 to 6, which count by a setting; B7h is reserved.
MODERN_SLOT_TYPES = set(range(0xB1, 0xC5)) - {0xB7}

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-machines")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


def slots_of(table: bytes) -> list:
    """Slot type and slot ID of each System Slots structure."""
    found = []
    at = 0
    while at + 4 <= len(table):
        kind, length = table[at], table[at + 1]
        if kind == 9:
            found.append((table[at + 5], struct.unpack_from("<H", table, at + 9)[0]))
        at = table.index(b"\0\0", at + length) + 2
    return found


def is_bridge(device: dict) -> bool:
    """Base class 06, which some compatible ID tells as CC_06 and the subclass."""
    return any(re.search(r"CC_06[0-9A-F]{2}", each) for each in device["CompatibleIDs"])


class MachineCase:
    """The tests of one machine, which make_case describes."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        if cls.searches_far:
            cls.classes = [each for each in CLASSES if each != SLOW_CLASS]
            cls.instances = {each: wine_prefix.instances_of(cls.velkpci("list", each, "--json")) for each in cls.classes}
        else:
            cls.classes = CLASSES
            cls.dump = cls.velkpci("dump", "--json")
            cls.instances = wine_prefix.by_class(cls.dump)

    @classmethod
    def velkpci(cls, *arguments):
        return prefix.velkpci(*arguments, machine=cls.file)

    def test_all_classes_enumerate(self):
        if self.searches_far:
            self.assertEqual(sorted(self.instances), self.classes)
            return
        self.assertLessEqual(set(CLASSES), set(self.instances))
        # Without a table there is no telling how many slots the chassis has: that one class fails.
        self.assertEqual(self.dump.errors, "" if self.has_table else NO_TABLE_MESSAGE)
        self.assertEqual(self.dump.code, 0 if self.has_table else 1)

    def test_counts_are_those_of_the_machine_file(self):
        bridges = sum(map(is_bridge, self.devices))
        cards = {str(each["UINumber"]) for each in self.devices if "UINumber" in each and not is_bridge(each)}
        counts = {name: len(self.instances[name]) for name in self.classes}
        self.assertEqual(counts["Velk_PCIBridge"], bridges)
        self.assertEqual(counts["Velk_PCIDevice"], len(self.devices) - bridges)
        self.assertEqual(counts["Velk_SystemPCIDevice"], len(self.devices))
        self.assertEqual(counts["Velk_PCICard"], len(cards))
        self.assertEqual(counts["Velk_PCICardInSlot"], len(cards))
        self.assertEqual(counts["Velk_PCISlot"], self.slot_count)
        self.assertEqual(counts["Velk_PCISlotLocation"], self.slot_count)
        # The chassis has the slots from 1 to their count alone.
        self.assertEqual(counts["Velk_SystemPCISlot"],
                         sum(number in self.slot_ids for number in range(1, self.slot_count + 1)))
        if not self.searches_far:
            self.assertEqual(counts[SLOW_CLASS], self.slot_count)

    def test_slots_are_those_that_dmidecode_sees(self):
        slots = prefix.folder / "slots.json"
        slots.write_text(json.dumps({"instances": self.instances["Velk_PCISlot"]}), encoding="utf-8")
        tool = ROOT / "tests" / "support" / "compare_dmidecode.py"
        done = subprocess.run([sys.executable, "-B", tool, self.file, slots], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_what_is_listed_can_be_got(self):
        listed = {}
        for name in self.classes:
            for instance in self.instances[name]:
                # Of several functions that carry the same path the first one answers.
                listed.setdefault(instance["path"], instance)
        for path, found in prefix.get_all(listed, machine=self.file).items():
            self.assertIsNotNone(found, path)
            # Whether a hot-plug slot has power depends on the bridges, which another process may have read.
            if found["class"] == "Velk_PCISlot":
                found["properties"].pop("PoweredOn")
                listed[path]["properties"].pop("PoweredOn")
            self.assertEqual(found, listed[path])

    def check_references(self, names):
        """Each reference of the classes' instances leads to what it names; what it names may be missing where the
        machine's functions tell a number that no slot has, or one that is shown as a negative number."""
        paths = {path for name in names for each in self.instances[name]
                 for path in wine_prefix.references_of(each).values()}
        for path, found in prefix.get_all(sorted(paths), machine=self.file).items():
            if found is not None:
                self.assertEqual(found["path"], path)
                continue
            number = re.search(r'Velk_PCI(?:Slot|Card)\.CreationClassName="\w+",Tag="PCI (?:Slot|Card) (-?\d+)"$', path)
            self.assertIsNotNone(number, path)
            self.assertTrue(int(number[1]) < 0 or int(number[1]) & 0xFFFF not in self.slot_ids, path)

    def test_references_lead_to_what_they_name(self):
        self.check_references(each for each in ASSOCIATIONS if each in self.instances)


class FarSearchCase(MachineCase):
    """With what is tested only where the search for slots runs far."""

    def test_slots_lead_to_their_places(self):
        if not wine_prefix.is_release(BUILD):
            self.skipTest("131,074 look-ups of a name: the release build alone does them in bearable time")
        listed = self.velkpci("list", SLOW_CLASS, "--json", "--verbose")
        self.assertEqual(listed.code, 0)
        self.assertIn(f"still reading {SLOW_CLASS}: 0 instances", listed.errors)
        self.instances[SLOW_CLASS] = wine_prefix.instances_of(listed)
        self.addCleanup(self.instances.pop, SLOW_CLASS)
        self.assertEqual(len(self.instances[SLOW_CLASS]), self.slot_count)
        self.check_references([SLOW_CLASS])


class NoTable(unittest.TestCase):
    MACHINE = ROOT / "machines" / "no-smbios.json"

    def test_chassis_slots_fail_and_the_rest_works(self):
        failed = prefix.velkpci("list", "Velk_SystemPCISlot", "--json", machine=self.MACHINE)
        self.assertEqual((failed.code, failed.errors), (1, NO_TABLE_MESSAGE))
        told = failed.json()
        self.assertEqual(told["classes"]["Velk_SystemPCISlot"]["status"],
                         {"code": 0x80041001, "hex": "0x80041001", "name": "WBEM_E_FAILED"})
        self.assertEqual((told["instances"], [each["request"] for each in told["failures"]]),
                         ([], ["Velk_SystemPCISlot"]))
        # Slots are none, which is no failure; functions and their cards do not need the table.
        slots = prefix.velkpci("list", "Velk_PCISlot", "--json", machine=self.MACHINE).json()
        self.assertEqual((slots["classes"]["Velk_PCISlot"]["count"], slots["failures"]), (0, []))
        cards = prefix.velkpci("list", "Velk_PCICard", "--json", machine=self.MACHINE)
        self.assertEqual([each["properties"]["Tag"] for each in cards.json()["instances"]], ["PCI Card 3", "PCI Card 4"])

    def test_cards_name_slots_that_nobody_publishes(self):
        pairs = wine_prefix.instances_of(prefix.velkpci("list", "Velk_PCICardInSlot", "--json", machine=self.MACHINE))
        ends = [wine_prefix.references_of(each) for each in pairs]
        slots = prefix.get_all([each["Antecedent"] for each in ends], machine=self.MACHINE)
        self.assertEqual((len(slots), set(slots.values())), (2, {None}))
        self.assertNotIn(None, prefix.get_all([each["Dependent"] for each in ends], machine=self.MACHINE).values())


class ModernServer(unittest.TestCase):
    """The slots of a server of 2024 come and go with the setting."""

    @classmethod
    def setUpClass(cls):
        cls.machine = json.loads((ROOT / "machines" / "server-of-2024.json").read_text(encoding="utf-8"))

    def file_with(self, settings):
        machine = {name: value for name, value in self.machine.items() if name != "settings"}
        if settings is not None:
            machine["settings"] = settings
        file = prefix.folder / "modern.json"
        file.write_text(json.dumps(machine), encoding="utf-8")
        return file

    def slots(self, settings) -> list:
        listed = prefix.velkpci("list", "Velk_PCISlot", "--json", machine=self.file_with(settings))
        self.assertEqual((listed.code, listed.errors), (0, ""))
        return [each["properties"]["Number"] for each in listed.json()["instances"]]

    def test_without_the_setting_there_is_no_slot(self):
        for settings in (None, {}, {"ModernSlotTypes": 0}, {"ModernSlotTypes": "1"}):
            self.assertEqual(self.slots(settings), [], settings)

    def test_with_the_setting_all_eight_are_there_and_no_bay_or_network_card(self):
        self.assertEqual(self.slots({"ModernSlotTypes": 1}), [1, 2, 3, 4, 5, 6, 7, 8])

    def test_registry_decides_where_the_machine_says_nothing(self):
        key = wine_prefix.COMMON_LOG_KEY
        prefix.wine("reg", "add", key, "/v", "ModernSlotTypes", "/t", "REG_DWORD", "/d", "1", "/f")
        self.addCleanup(prefix.wine, "reg", "delete", key, "/v", "ModernSlotTypes", "/f")
        self.assertEqual(self.slots(None), [1, 2, 3, 4, 5, 6, 7, 8])
        self.assertEqual(self.slots({}), [])


class Samples(unittest.TestCase):
    def test_every_kind_of_machine_is_there(self):
        """So that no test above stands still because its machine went missing."""
        self.assertEqual(len(CASES), len(MACHINES))
        self.assertTrue(any(each.searches_far for each in CASES.values()))
        self.assertFalse(all(each.has_table for each in CASES.values()))
        self.assertFalse(all(each.devices for each in CASES.values()))


def make_case(file) -> type:
    """The tests of a machine, with what its file tells."""
    machine = json.loads(file.read_text(encoding="utf-8"))
    slots = slots_of(compare_dmidecode.table_of(machine)[0])
    slot_ids = [slot_id for _, slot_id in slots]
    slot_types = PCI_SLOT_TYPES | (MODERN_SLOT_TYPES if compare_dmidecode.modern_types_of(machine) else set())
    searches_far = 0 in slot_ids or len(set(slot_ids)) < len(slot_ids)
    return type("".join(part.capitalize() for part in file.stem.split("-")),
                (FarSearchCase if searches_far else MachineCase, unittest.TestCase), {
        "file": file,
        "devices": [each for each in machine["devices"]
                    if each.get("enumerator", "PCI") == "PCI" and each.get("present", True)],
        "has_table": "smbios" in machine,
        "slot_ids": slot_ids,
        "slot_count": sum(kind in slot_types for kind, _ in slots),
        "searches_far": searches_far,
    })


CASES = {case.__name__: case for case in map(make_case, MACHINES)}
globals().update(CASES)


if __name__ == "__main__":
    unittest.main()
