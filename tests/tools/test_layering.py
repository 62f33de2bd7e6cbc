"""Who includes whom: arrows between rooms run one way, as docs/architecture.md draws them."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Each room of the product, with all that it may use.
PRODUCT = {
    "common": set(),
    "framework": {"common"},
    "pci": {"common", "framework"},
    "smbios": {"common", "framework"},
    "slots": {"common", "framework", "pci", "smbios"},
    "assoc": {"common", "framework", "pci", "smbios", "slots"},
    "module": {"common", "framework", "pci", "smbios", "slots", "assoc"},
}
# Folders that use only those before them.
HOST = ["com", "mof", "path", "model", "services", "machine", "server"]
TOOL = ["basics", "source", "inventory", "check", "view", "capture", "compare", "setup", "app", "commands"]
# What else they use: rooms of the product, and of the module the CLSIDs, which are the DLL's contract.
HOST_BESIDES = {"common"}
TOOL_BESIDES = {"host", "common", "smbios", "module/identifiers.h"}
# What the tests' stand-ins are put in place with.
SUPPORT_BESIDES = {"host/import_redirect.h"}
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)


def includes(folder: pathlib.Path):
    """Every inclusion of a file of ours below a folder: the file, and what it includes by its path."""
    for file in sorted(folder.rglob("*")):
        if file.suffix in (".h", ".cpp"):
            for path in INCLUDE.findall(file.read_text(encoding="utf-8")):
                yield file.relative_to(ROOT), path


class Layering(unittest.TestCase):
    def assert_one_way(self, top: str, order: list, besides: set):
        found = 0
        for file, path in includes(ROOT / top):
            own, used = file.parts[1], path.split("/")
            with self.subTest(file=str(file), includes=path):
                if used[0] != top:
                    self.assertTrue(used[0] in besides or path in besides)
                elif own in order and len(used) > 2:
                    found += 1
                    self.assertLessEqual(order.index(used[1]), order.index(own))
        self.assertGreater(found, 50)

    def test_rooms_of_the_product_use_only_those_below_them(self):
        self.assertEqual({each.name for each in (ROOT / "src").iterdir() if each.is_dir()}, set(PRODUCT))
        found = 0
        for file, path in includes(ROOT / "src"):
            own, used = file.parts[1], path.split("/")[0]
            with self.subTest(file=str(file), includes=path):
                found += 1
                self.assertIn(used, PRODUCT[own] | {own})
        self.assertGreater(found, 200)

    def test_folders_of_the_host_use_only_those_before_them(self):
        self.assertEqual({each.name for each in (ROOT / "host").iterdir() if each.is_dir()}, set(HOST))
        self.assert_one_way("host", HOST, HOST_BESIDES)

    def test_folders_of_the_program_use_only_those_before_them(self):
        self.assertEqual({each.name for each in (ROOT / "tool").iterdir() if each.is_dir()}, set(TOOL))
        self.assert_one_way("tool", TOOL, TOOL_BESIDES)

    def test_what_tests_share_knows_the_host_in_one_folder_alone(self):
        shared = [(file, path) for file, path in includes(ROOT / "tests" / "support") if "hosted" not in file.parts]
        self.assertGreater(len(shared), 20)
        for file, path in shared:
            with self.subTest(file=str(file), includes=path):
                self.assertFalse(path.startswith(("host/", "support/hosted/")) and path not in SUPPORT_BESIDES)

    def test_the_page_names_the_folders_in_their_order(self):
        page = (ROOT / "docs" / "architecture.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| `(\w+)` \|", page, re.MULTILINE)
        for order in (list(PRODUCT), HOST, TOOL):
            at = rows.index(order[0])
            self.assertEqual(rows[at:at + len(order)], order)


if __name__ == "__main__":
    unittest.main()
