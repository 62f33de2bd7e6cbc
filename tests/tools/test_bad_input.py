"""The tools name bad input in one line and end with 2, without a traceback and without a file."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools"


class BadInput(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.output = self.folder / "output"

    def refuse(self, tool: str, *arguments) -> str:
        """What the tool complains of."""
        done = subprocess.run([sys.executable, TOOLS / tool, *map(str, arguments)], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout), (2, ""), done.stderr)
        self.assertTrue(done.stderr.startswith(tool + ": "), done.stderr)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertFalse(self.output.exists())
        return done.stderr

    def write(self, text: str) -> pathlib.Path:
        file = self.folder / "input.json"
        file.write_text(text, encoding="utf-8")
        return file

    def test_a_missing_file_is_named(self):
        for arguments in (("compose-machine", "none.json", "-o", self.output),
                          ("machine-to-reg", "none.json", self.output)):
            self.assertIn("none.json: No such file", self.refuse(*arguments))

    def test_broken_json_is_named_with_its_place(self):
        broken = self.write('{"about":\n  }')
        for arguments in (("compose-machine", broken, "-o", self.output), ("machine-to-reg", broken, self.output)):
            self.assertIn(f"{broken}: line 2, column 3: ", self.refuse(*arguments))

    def test_another_kind_of_json_is_refused(self):
        for text in ("[]", '"text"', "5"):
            other = self.write(text)
            self.refuse("compose-machine", other, "-o", self.output)
            self.refuse("machine-to-reg", other, self.output)

    def test_a_missing_or_wrong_member_is_refused(self):
        self.assertIn("the member 'about' is missing", self.refuse("compose-machine", self.write("{}")))
        self.refuse("compose-machine", self.write('{"about": "", "functions": [{"at": "x"}]}'))
        self.refuse("machine-to-reg", self.write('{"devices": [{}]}'), self.output)
        self.refuse("machine-to-reg", self.write('{"devices": 5}'), self.output)

    def test_a_root_without_sys_and_proc_is_no_machine(self):
        self.assertIn("holds neither sys nor proc",
                      self.refuse("capture-linux", "--root", self.folder, "-o", self.output))
        self.refuse("capture-linux", "--root", self.folder / "none", "-o", self.output)


if __name__ == "__main__":
    unittest.main()
