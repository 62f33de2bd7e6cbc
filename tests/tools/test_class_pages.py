"""The class pages in docs/classes and the MOF tell the same: every class has its page, and the page's text, properties,
types, keys, value names and example are those of the class."""

import pathlib
import re
import unittest
from dataclasses import dataclass, field

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"
PAGES = DOCS / "classes"
NEVER_WRITTEN = "Not filled in by this provider."
HEADINGS = ["Properties", "Value names", "Keys and path", "Example", "PowerShell and WQL", "Cost", "Limits"]


# The MOF, as far as the shipped files go.

@dataclass
class Property:
    name: str
    kind: str
    qualifiers: dict

    @property
    def is_key(self):
        return "Key" in self.qualifiers

    @property
    def is_written(self):
        return self.description != NEVER_WRITTEN

    @property
    def description(self):
        return self.qualifiers["Description"]

    @property
    def value_names(self):
        return list(zip(self.qualifiers.get("ValueMap", []), self.qualifiers.get("Values", [])))


@dataclass
class MofClass:
    name: str
    qualifiers: dict
    properties: list = field(default_factory=list)

    @property
    def written(self):
        return [each for each in self.properties if each.is_written]


STRING = r'"(?:[^"\\]|\\.)*"'
STRINGS = rf"{STRING}(?:\s*{STRING})*"
QUALIFIER = re.compile(rf"(\w+)\s*(?:\(\s*({STRINGS})\s*\)|{{\s*((?:{STRINGS}\s*,?\s*)*)}})?")
QUALIFIERS = rf"\[((?:{STRING}|[^\]\"])*)\]"
CLASS = re.compile(rf"{QUALIFIERS}\s*class\s+(\w+)\s*{{(.*?)\n}};", re.DOTALL)
PROPERTY = re.compile(rf"{QUALIFIERS}\s*(\w+(?:\s+ref)?)\s+(\w+)\s*(\[\])?\s*;", re.DOTALL)


def unquote(literals: str) -> str:
    """Adjacent literals as the one text that they make."""
    return "".join(re.sub(r"\\(.)", r"\1", each[1:-1]) for each in re.findall(STRING, literals))


def read_qualifiers(text: str) -> dict:
    qualifiers = {}
    for name, value, array in QUALIFIER.findall(text):
        if array:
            qualifiers[name] = [unquote(each) for each in re.findall(STRINGS, array)]
        else:
            qualifiers[name] = unquote(value) if value else True
    return qualifiers


def read_mof(path: pathlib.Path) -> dict:
    text = re.sub(rf"({STRING})|//[^\n]*", lambda match: match[1] or "", path.read_text(encoding="utf-8"))
    classes = {}
    for qualifiers, name, body in CLASS.findall(text):
        classes[name] = MofClass(name, read_qualifiers(qualifiers), [
            Property(property_name, " ".join(kind.split()) + array, read_qualifiers(own))
            for own, kind, property_name, array in PROPERTY.findall(body)])
    return classes


# A page, by its headings.

class Page:
    def __init__(self, path: pathlib.Path):
        text = path.read_text(encoding="utf-8")
        head, *sections = re.split(r"^## ", text, flags=re.MULTILINE)
        title, *paragraphs = [" ".join(each.split()) for each in head.strip().split("\n\n")]
        self.title = title.removeprefix("# ")
        self.first_paragraph = paragraphs[0] if paragraphs else ""
        self.headings = [each.splitlines()[0] for each in sections]
        self.sections = {each.splitlines()[0]: "\n".join(each.splitlines()[1:]) for each in sections}
        self.text = text

    def table(self) -> list:
        """The rows below the header of the table of properties."""
        rows = [[cell.strip() for cell in line.strip("|").split("|")]
                for line in self.sections["Properties"].splitlines() if line.startswith("|")]
        return rows[2:]

    def block(self, heading: str) -> list:
        """The lines of the section's first block of code."""
        return re.search(r"```\w*\n(.*?)\n```", self.sections[heading], re.DOTALL)[1].splitlines()

    def value_names(self) -> dict:
        names = {}
        for name, entries in re.findall(r"^- `(\w+)`: (.+?)\.$", self.sections.get("Value names", ""), re.M | re.S):
            names[name] = [tuple(entry.split(" = ", 1)) for entry in " ".join(entries.split()).split("; ")]
        return names

    def never_written(self) -> list:
        match = re.search(r"^Never written, always null: (.+?)\.$", self.sections["Properties"], re.M | re.S)
        return re.findall(r"`(\w+)`", match[1]) if match else []


CLASSES = read_mof(ROOT / "mof" / "VelkWmiPci.mof")
SUITE_CLASSES = read_mof(ROOT / "mof" / "standalone.mof")


