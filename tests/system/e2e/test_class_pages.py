"""The class pages in docs/classes and the classes tell the same: every class of the provider has its page, and the page's
text, properties, types, keys, value names and example are those that velkpci reads."""

import re
import unittest
from dataclasses import dataclass

import wine_prefix
from class_page import DOCS, PAGES, Page

BUILD = wine_prefix.build_folder()
NEVER_WRITTEN = "Not filled in by this provider."
HEADINGS = ["Properties", "Value names", "Keys and path", "Example", "PowerShell and WQL", "Cost", "Limits"]


@dataclass
class Property:
    name: str
    type: str
    qualifiers: dict

    @property
    def kind(self) -> str:
        """Its type as MOF writes it, with the class that a reference leads to."""
        if self.type != "ref":
            return self.type
        leads_to = self.qualifiers["CIMTYPE"].partition(":")[2]
        return f"{leads_to or 'object'} ref"

    @property
    def is_key(self) -> bool:
        return "Key" in self.qualifiers

    @property
    def is_written(self) -> bool:
        return self.description != NEVER_WRITTEN

    @property
    def description(self) -> str:
        return self.qualifiers["Description"]

    @property
    def value_names(self) -> list:
        return list(zip(self.qualifiers.get("ValueMap", []), self.qualifiers.get("Values", [])))


class ClassOfProvider:
    def __init__(self, told: dict):
        self.name = told["class"]
        self.description = told["qualifiers"]["Description"]
        self.properties = [Property(**each) for each in told["properties"]]
        self.written = [each for each in self.properties if each.is_written]


class ClassPages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        prefix = wine_prefix.Prefix(BUILD, "e2e-class-pages")
        cls.addClassCleanup(prefix.remove)
        prefix.register()
        told = prefix.velkpci("classes", "--all", "--json").json()["classes"]
        cls.known = {each["class"] for each in told}
        cls.classes = {each["class"]: ClassOfProvider(each) for each in told if each["provider"] is not None}

    def check_each_page(self, check):
        for name, of_provider in self.classes.items():
            with self.subTest(page=name):
                check(of_provider, Page(PAGES / f"{name}.md"))

    def test_the_classes_are_those_of_the_provider(self):
        self.assertEqual(sorted(self.classes), wine_prefix.CLASSES)

    def test_every_class_has_a_page_and_every_page_a_class(self):
        self.assertEqual(sorted(path.stem for path in PAGES.glob("*.md")), sorted(self.classes))

    def test_pages_follow_the_template(self):
        def check(of_provider, page):
            self.assertEqual(page.title, of_provider.name)
            has_names = any(each.value_names for each in of_provider.written)
            self.assertEqual(page.headings, [each for each in HEADINGS if has_names or each != "Value names"])
        self.check_each_page(check)

    def test_first_paragraph_is_the_description_of_the_class(self):
        def check(of_provider, page):
            self.assertEqual(page.first_paragraph, of_provider.description)
        self.check_each_page(check)

    def test_table_lists_the_properties_that_carry_values(self):
        def check(of_provider, page):
            self.assertEqual(page.table(), [[f"`{each.name}`", each.kind, "key" if each.is_key else "",
                                             each.description] for each in of_provider.written])
        self.check_each_page(check)

    def test_never_written_properties_are_named(self):
        def check(of_provider, page):
            self.assertEqual(page.never_written(), [each.name for each in of_provider.properties if not each.is_written])
        self.check_each_page(check)

    def test_value_names_are_those_of_the_value_maps(self):
        def check(of_provider, page):
            self.assertEqual(page.value_names(),
                             {each.name: each.value_names for each in of_provider.written if each.value_names})
        self.check_each_page(check)

    def test_path_form_names_the_keys(self):
        def check(of_provider, page):
            (path,) = page.block("Keys and path")
            class_name, keys = path.split(".", 1)
            self.assertEqual(class_name, of_provider.name)
            # A value may hold a path with keys of its own, whose quotes are escaped.
            outer = re.sub(r'"(?:[^"\\]|\\.)*"', '""', keys)
            self.assertEqual(re.findall(r'(\w+)=""', outer), [each.name for each in of_provider.properties if each.is_key])
        self.check_each_page(check)

    def test_example_shows_the_properties_with_their_value_names(self):
        def check(of_provider, page):
            lines = [line.split(maxsplit=1) for line in page.block("Example")]
            self.assertEqual([name for name, _ in lines], [each.name for each in of_provider.written])
            for shown, (name, value) in zip(of_provider.written, lines):
                names = dict(shown.value_names)
                for number, of_number in re.findall(r"(\d+) \((.+?)\)[,}]?", value) if names else []:
                    self.assertEqual(of_number, names.get(number), name)
        self.check_each_page(check)

    def test_commands_name_only_classes_that_exist(self):
        for document in DOCS.rglob("*.md"):
            for block in re.findall(r"```powershell\n(.*?)\n```", document.read_text(encoding="utf-8"), re.DOTALL):
                with self.subTest(document=document.name):
                    self.assertLessEqual(set(re.findall(r"\bVelk_\w+", block)), self.known)

    def test_index_tells_every_class(self):
        index = (DOCS / "README.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| \[`(\w+)`\]\(classes/(\w+)\.md\) \| (.+?) \|$", index, re.MULTILINE)
        self.assertEqual(sorted(rows), sorted((name, name, each.description) for name, each in self.classes.items()))


if __name__ == "__main__":
    unittest.main()
