"""capture and diff end to end: what is captured of the Wine prefix, and of every sample machine, replays as the machine
that it was captured from."""

import json
import pathlib
import subprocess
import sys
import unittest

import jsonschema
import wine_prefix
from wine_prefix import FAR, MACHINES, ROOT, SERVER

BUILD = wine_prefix.build_folder()

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-capture")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


def velkpci(*arguments):
    return prefix.start(prefix.build / "velkpci.exe", *arguments)


def inventory(*source) -> dict:
    """The instances of each class but for their paths, which name the computer."""
    document = velkpci(*source, "dump", "--json").json()
    return {name: [each["properties"] for each in document["instances"] if each["class"] == name]
            for name in document["classes"]}


def schema_of(name: str) -> jsonschema.Draft202012Validator:
    text = (ROOT / "docs" / "schema" / f"{name}.schema.json").read_text(encoding="utf-8")
    common = json.loads((ROOT / "docs" / "schema" / "common.schema.json").read_text(encoding="utf-8"))
    whole = json.loads(text.replace(common["$id"] + "#", "#"))
    return jsonschema.Draft202012Validator({**whole, "$defs": {**common["$defs"], **whole.get("$defs", {})}})


class ThisComputer(unittest.TestCase):
    """Wine's own device database and firmware table, with a server's devices put into the database."""

    @classmethod
    def setUpClass(cls):
        registry = prefix.folder / "server.reg"
        subprocess.run([sys.executable, "-B", ROOT / "tools" / "machine-to-reg", SERVER, registry], check=True)
        prefix.wine("regedit", "/S", registry)
        prefix.wine("reg", "add", wine_prefix.COMMON_LOG_KEY, "/v", "ModernSlotTypes", "/t", "REG_DWORD", "/d", "1", "/f")
        # Wine puts an adapter of its own into the database when the first desktop starts, which may be any time after
        # the import: two captures alike tell that it is there.
        captures = [velkpci("capture").output]
        while len(captures) < 2 or (captures[-1] != captures[-2] and len(captures) < 10):
            captures.append(velkpci("capture").output)
        cls.file = prefix.folder / "captured.json"
        cls.answer = velkpci("capture", "--keep-identifiers", "-o", cls.file)
        cls.machine = json.loads(cls.file.read_text(encoding="utf-8"))

    def test_the_capture_is_a_machine_file(self):
        self.assertEqual((self.answer.code, self.answer.output, self.answer.errors), (0, "", ""))
        schema_of("machine").validate(self.machine)
        self.assertGreaterEqual(len(self.machine["devices"]), 32)
        self.assertEqual(self.machine["settings"], {"ModernSlotTypes": 1})
        self.assertTrue(self.machine["smbios"]["hex"])

    def test_a_replay_gives_the_inventory_of_the_computer(self):
        there = inventory("--provider", "--standalone")
        replayed = inventory("--standalone", "--machine", self.file)
        self.assertGreater(len(there["Velk_PCIDevice"]), 10)
        self.assertEqual(replayed, there)

    def test_two_captures_are_equal_and_hold_no_name(self):
        files = [prefix.folder / name for name in ("one.json", "two.json")]
        for file in files:
            self.assertEqual(velkpci("capture", "-o", file).code, 0)
        texts = [file.read_bytes() for file in files]
        self.assertEqual(texts[0], texts[1])
        for name in self.machine["computer"].values():
            self.assertNotIn(f'"{name}"'.encode(), texts[0])
        self.assertEqual(velkpci("diff", *files).code, 0)
        # The program's replacement is the tools'.
        sys.path.insert(0, str(ROOT / "tools" / "lib"))
        import identifiers
        replaced = identifiers.replace(self.machine)
        self.assertEqual({**json.loads(texts[0]), "about": ""}, {**replaced, "about": ""})


class SampleMachines(unittest.TestCase):
    def test_a_replayed_machine_captured_and_replayed_is_the_same(self):
        for machine in MACHINES:
            again = prefix.folder / f"again-{machine.name}"
            with self.subTest(machine=machine.stem):
                self.assertEqual(velkpci("--machine", machine, "capture", "--keep-identifiers", "-o", again).code, 0)
                captured, original = (json.loads(file.read_text(encoding="utf-8")) for file in (again, machine))
                self.assertEqual({**captured, "about": ""}, {**original, "about": ""})
                self.assertEqual(velkpci("--machine", machine, "capture", "-o", again).code, 0)
                schema_of("machine").validate(json.loads(again.read_text(encoding="utf-8")))
                if machine.stem not in FAR:
                    self.compare_replays(machine, again)

    def compare_replays(self, machine: pathlib.Path, again: pathlib.Path):
        """Without the computer's names, which are replaced, the two inventories are one."""
        dumps = []
        for file in (machine, again):
            dump = prefix.folder / f"dump-{len(dumps)}.json"
            dump.write_text(velkpci("--machine", file, "dump", "--json").output, encoding="utf-8")
            dumps.append(dump)
        answer = velkpci("diff", *dumps, "--json")
        document = answer.json()
        schema_of("diff").validate(document)
        self.assertEqual((document["added"], document["removed"]), ([], []))
        for change in document["changed"]:
            self.assertEqual((change["kind"], [each["property"] for each in change["changes"]]), ("computer", ["Name"]))


class Differences(unittest.TestCase):
    def test_a_card_that_was_put_in_is_told_by_machine_files_and_by_dumps(self):
        machine = json.loads(SERVER.read_text(encoding="utf-8"))
        card = {**next(each for each in machine["devices"] if each["DeviceDesc"].startswith("SAS RAID")),
                "instanceId": "PCI\\NEW\\1", "BusNumber": 200, "UINumber": 4,
                "LocationInformation": "PCI bus 200, device 0, function 0"}
        more = prefix.folder / "more.json"
        more.write_text(json.dumps({**machine, "devices": machine["devices"] + [card]}), encoding="utf-8")
        answer = velkpci("diff", SERVER, more)
        self.assertEqual((answer.code, answer.errors), (1, ""))
        self.assertIn("+ function BUS(200)DEV(0)FN(0)  SAS RAID Controller, 12 Gb/s\n", answer.output)
        self.assertTrue(answer.output.endswith("\n1 added, 0 removed, 0 changed.\n"))
        dumps = [prefix.folder / name for name in ("before.json", "after.json")]
        for file, source in zip(dumps, (SERVER, more)):
            # As a shell of Windows redirects output.
            file.write_text(velkpci("--machine", source, "dump", "--json").output, encoding="utf-16")
        answer = velkpci("diff", *dumps)
        self.assertEqual((answer.code, answer.errors), (1, ""))
        for line in ("+ card PCI Card 4\n", "+ function BUS(200)DEV(0)FN(0)  SAS RAID Controller, 12 Gb/s\n",
                     "+ Velk_PCICardInSlot PCI Slot 4 - PCI Card 4\n"):
            self.assertIn(line, answer.output)
        document = velkpci("diff", *dumps, "--json").json()
        schema_of("diff").validate(document)
        self.assertEqual(document["compares"], "dumps")

    def test_every_two_machines_are_compared(self):
        for machine in MACHINES:
            with self.subTest(machine=machine.stem):
                answer = velkpci("diff", SERVER, machine, "--json")
                document = answer.json()
                schema_of("diff").validate(document)
                self.assertEqual((answer.code, document["equal"]), (0, True) if machine == SERVER else (1, False))


if __name__ == "__main__":
    unittest.main()
