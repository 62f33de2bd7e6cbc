"""How velkpci ends and what it leaves open: Ctrl-C, pipes that end with the program, standard input as the password."""

import os
import pathlib
import signal
import subprocess
import time
import unittest

import wine_prefix
from wine_prefix import ROOT

BUILD = wine_prefix.build_folder()
SLOW = ("--machine", ROOT / "machines" / "slot-id-zero.json", "--verbose", "list", "Velk_PCISlotElementLocation")

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-streams")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


def start(*arguments, **streams) -> subprocess.Popen:
    command = [ROOT / "tools" / "wine-run", prefix.folder, prefix.build / "velkpci.exe", *arguments]
    return subprocess.Popen(command, **{"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE,
                                        "stderr": subprocess.PIPE, **streams})


def holders(pipe: str) -> list:
    """The other processes that have a pipe open."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            open_files = [os.readlink(each) for each in (process / "fd").iterdir()]
        except OSError:
            continue
        if pipe in open_files and process.name != str(os.getpid()):
            found.append((process / "cmdline").read_text())
    return found


class Streams(unittest.TestCase):
    def test_pipes_end_with_the_program_in_a_prefix_that_has_to_be_started(self):
        prefix.end_server()
        program = start("--help")
        pipes = [os.readlink(f"/proc/self/fd/{each.fileno()}") for each in (program.stdout, program.stderr)]
        output, _ = program.stdout.read(), program.wait(timeout=300)
        self.assertIn(b"Exit codes: ", output)
        self.assertEqual([holders(each) for each in pipes], [[], []])
        program.stdout.close()
        program.stderr.close()

    def test_control_c_ends_at_once_with_130(self):
        program = start(*SLOW)
        # "still reading": the provider is at work.
        while b"still reading" not in program.stderr.readline():
            self.assertIsNone(program.poll(), "it ended before it could be interrupted")
        asked = time.monotonic()
        program.send_signal(signal.SIGINT)
        self.assertEqual(program.wait(timeout=300), 130)
        self.assertLess(time.monotonic() - asked, 10)
        program.stdout.close()
        program.stderr.close()

    def test_password_is_read_from_standard_input_and_never_shown(self):
        program = start("--computer", "elsewhere", "--user", "me", "tree", stdin=subprocess.PIPE)
        output, errors = program.communicate(b"s3cret\r\n", timeout=300)
        self.assertEqual((program.returncode, output), (1, b""))
        self.assertNotIn(b"s3cret", errors)
        self.assertRegex(errors.decode(), r"\Avelkpci: \\\\elsewhere\\root\\VKQ: .*\(0x[0-9A-F]{8}\).*\n\Z")


if __name__ == "__main__":
    unittest.main()
