"""What is in the package, without Windows or Wine: its tables, its pages, its sums, and what is signed."""

import hashlib
import html.parser
import os
import re
import shlex
import subprocess
import unittest

import package_case
from package_case import BUILD, ROOT, WORK, fresh_work_folder, make_older_package, make_package, table

# The type of a custom action that is run to undo.
ROLLBACK = 0x100
CHECKED = 0x40  # set: its result is ignored


class Page(html.parser.HTMLParser):
    """The links and the anchors of a page, and what it loads."""

    def __init__(self, file):
        super().__init__()
        self.links, self.anchors, self.loaded = [], set(), []
        self.feed(file.read_text("utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if "id" in values:
            self.anchors.add(values["id"])
        if tag == "a":
            self.links.append(values["href"])
        self.loaded += [values[name] for name in ("src",) if name in values] + [tag] * (tag in ("script", "link"))


class Contents(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        fresh_work_folder()
        # A signer that notes what it is given and changes it.
        signer = WORK / "sign"
        signer.write_text(f'#!/bin/sh\nbasename "$1" >>"{WORK}/signed"\ncase $1 in *.msi) ;; *) printf signed >>"$1";; esac\n')
        signer.chmod(0o755)
        os.environ["VELK_SIGN"] = shlex.quote(str(signer))
        cls.addClassCleanup(os.environ.pop, "VELK_SIGN")
        cls.package = make_package(BUILD, "current")
        cls.signed = (WORK / "signed").read_text().split()
        cls.older = make_older_package()
        cls.files = WORK / "extracted"
        subprocess.run(["msiextract", "-C", cls.files, cls.package], check=True, stdout=subprocess.DEVNULL)
        cls.docs = next(cls.files.rglob("docs"))

    def properties(self):
        return dict(table(self.package, "Property"))

    def test_installer_knows_the_version_of_dll_and_program(self):
        rows = {row[0]: row for row in table(self.package, "File")}
        hashed = {row[0] for row in table(self.package, "MsiFileHash")}
        for file in ("Provider", "Program"):
            self.assertEqual(rows[file][4:6], [self.properties()["ProductVersion"] + ".0", "1033"])
            self.assertNotIn(file, hashed)

    def test_what_is_undone_is_undone_at_rollback_alone(self):
        for action, kind, *_ in table(self.package, "CustomAction"):
            self.assertEqual(bool(int(kind) & ROLLBACK), action.startswith("Undo"), action)

    def test_a_compiler_that_fails_fails_the_installation_unless_told_otherwise(self):
        kinds = {action: int(kind) for action, kind, *_ in table(self.package, "CustomAction")}
        self.assertFalse(kinds["CompileMof"] & CHECKED)
        self.assertTrue(kinds["CompileMofOrGoOn"] & CHECKED)
        conditions = {action: condition for action, condition, _ in table(self.package, "InstallExecuteSequence")}
        self.assertEqual(conditions["CompileMof"], 'NOT REMOVE~="ALL" AND NOT MOFERRORS')
        self.assertEqual(conditions["CompileMofOrGoOn"], 'NOT REMOVE~="ALL" AND MOFERRORS')

    def test_every_action_that_changes_the_machine_follows_what_undoes_it(self):
        sequence = {action: int(number) for action, _, number in table(self.package, "InstallExecuteSequence") if number}
        for undo, action in (("UndoTakeover", "UndoRegister"), ("UndoRegister", "Register"),
                             ("UndoCompileMof", "CompileMof"), ("UndoRemoveMof", "RemoveMof"),
                             ("UndoUnregister", "Unregister")):
            self.assertLess(sequence[undo], sequence[action])

    def test_no_class_is_deleted_while_a_newer_version_takes_over(self):
        conditions = {action: condition for action, condition, _ in table(self.package, "InstallExecuteSequence")}
        self.assertEqual(conditions["RemoveMof"], 'REMOVE~="ALL" AND NOT UPGRADINGPRODUCTCODE')

    def test_windows_is_never_restarted_unasked(self):
        self.assertEqual(self.properties()["REBOOT"], "ReallySuppress")

    def test_properties_reach_an_installation_that_is_raised_to_the_systems_rights(self):
        secure = self.properties()["SecureCustomProperties"].split(";")
        searched = [row[6] for row in table(self.package, "Upgrade")]
        self.assertEqual(sorted(secure),
                         sorted(["INSTALLFOLDER", "MODERNSLOTTYPES", "MOFERRORS", "STANDALONECLASSES", *searched]))
        found = {row[0] for row in table(self.package, "AppSearch")}
        self.assertFalse(found & set(secure), "a user must not name the DLL that the system account registers")

    def test_versions_share_the_upgrade_code_alone(self):
        current, older = (dict(table(package, "Property")) for package in (self.package, self.older))
        self.assertEqual(current["UpgradeCode"], older["UpgradeCode"])
        self.assertNotEqual(current["ProductCode"], older["ProductCode"])

    def test_pages_name_the_codes_of_this_version(self):
        page = (ROOT / "docs" / "install.md").read_text("utf-8")
        for name in ("ProductCode", "UpgradeCode"):
            self.assertIn(self.properties()[name], page)

    def test_every_name_has_a_short_one_of_its_own(self):
        folders = {row[0]: row[2] for row in table(self.package, "Component")}
        taken = set()
        for _, component, name, *_ in table(self.package, "File"):
            short = name.split("|")[0]
            self.assertRegex(short, r"^[A-Za-z0-9_~-]{1,8}(\.[A-Za-z0-9_~-]{1,3})?$")
            self.assertNotIn((folders[component], short.upper()), taken)
            taken.add((folders[component], short.upper()))

    def test_every_column_of_every_table_is_in_the_validation_table(self):
        known = {(row[0], row[1]) for row in table(self.package, "_Validation")}
        names = subprocess.run(["msiinfo", "tables", self.package], check=True, capture_output=True, text=True).stdout
        for name in names.split():
            if name in ("_SummaryInformation", "_ForceCodepage"):
                continue
            head = subprocess.run(["msiinfo", "export", self.package, name], check=True, capture_output=True).stdout
            for column in head.decode("cp1252").split("\r\n")[0].split("\t"):
                self.assertIn((name, column), known)

    def test_every_link_of_every_page_leads_somewhere(self):
        pages = {path: Page(path) for path in self.docs.rglob("*.html")}
        self.assertIn(self.docs / "install.html", pages)
        for path, page in pages.items():
            self.assertEqual(page.loaded, [], f"{path} loads something")
            for link in page.links:
                if re.match(r"[a-z]+:", link):
                    continue
                name, _, anchor = link.partition("#")
                target = (path.parent / name).resolve() if name else path
                self.assertTrue(target.is_file(), f"{path.name}: {link}")
                if anchor:
                    self.assertIn(anchor, pages[target].anchors, f"{path.name}: {link}")

    def test_dll_program_and_package_are_signed(self):
        self.assertEqual(self.signed, ["VelkWmiPci.dll", "velkpci.exe", self.package.name])

    def test_sums_are_of_what_is_handed_out(self):
        sums = (self.package.parent / "SHA256SUMS").read_text().splitlines()
        self.assertEqual(sums, [f"{hashlib.sha256(self.package.read_bytes()).hexdigest()}  {self.package.name}"])

    def test_installed_sums_are_those_of_the_signed_files(self):
        folder = self.docs.parent
        lines = (folder / "SHA256SUMS").read_text("utf-8").splitlines()
        self.assertEqual(lines, sorted((
            f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.relative_to(folder).as_posix()}"
            for path in folder.rglob("*") if path.is_file() and path.name != "SHA256SUMS"), key=lambda line: line[66:]))


if __name__ == "__main__":
    package_case.main()