class MofReader(unittest.TestCase):
    def test_reads_every_class_of_the_file(self):
        text = (ROOT / "mof" / "VelkWmiPci.mof").read_text(encoding="utf-8")
        self.assertEqual(list(CLASSES), re.findall(r"^class (\w+)", text, re.MULTILINE))
        self.assertEqual(len(CLASSES), 10)

    def test_reads_every_property_of_the_file(self):
        text = (ROOT / "mof" / "VelkWmiPci.mof").read_text(encoding="utf-8")
        declared = re.findall(r"^    \w+(?: ref)? (\w+)(?:\[\])?;$", text, re.MULTILINE)
        self.assertEqual([each.name for one in CLASSES.values() for each in one.properties], declared)

    def test_joins_literals_and_reads_arrays(self):
        layout = next(each for each in CLASSES["Velk_PCISlot"].properties if each.name == "ConnectorLayout")
        self.assertIn("A PCI Express slot of another width", layout.description)
        self.assertEqual(layout.value_names[23], ("23", "PCI-E x16"))
        self.assertEqual(len(layout.qualifiers["ValueMap"]), len(layout.qualifiers["Values"]))


class ClassPages(unittest.TestCase):
    def check_each_page(self, check):
        for name, mof_class in CLASSES.items():
            with self.subTest(page=name):
                check(mof_class, Page(PAGES / f"{name}.md"))

    def test_every_class_has_a_page_and_every_page_a_class(self):
        self.assertEqual(sorted(path.stem for path in PAGES.glob("*.md")), sorted(CLASSES))

    def test_pages_follow_the_template(self):
        def check(mof_class, page):
            self.assertEqual(page.title, mof_class.name)
            has_names = any(each.value_names for each in mof_class.written)
            self.assertEqual(page.headings, [each for each in HEADINGS if has_names or each != "Value names"])
        self.check_each_page(check)

    def test_first_paragraph_is_the_description_of_the_class(self):
        def check(mof_class, page):
            self.assertEqual(page.first_paragraph, mof_class.qualifiers["Description"])
        self.check_each_page(check)

    def test_table_lists_the_properties_that_carry_values(self):
        def check(mof_class, page):
            self.assertEqual(page.table(), [[f"`{each.name}`", each.kind, "key" if each.is_key else "",
                                             each.description] for each in mof_class.written])
        self.check_each_page(check)

    def test_never_written_properties_are_named(self):
        def check(mof_class, page):
            self.assertEqual(page.never_written(), [each.name for each in mof_class.properties if not each.is_written])
        self.check_each_page(check)

    def test_value_names_are_those_of_the_value_maps(self):
        def check(mof_class, page):
            self.assertEqual(page.value_names(),
                             {each.name: each.value_names for each in mof_class.written if each.value_names})
        self.check_each_page(check)

    def test_path_form_names_the_keys(self):
        def check(mof_class, page):
            (path,) = page.block("Keys and path")
            class_name, keys = path.split(".", 1)
            self.assertEqual(class_name, mof_class.name)
            # A value may hold a path with keys of its own, whose quotes are escaped.
            outer = re.sub(r'"(?:[^"\\]|\\.)*"', '""', keys)
            self.assertEqual(re.findall(r'(\w+)=""', outer), [each.name for each in mof_class.properties if each.is_key])
        self.check_each_page(check)

    def test_example_shows_the_properties_with_their_value_names(self):
        def check(mof_class, page):
            lines = [line.split(maxsplit=1) for line in page.block("Example")]
            self.assertEqual([name for name, _ in lines], [each.name for each in mof_class.written])
            for shown, (name, value) in zip(mof_class.written, lines):
                names = dict(shown.value_names)
                for number, of_number in re.findall(r"(\d+) \((.+?)\)[,}]?", value) if names else []:
                    self.assertEqual(of_number, names.get(number), name)
        self.check_each_page(check)

    def test_commands_name_only_classes_that_exist(self):
        known = set(CLASSES) | set(SUITE_CLASSES)
        for document in DOCS.rglob("*.md"):
            for block in re.findall(r"```powershell\n(.*?)\n```", document.read_text(encoding="utf-8"), re.DOTALL):
                with self.subTest(document=document.name):
                    self.assertLessEqual(set(re.findall(r"\bVelk_\w+", block)), known)

    def test_index_tells_every_class(self):
        index = (DOCS / "README.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| \[`(\w+)`\]\(classes/(\w+)\.md\) \| (.+?) \|$", index, re.MULTILINE)
        self.assertEqual(rows, [(name, name, each.qualifiers["Description"]) for name, each in CLASSES.items()])


if __name__ == "__main__":
    unittest.main()
