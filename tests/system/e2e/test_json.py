"""The documents that velkpci prints are those of docs/schema, for every command on every sample machine; and every
format of a command tells the same."""

import csv
import io
import json
import pathlib
import unittest

import jsonschema
import wine_prefix
from wine_prefix import FAR, MACHINES, ROOT, SERVER

BUILD = wine_prefix.build_folder()
SCHEMAS = {file.name.split(".")[0]: json.loads(file.read_text(encoding="utf-8"))
           for file in (ROOT / "docs" / "schema").glob("*.schema.json")}
CARD = 'Velk_PCICard.CreationClassName="Velk_PCICard",Tag="PCI Card {}"'

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-json")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


def bundled(kind: str) -> dict:
    """A schema with what it refers to in it: the ways to find a schema by name differ between the package's versions."""
    common = SCHEMAS["common"]
    schema = json.loads(json.dumps(SCHEMAS[kind]).replace(common["$id"] + "#", "#"))
    return {**schema, "$defs": {**common["$defs"], **schema.get("$defs", {})}}


VALIDATORS = {kind: jsonschema.Draft202012Validator(bundled(kind)) for kind in SCHEMAS}


def validate(document, kind: str):
    VALIDATORS[kind].validate(document)


class Schemas(unittest.TestCase):
    def test_schemas_are_schemas(self):
        self.assertEqual(set(SCHEMAS), {"common", "instances", "classes", "lines", "tree", "machine", "described-machine",
                                        "diff", "check"})
        for schema in SCHEMAS.values():
            jsonschema.Draft202012Validator.check_schema(schema)

    def test_a_document_with_a_member_too_many_or_too_few_is_refused(self):
        good = prefix.velkpci("list", "Velk_PCISlot", "--json").json()
        validate(good, "instances")
        for spoil in (lambda each: each.pop("failures"), lambda each: each.update(more=1),
                      lambda each: each["classes"]["Velk_PCISlot"].pop("status"),
                      lambda each: each["instances"][0].pop("path"), lambda each: each.update(version=2)):
            bad = json.loads(json.dumps(good))
            spoil(bad)
            with self.assertRaises(jsonschema.ValidationError):
                validate(bad, "instances")


class Documents(unittest.TestCase):
    def commands(self, machine: pathlib.Path):
        if machine == SERVER:  # what of all this no machine changes
            yield "classes", ("classes", "--all")
            yield "instances", ("list", "Velk_PCISlot", "--columns", "Tag,ConnectorLayout")
            yield "instances", ("list", "Velk_Nothing")
            yield "instances", ("query", "nonsense")
        yield "classes", ("classes",)
        yield "instances", ("list", "Velk_PCIDevice")
        yield "instances", ("query", "SELECT Tag FROM Velk_PCISlot")
        yield "instances", ("get", "Velk_PCISlot", CARD.format(1), CARD.format(99))
        if machine.stem not in FAR:
            yield "tree", ("tree",)
            yield "check", ("check",)
            yield "instances", ("dump",)
            yield "instances", ("associators", CARD.format(2))
            yield "instances", ("references", CARD.format(2))

    def test_every_command_on_every_machine_prints_its_document(self):
        for machine in MACHINES:
            for kind, words in self.commands(machine):
                with self.subTest(machine=machine.stem, words=words):
                    answer = prefix.velkpci(*words, "--json", machine=machine)
                    document = answer.json()
                    validate(document, kind)
                    failed = document["failed"] if kind == "check" else document["failures"]
                    self.assertEqual(answer.code, 1 if failed else 0)

    def test_every_line_on_every_machine_is_of_its_kind(self):
        for machine in MACHINES:
            of_any_machine = [("classes",), ("list", "Velk_Nothing")] if machine == SERVER else []
            for words in [("list", "Velk_PCICard"), ("query", "SELECT * FROM Velk_PCIDevice"), *of_any_machine]:
                with self.subTest(machine=machine.stem, words=words):
                    lines = prefix.velkpci(*words, "--ndjson", machine=machine).output.splitlines()
                    self.assertTrue(lines)
                    for line in lines:
                        validate(json.loads(line), "lines")
                    self.assertEqual(json.loads(lines[0])["line"], "document")


class Formats(unittest.TestCase):
    def test_csv_and_lines_tell_what_json_tells(self):
        told = prefix.velkpci("list", "Velk_PCISlot", "--json").json()["instances"]
        lines = map(json.loads, prefix.velkpci("list", "Velk_PCISlot", "--ndjson").output.splitlines())
        self.assertEqual([{key: value for key, value in each.items() if key != "line"}
                          for each in lines if each["line"] == "instance"], told)
        rows = list(csv.DictReader(io.StringIO(prefix.velkpci("list", "Velk_PCISlot", "--csv").output)))
        self.assertEqual([row["__PATH"] for row in rows], [each["path"] for each in told])
        for row, each in zip(rows, told):
            self.assertEqual(row["ConnectorLayout"], str(each["properties"]["ConnectorLayout"]))
            self.assertEqual(row["ConnectorLayout.name"], each["names"]["ConnectorLayout"])

    def test_tree_as_data_has_every_slot_card_and_function(self):
        tree = prefix.velkpci("tree", "--json").json()
        slots = [slot for chassis in tree["chassis"] for slot in chassis["slots"]] + tree["slotsOutsideChassis"]
        cards = [card for slot in slots for card in slot["cards"]] + tree["cardsOutsideSlots"]
        functions = [each for whole in cards + tree["buses"] for each in whole["functions"]]
        counts = {name: told["count"] for name, told in tree["classes"].items()}
        self.assertEqual((len(slots), len(cards), len(functions)),
                         (counts["Velk_PCISlot"], counts["Velk_PCICard"],
                          counts["Velk_PCIDevice"] + counts["Velk_PCIBridge"]))

    def test_columns_work_with_every_format(self):
        words = ("list", "Velk_PCISlot", "--columns", "poweredon,Tag")
        self.assertEqual(prefix.velkpci(*words, "--csv").output.splitlines()[0], "PoweredOn,Tag")
        for each in prefix.velkpci(*words, "--json").json()["instances"]:
            self.assertEqual(list(each["properties"]), ["PoweredOn", "Tag"])
        self.assertRegex(prefix.velkpci(*words).output, r"\APoweredOn +Tag\n")


class WithoutSuite(unittest.TestCase):
    """A machine that does not say that it has the suite shows what a real one without it shows."""

    def test_no_class_of_the_suite_is_invented(self):
        machine = {key: value for key, value in json.loads(SERVER.read_text(encoding="utf-8")).items()
                   if key not in ("suite", "objects")}
        alone = prefix.folder / "alone.json"
        alone.write_text(json.dumps(machine), encoding="utf-8")
        for words in (("classes", "--all"), ("tree",), ("dump",)):
            self.assertNotIn("Velk_ComputerSystemChassis", [
                name for name, told in self.told(prefix.velkpci(*words, "--json", machine=alone))
                if told != "WBEM_E_INVALID_CLASS"])
        with_option = prefix.velkpci("classes", "--standalone", "--json", machine=alone).json()
        self.assertIn("Velk_ComputerSystemChassis", [each["class"] for each in with_option["classes"]])

    @staticmethod
    def told(answer):
        document = answer.json()
        if document["document"] == "velkpci.classes":
            return [(each["class"], "") for each in document["classes"]]
        return [(name, each.get("status", {}).get("name")) for name, each in document["classes"].items()]


if __name__ == "__main__":
    unittest.main()
