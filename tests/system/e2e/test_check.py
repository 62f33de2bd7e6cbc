"""check tells a sound installation from a broken one, and export writes the gauges of the inventory."""

import json
import re
import shutil
import subprocess
import sys
import unittest

import wine_prefix
from wine_prefix import FAR, MACHINES, ROOT, SERVER

BUILD = wine_prefix.build_folder()

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-check")
    unittest.addModuleCleanup(prefix.remove)


def failed(answer) -> list:
    return [each["point"] for each in answer.json()["verdicts"] if each["outcome"] == "failed"]


class Check(unittest.TestCase):
    def setUp(self):
        prefix.register()

    def changed(self, name: str, **members):
        """The sample server with some members of its file changed; None takes one away."""
        machine = {**json.loads(SERVER.read_text(encoding="utf-8")), **members}
        file = prefix.folder / f"{name}.json"
        file.write_text(json.dumps({key: value for key, value in machine.items() if value is not None}),
                        encoding="utf-8")
        return file

    def test_the_sample_server_passes(self):
        answer = prefix.velkpci("check")
        self.assertEqual(answer.code, 0, answer)
        self.assertRegex(answer.output, r"\n25 passed, 0 failed, 4 not applicable\n\Z")

    def test_the_file_to_send_back_is_the_document(self):
        file = prefix.folder / "sent.json"
        self.assertEqual(prefix.velkpci("check", "-o", file).code, 0)
        self.assertEqual(json.loads(file.read_text(encoding="utf-8")), prefix.velkpci("check", "--json").json())

    def test_a_place_that_cannot_be_written_is_named(self):
        answer = prefix.velkpci("check", "-o", prefix.folder / "none" / "sent.json")
        self.assertEqual(answer.code, 2)
        self.assertRegex(answer.errors, r"\Avelkpci: .*sent\.json: cannot be written: .+\n\Z")

    def test_a_provider_that_is_not_registered_is_found(self):
        prefix.unregister()
        answer = prefix.velkpci("check", "--json")
        self.assertEqual(answer.code, 1)
        self.assertEqual(failed(answer)[0], "registration")
        self.assertIn("Velk_PCISlot", failed(answer))

    def test_a_dll_that_went_away_is_found(self):
        moved = prefix.folder / "moved.dll"
        shutil.copy(BUILD / "VelkWmiPci.dll", moved)
        prefix.wine("regsvr32", "/s", moved)
        moved.unlink()
        answer = prefix.velkpci("check", "--json")
        self.assertEqual((answer.code, failed(answer)[:2]), (1, ["provider DLL", "versions"]))

    def test_a_machine_without_the_suite_is_told_to_have_none(self):
        answer = prefix.velkpci("check", "--json", machine=self.changed("alone", suite=None, objects=None))
        self.assertEqual((answer.code, failed(answer)), (1, ["associations", "server in paths", "chassis",
                                                            "computer system"]))

    def test_two_chassis_are_found(self):
        two = [{"namespace": r"root\VKQ", "class": "Velk_ComputerSystemChassis",
                "properties": {"CreationClassName": "Velk_ComputerSystemChassis", "Tag": tag}} for tag in "AB"]
        answer = prefix.velkpci("check", "--json", machine=self.changed("two", objects=two))
        self.assertIn("chassis", failed(answer))

    def test_modern_slots_without_the_setting_are_named(self):
        answer = prefix.velkpci("check", "--json", machine=self.modern())
        verdict = next(each for each in answer.json()["verdicts"] if each["point"] == "slot types")
        self.assertEqual(verdict["outcome"], "failed")
        self.assertIn("ModernSlotTypes", verdict["mend"])

    def modern(self):
        machine = json.loads((SERVER.parent / "server-of-2024.json").read_text(encoding="utf-8"))
        file = prefix.folder / "modern.json"
        file.write_text(json.dumps({**machine, "settings": {}}), encoding="utf-8")
        return file

    def test_the_dll_alone_is_checked_on_this_computer(self):
        answer = prefix.start(prefix.build / "velkpci.exe", "--provider", "--standalone", "check", "--json")
        told = {each["point"]: each for each in answer.json()["verdicts"]}
        self.assertEqual(told["Velk_PCIDevice"]["outcome"], "passed")
        self.assertEqual(told["namespace"]["outcome"], "not applicable")
        self.assertTrue(answer.json()["windows"])


