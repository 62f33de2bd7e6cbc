"""The words of every dmidecode that the tests meet are read."""

import pathlib
import struct
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "lib"))

import dmidecode  # noqa: E402

OLDER = """System Slot Information
\tDesignation: PCIe Slot 3
\tType: {width} PCI Express 2 x16
\tID: 3
\tCharacteristics:
\t\tHot-plug devices are supported
"""
NEWER = """System Slot Information
\tDesignation: PCIe Slot 3
\tType: PCI Express 2 x16
\tData Bus Width: {width}
\tID: 3
\tCharacteristics:
\t\tHot-plug devices are supported
"""
RAW = bytes(9) + struct.pack("<H", 3)


class Words(unittest.TestCase):
    def assertSlot(self, text, width):
        self.assertEqual(dmidecode.slot_of(text, RAW),
                         {"id": 3, "shown id": "3", "kind": "PCI Express 2 x16", "width": width, "hot-plug": True})

    def test_a_width_before_the_type_is_read(self):
        self.assertSlot(OLDER.format(width="x16"), "x16")
        self.assertSlot(OLDER.format(width="64-bit"), "64-bit")

    def test_a_width_in_a_line_of_its_own_is_read(self):
        self.assertSlot(NEWER.format(width="16x or x16"), "x16")
        self.assertSlot(NEWER.format(width="64-bit"), "64-bit")

    def test_an_unknown_width_is_none(self):
        self.assertSlot(NEWER.format(width="Unknown"), None)


if __name__ == "__main__":
    unittest.main()
