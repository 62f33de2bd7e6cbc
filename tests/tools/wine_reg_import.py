"""machine-to-reg's file, as regedit takes it into a build's Wine prefix (BUILD_DIR is its argument)."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
ENUM_PCI = r"HKLM\System\CurrentControlSet\Enum\PCI"
BUILD = sys.argv.pop()


def wine(*arguments) -> str:
    done = subprocess.run([ROOT / "tools" / "wine-run", BUILD, *arguments], check=True, capture_output=True, timeout=300)
    return done.stdout.decode("utf-8", errors="replace").replace("\r", "")


class RegImport(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        # What the prefix held comes back afterwards.
        backup = f"Z:{self.folder}/backup.reg"
        wine("reg", "export", ENUM_PCI, backup, "/y")
        self.addCleanup(wine, "regedit", "/S", backup)
        self.addCleanup(wine, "reg", "delete", ENUM_PCI, "/f")

    def test_sample_server_is_taken_whole(self):
        target = self.folder / "server.reg"
        sample = ROOT / "machines" / "two-socket-rack-server.json"
        subprocess.run([sys.executable, "-B", ROOT / "tools" / "machine-to-reg", sample, target], check=True)
        wine("regedit", "/S", f"Z:{target}")
        stored = wine("reg", "query", ENUM_PCI, "/s")
        # Wine adds a display adapter of its own, without a location.
        self.assertEqual(stored.count("LocationInformation"), 32)
        self.assertEqual(stored.count("UINumber"), 11)
        self.assertIn("PCI bus 59, device 0, function 3", stored)
        self.assertIn(r"PCI\VEN_8086&DEV_1572&REV_02\0PCI\VEN_8086&DEV_1572\0", stored)


if __name__ == "__main__":
    unittest.main()
