"""The examples on the class pages are what the shipped DLL publishes of the sample server: the path on a page leads to
the instance that the page shows."""

import re
import unittest

import wine_prefix
from class_page import PAGES, Page
from wine_prefix import ROOT

BUILD = wine_prefix.build_folder()


def without_blanks(lines) -> list:
    return [re.sub(r"\s+", "", line) for line in lines]


def blocks_of(text: str) -> list:
    """The blocks of properties below their headings."""
    return [without_blanks(block.splitlines()[1:]) for block in text.strip().split("\n\n")]


class DocExamples(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        prefix = wine_prefix.Prefix(BUILD, "e2e-doc-examples")
        cls.addClassCleanup(prefix.remove)
        prefix.register()
        cls.pages = {path.stem: Page(path) for path in sorted(PAGES.glob("*.md"))}
        cls.paths = [page.block("Keys and path")[0] for page in cls.pages.values()]
        # The pages' order asks for a bridge before the slot, which therefore counts as powered, as in a dump.
        cls.got = prefix.velkpci("get", *cls.paths)
        cls.got_json = prefix.velkpci("get", *cls.paths, "--json")
        cls.dump = prefix.velkpci("dump", "--blocks")
        cls.tree = prefix.velkpci("tree")
        cls.listed = {name: prefix.velkpci("list", name, "--blocks") for name in cls.pages if name != "Velk_PCISlot"}

    def examples(self):
        return [without_blanks(page.block("Example")) for page in self.pages.values()]

    def test_paths_lead_to_their_examples(self):
        self.assertEqual((self.got.code, self.got.errors), (0, ""))
        found_blocks = blocks_of(self.got.output)
        self.assertEqual((len(self.pages), len(found_blocks)), (10, 10))
        for name, found, example in zip(self.pages, found_blocks, self.examples()):
            with self.subTest(page=name):
                self.assertEqual(found, example)

    def test_paths_are_those_of_the_instances(self):
        self.assertEqual(self.got_json.code, 0)
        for name, found, path in zip(self.pages, self.got_json.json()["instances"], self.paths):
            with self.subTest(page=name):
                self.assertEqual(found["path"], f"\\\\RACK17\\root\\VKQ:{path}")

    def test_examples_are_printed_by_the_command_that_the_page_names(self):
        for (name, page), example in zip(self.pages.items(), self.examples()):
            with self.subTest(page=name):
                words = " ".join(page.sections["Example"].split())
                command = re.search(r"as `\./run (\w+(?: \w+)?) --blocks` prints it", words)[1]
                answer = self.dump if command == "dump" else self.listed[command.removeprefix("list ")]
                self.assertEqual(answer.code, 0)
                self.assertIn(example, blocks_of(answer.output))

    def test_readme_shows_the_tree_as_it_is_printed(self):
        """Line by line, but for places that are marked by three dots."""
        shown = re.search(r"^```\n(Computer .*?)^```", (ROOT / "README.md").read_text(encoding="utf-8"), re.M | re.S)[1]
        printed = iter(self.tree.output.splitlines())
        may_skip = False
        for line in shown.splitlines():
            if line.endswith("..."):
                may_skip = True
                continue
            found = next(printed, None)
            while may_skip and found not in (line, None):
                found = next(printed, None)
            self.assertEqual(found, line)
            may_skip = False


if __name__ == "__main__":
    unittest.main()
