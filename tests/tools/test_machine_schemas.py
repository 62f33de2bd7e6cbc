"""The schemas of machine files: every machine of the tree fits, and the tools' own checker agrees with a whole one."""

import copy
import json
import pathlib
import sys
import unittest

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "lib"))

import command  # noqa: E402
import schema  # noqa: E402

FOLDERS = {"machine": ROOT / "machines", "described-machine": ROOT / "machines" / "described"}


def read(file: pathlib.Path) -> dict:
    return json.loads(file.read_text(encoding="utf-8"))


def places(value, path=()):
    """The path of every object in a document."""
    if isinstance(value, dict):
        yield path
    for key, member in value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ():
        yield from places(member, (*path, key))


class MachineSchemas(unittest.TestCase):
    def setUp(self):
        self.whole = {name: jsonschema.Draft202012Validator(read(schema.SCHEMAS / f"{name}.schema.json")) for name in FOLDERS}
        self.own = {name: schema.Schema(name) for name in FOLDERS}

    def refused(self, name: str, document) -> bool:
        """Whether the document is refused, by both checkers alike."""
        try:
            self.own[name].check(document, "file")
            is_refused = False
        except command.InputError:
            is_refused = True
        self.assertEqual(is_refused, not self.whole[name].is_valid(document))
        return is_refused

    def test_schemas_are_schemas(self):
        for validator in self.whole.values():
            jsonschema.Draft202012Validator.check_schema(validator.schema)

    def test_every_machine_of_the_tree_is_valid(self):
        for name, folder in FOLDERS.items():
            files = sorted(folder.glob("*.json"))
            self.assertGreaterEqual(len(files), 8)
            for file in files:
                with self.subTest(file=str(file.relative_to(ROOT))):
                    self.whole[name].validate(read(file))
                    self.own[name].check(read(file), file)

    def test_an_unknown_member_anywhere_is_refused(self):
        tried = 0
        for name, folder in FOLDERS.items():
            document = read(folder / "server-of-2024.json")
            for path in places(document):
                # An object's properties are those of its class, which the schema does not know.
                if "settings" in path or path[-1:] == ("properties",):
                    continue
                spoilt = copy.deepcopy(document)
                place = spoilt
                for key in path:
                    place = place[key]
                if place.get("kind") == "raw" or path == ("settings",):
                    continue
                place["unknown"] = 1
                with self.subTest(schema=name, path=path):
                    self.assertTrue(self.refused(name, spoilt))
                tried += 1
        self.assertGreater(tried, 60)

    def test_both_checkers_agree_on_odd_values(self):
        good = {"about": "", "functions": [{"at": "00:00.0", "id": "8086:1", "class": "060000"}]}
        self.assertFalse(self.refused("described-machine", good))
        for spoilt in ({}, [], {"about": 5}, {**good, "functions": {}}, {**good, "omit": ["Nothing"]},
                       {**good, "structures": []}, {**good, "settings": {"A": -1}}, {**good, "settings": {"A": {"type": 1}}},
                       {**good, "smbiosVersion": "3"}, {**good, "suite": 1},
                       {**good, "smbiosVersion": "3.0", "structures": [{"kind": "slot", "id": "XYZ"}]}):
            with self.subTest(spoilt=spoilt):
                self.assertTrue(self.refused("described-machine", spoilt))
        for spoilt in ({"devices": [5]}, {"devices": [{"UINumber": 4294967296}]}, {"devices": [{"UINumber": True}]},
                       {"smbios": {"version": "3.2"}}, {"smbios": {"version": "3.2", "hex": "", "base64": ""}},
                       {"smbios": {"version": "3.2", "hex": ["7g"]}}, {"computer": {"name": ""}},
                       {"devices": [{"raw": {"UINumber": {"type": "REG_X", "hex": ""}}}]}, {"objects": [{"class": "C"}]}):
            with self.subTest(spoilt=spoilt):
                self.assertTrue(self.refused("machine", spoilt))


if __name__ == "__main__":
    unittest.main()
