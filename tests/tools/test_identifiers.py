"""The replacement of identifiers in machine files, by the vectors that the program is held against, too."""

import json
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "lib"))

import identifiers  # noqa: E402

VECTORS = json.loads((ROOT / "tests" / "support" / "identifiers.json").read_text(encoding="utf-8"))


class Identifiers(unittest.TestCase):
    maxDiff = None

    def test_machines_become_those_of_the_vectors(self):
        self.assertGreaterEqual(len(VECTORS), 14)
        for case in VECTORS:
            with self.subTest(case["name"]):
                self.assertEqual(identifiers.replace(case["machine"]), case["replaced"])

    def test_replacing_again_changes_nothing(self):
        machines = [case["replaced"] for case in VECTORS]
        machines += [identifiers.replace(json.loads(file.read_text(encoding="utf-8")))
                     for file in sorted((ROOT / "machines").glob("*.json"))]
        for machine in machines:
            self.assertEqual(identifiers.replace(machine), machine)

    def test_a_table_keeps_its_length_and_its_structures(self):
        for file in sorted((ROOT / "machines").glob("*.json")):
            machine = json.loads(file.read_text(encoding="utf-8"))
            if "smbios" in machine:
                table = bytes.fromhex("".join(machine["smbios"]["hex"]))
                replaced = identifiers.replace_table(table, identifiers.Numbers())
                self.assertEqual(list(identifiers.structures(replaced)), list(identifiers.structures(table)))


if __name__ == "__main__":
    unittest.main()