class ThroughWmi(unittest.TestCase):
    """As on a Windows server: the locator of the computer answers, and the DLL alone is asked beside it."""

    @classmethod
    def setUpClass(cls):
        prefix.register()
        prefix.register("velkhost.dll")
        cls.addClassCleanup(prefix.unregister, "velkhost.dll")
        prefix.environment["VELKHOST_MACHINE"] = "this-computer"
        cls.addClassCleanup(prefix.environment.clear)
        devices = prefix.folder / "devices.reg"
        subprocess.run([sys.executable, "-B", ROOT / "tools" / "machine-to-reg", SERVER, devices], check=True)
        prefix.wine("reg", "import", f"Z:{devices}")

    def test_wmi_and_the_dll_alone_are_held_against_each_other(self):
        answer = prefix.start(prefix.build / "velkpci.exe", "check", "--json")
        told = {each["point"]: each for each in answer.json()["verdicts"]}
        self.assertEqual(answer.json()["source"]["kind"], "wmi")
        for name in ("Velk_PCIBridge", "Velk_PCIDevice", "Velk_PCICard"):
            self.assertRegex(told[name]["detail"], r"\A[1-9]\d* instances?, the same keys in process\Z")
        for point in ("registration", "versions", "namespace", "classes", "provider registrations", "hosting account",
                      "log of these requests", "locks"):
            self.assertEqual(told[point]["outcome"], "passed", told[point])
        # This computer has no suite.
        self.assertEqual(told["chassis"]["outcome"], "failed")


class Export(unittest.TestCase):
    def test_the_gauges_of_every_machine_are_those_of_its_tree(self):
        prefix.register()
        file = prefix.folder / "velkpci.prom"
        for machine in MACHINES:
            if machine.stem in FAR:
                continue
            with self.subTest(machine=machine.stem):
                answer = prefix.velkpci("export", "--prometheus", file, machine=machine)
                gauges = dict(re.fullmatch(r"(\S.*) (\d+)", line).groups()
                              for line in file.read_text(encoding="utf-8").splitlines() if line[0] != "#")
                tree = prefix.velkpci("tree", "--json", machine=machine)
                document = tree.json()
                classes = document["classes"]
                slots = [slot for each in document["chassis"] for slot in each["slots"]] + document["slotsOutsideChassis"]
                counts = {name: told["count"] for name, told in classes.items()}
                self.assertEqual((answer.code, answer.errors), (tree.code, tree.errors))

                def total(gauge):
                    return sum(int(value) for name, value in gauges.items() if name.split("{")[0] == gauge)
                self.assertEqual(total("velk_pci_slots"), counts["Velk_PCISlot"])
                self.assertEqual(total("velk_pci_cards"), counts["Velk_PCICard"])
                self.assertEqual(total("velk_pci_slot_occupied"), sum(1 for slot in slots if slot["cards"]))
                self.assertEqual(total("velk_pci_slot_powered"), sum(1 for slot in slots if slot["powered"]))
                self.assertEqual(total("velk_pci_functions"), counts["Velk_PCIDevice"] + counts["Velk_PCIBridge"])
                self.assertEqual(total("velk_pci_class_up"),
                                 sum(told["status"]["code"] == 0 for told in classes.values()))

    def test_an_export_without_a_kind_or_a_place_is_refused(self):
        self.assertEqual(prefix.velkpci("export").code, 2)
        answer = prefix.velkpci("export", "--prometheus", prefix.folder / "none" / "velkpci.prom")
        self.assertEqual(answer.code, 2)
        self.assertIn("cannot be written", answer.errors)


if __name__ == "__main__":
    unittest.main()
