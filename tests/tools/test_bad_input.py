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
        (self.folder / "sys").mkdir()
        (self.folder / "proc").mkdir()
        self.assertIn("sys and proc hold nothing of a machine",
                      self.refuse("capture-linux", "--root", self.folder, "-o", self.output))

    def test_a_number_of_the_system_that_is_none_is_named(self):
        function = self.folder / "sys/bus/pci/devices/0000:00:00.0"
        function.mkdir(parents=True)
        (function / "vendor").write_bytes(b"\xff\xfe")
        self.assertIn("0000:00:00.0/vendor: a hexadecimal number is expected",
                      self.refuse("capture-linux", "--root", self.folder, "-o", self.output))

    def test_an_unwritable_place_is_named(self):
        description = self.write('{"about": ""}')
        (self.folder / "sys/bus/pci/devices").mkdir(parents=True)
        (self.folder / "sys/firmware/dmi/tables").mkdir(parents=True)
        (self.folder / "sys/firmware/dmi/tables/DMI").write_bytes(b"\x7f\x04\xfe\xff\0\0")
        for tool, *arguments in (("compose-machine", description), ("capture-linux", "--root", self.folder)):
            place = self.folder / "none" / "machine.json"
            self.assertIn(f"{place}: No such file", self.refuse(tool, *arguments, "-o", place))

    def test_an_unknown_member_is_named_with_its_place(self):
        for text, place in (('{"about": "", "function": []}', "$.function"),
                            ('{"about": "", "functions": [{"at": "00:00.0", "id": "1:2", "class": "060000", "slto": 1}]}',
                             "$.functions[0].slto"),
                            ('{"about": "", "smbiosVersion": "3.0", "structures": [{"kind": "slot", "serial": "A"}]}',
                             "$.structures[0].serial")):
            file = self.write(text)
            self.assertIn(f"{file}: {place}: unknown member", self.refuse("compose-machine", file, "-o", self.output))
        file = self.write('{"devices": [{"instanceId": "A", "HardwareIDs": []}]}')
        self.assertIn(f"{file}: $.devices[0].HardwareIDs: unknown member",
                      self.refuse("machine-to-reg", file, self.output))

    def test_functions_that_have_no_place_of_their_own_are_named(self):
        function = '{"at": "00:01.0", "id": "1:2", "class": "060400"%s}'
        for functions, complaint in ((function % "" + "," + function % "", "two functions at 00:01.0"),
                                     (function % ', "below": "00:02.0"', "00:01.0 is below 00:02.0, where no function is")):
            file = self.write('{"about": "", "functions": [%s]}' % functions)
            self.assertIn(complaint, self.refuse("compose-machine", file, "-o", self.output))

    def test_a_value_of_another_kind_is_named_with_its_place(self):
        for text, complaint in (
                ('{"about": 5}', "$.about: string is expected"),
                ('{"about": "", "structures": []}', "$: the member 'smbiosVersion' is missing"),
                ('{"about": "", "omit": ["Name"]}', "$.omit[0]: one of "),
                ('{"about": "", "functions": [{"at": "x", "id": "1:2", "class": "060000"}]}', "$.functions[0].at: a text"),
                ('{"about": "", "settings": {"A": true}}', "$.settings.A: integer or string or object is expected"),
                ('{"about": "", "functions": [{"at": "00:00.0", "id": "1:2", "class": "060000", "port": 16}]}',
                 "$.functions[0].port: a number of 0 to 15 is expected")):
            self.assertIn(complaint, self.refuse("compose-machine", self.write(text), "-o", self.output))
        file = self.write('{"smbios": {"version": "3.0", "hex": "", "base64": ""}}')
        self.assertIn("$.smbios: either hex or base64 is expected", self.refuse("machine-to-reg", file, self.output))


if __name__ == "__main__":
    unittest.main()
