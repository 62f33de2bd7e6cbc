"""One client on two services: Wine's own WMI with its root\\cimv2, and velkhost.dll with the shipped provider. Where the
two answer differently is what the page says, row by row, and nothing else."""

import re
import subprocess
import unittest

import wine_prefix
from wine_prefix import ROOT, SERVER

BUILD = wine_prefix.build_folder()
PAGE = ROOT / "docs" / "clients.md"
HEADING = "### The same client on both\n"
# Namespace, class, and properties of it that are text, number and boolean.
OURS = (r"root\VKQ", "Velk_PCISlot", "Tag", "Number", "SupportsHotPlug")
WINES = (r"root\cimv2", "Win32_Service", "Name", "ProcessId", "AcceptPause")
# For their types alone: classes with other ones.
MORE_OURS = (r"root\VKQ", "Velk_PCIDevice", "DeviceID", "BusNumber", "VendorID")
MORE_WINES = (r"root\cimv2", "Win32_Process", "Handle", "ProcessId", "ThreadCount")
TYPE = "VARIANT of CIM "

prefix = None


def setUpModule():
    version = subprocess.run([ROOT / "tools" / "wine-run", "--version"], capture_output=True, text=True).stdout.strip()
    if not version.startswith("wine-8."):
        raise unittest.SkipTest(f"the page tells of Wine 8, and this is {version}")
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-same-client")
    unittest.addModuleCleanup(prefix.remove)


def ask(words: tuple) -> dict:
    """What came of each operation."""
    answer = prefix.wine(BUILD / "same_client.exe", *words)
    return dict(line.split("\t") for line in answer.output.splitlines())


def operations(answers: dict) -> dict:
    return {operation: outcome for operation, outcome in answers.items() if not operation.startswith(TYPE)}


def types(*answers: dict) -> dict:
    return {operation: outcome for each in answers for operation, outcome in each.items() if operation.startswith(TYPE)}


def page_rows() -> dict:
    """The outcomes of each operation that the page's table has: Wine's and the host's."""
    section = PAGE.read_text(encoding="utf-8").partition(HEADING)[2].partition("\n#")[0]
    rows = {}
    for line in re.findall(r"^\| `.*$", section, re.MULTILINE):
        told, wine, host, reason = (cell.strip() for cell in line.strip("|").split("|"))
        assert reason, line
        for operation in re.findall(r"`([^`]+)`", told):
            assert operation not in rows, operation
            rows[operation] = (wine.strip("`"), host.strip("`"))
    return rows


class SameClient(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.wine, cls.more_wine = ask(WINES), ask(MORE_WINES)
        prefix.register()
        prefix.register("velkhost.dll")
        prefix.environment["VELKHOST_MACHINE"] = f"Z:{SERVER}"
        cls.addClassCleanup(prefix.environment.clear)
        cls.host, cls.more_host = ask(OURS), ask(MORE_OURS)

    def test_both_were_asked_the_same(self):
        self.assertEqual(list(operations(self.wine)), list(operations(self.host)))
        self.assertGreater(len(operations(self.host)), 150)

    def test_disagreements_are_those_of_the_page(self):
        wine, host = operations(self.wine), operations(self.host)
        self.assertEqual({each: (wine[each], host[each]) for each in wine if wine[each] != host[each]}, page_rows())

    def test_types_come_in_the_same_variants(self):
        wine, host = types(self.wine, self.more_wine), types(self.host, self.more_host)
        # Text, boolean, uint32.
        shared = [TYPE + each for each in ("8", "11", "19")]
        self.assertEqual([wine[each] for each in shared], [host[each] for each in shared])
        self.assertEqual({each: wine[each] for each in wine.keys() & host.keys()},
                         {each: host[each] for each in wine.keys() & host.keys()})


if __name__ == "__main__":
    unittest.main()
