"""What `velkpci report` writes, apart from how a browser shows it: the picture of the README, and files."""

import unittest
import xml.etree.ElementTree

import wine_prefix
from wine_prefix import FAR, MACHINES, ROOT, SERVER

BUILD = wine_prefix.build_folder()
PICTURE = ROOT / "docs" / "sample-server.svg"
SVG = "{http://www.w3.org/2000/svg}"

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-report")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


class Picture(unittest.TestCase):
    maxDiff = None

    def test_the_picture_of_the_readme_is_what_the_program_makes(self):
        made = prefix.folder / "made.svg"
        answer = prefix.velkpci("report", "--svg", made)
        self.assertEqual((answer.code, answer.output, answer.errors), (0, "", ""))
        self.assertEqual(made.read_text(encoding="utf-8"), PICTURE.read_text(encoding="utf-8"),
                         "make it again: ./run report --svg docs/sample-server.svg")
        self.assertIn(f"(docs/{PICTURE.name})", (ROOT / "README.md").read_text(encoding="utf-8"))

    def test_every_machine_has_a_drawing_with_each_of_its_slots(self):
        for machine in MACHINES:
            if machine.stem in FAR:
                continue
            with self.subTest(machine=machine.stem):
                file = prefix.folder / "machine.svg"
                answer = prefix.velkpci("report", "--svg", file, machine=machine)
                slots = prefix.velkpci("list", "Velk_PCISlot", "--json", machine=machine).json()["instances"]
                drawing = xml.etree.ElementTree.parse(file).getroot()
                numbers = [each.text for each in drawing.iter(f"{SVG}text") if each.get("class") == "number"]
                self.assertEqual(sorted(numbers), sorted(str(each["properties"]["Number"]) for each in slots))
                failures = [each.text for each in drawing.iter(f"{SVG}text") if each.get("class") == "failure"]
                self.assertEqual([f"velkpci: {each}" for each in failures], answer.errors.splitlines())
                self.assertEqual(answer.code, 1 if failures else 0)


class Files(unittest.TestCase):
    def test_a_place_that_cannot_be_written_is_named_in_one_line(self):
        place = prefix.folder / "nowhere" / "page.html"
        answer = prefix.velkpci("report", "--html", place)
        self.assertEqual((answer.code, answer.output), (2, ""))
        self.assertRegex(answer.errors, rf"\Avelkpci: [^\n]*{place.name}: cannot be written: [^\n]+\n\Z")

    def test_a_folder_in_the_files_place_stays_and_nothing_is_left_beside_it(self):
        folder = prefix.folder / "places"
        (folder / "page.html").mkdir(parents=True)
        answer = prefix.velkpci("report", "--html", folder / "page.html")
        self.assertEqual(answer.code, 2)
        self.assertIn("cannot be written", answer.errors)
        self.assertEqual([each.name for each in folder.iterdir()], ["page.html"])

    def test_a_report_replaces_the_one_before_and_leaves_nothing_beside_it(self):
        folder = prefix.folder / "again"
        folder.mkdir()
        (folder / "page.html").write_text("before", encoding="utf-8")
        answer = prefix.velkpci("report", "--html", folder / "page.html", "--svg", folder / "slots.svg")
        self.assertEqual((answer.code, answer.output, answer.errors), (0, "", ""))
        self.assertEqual(sorted(each.name for each in folder.iterdir()), ["page.html", "slots.svg"])
        self.assertTrue((folder / "page.html").read_bytes().startswith(b"<!DOCTYPE html>"))

    def test_a_report_of_nothing_is_a_wrong_word(self):
        answer = prefix.velkpci("report", machine=SERVER)
        self.assertEqual((answer.code, answer.output), (2, ""))
        self.assertEqual(answer.errors, "velkpci: report needs --html FILE, --svg FILE, or both\n")


if __name__ == "__main__":
    unittest.main()
