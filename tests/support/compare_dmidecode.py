#!/usr/bin/env python3
"""Compares the slots that the provider lists with those that dmidecode reads from the same table.

    compare_dmidecode.py MACHINE.json SLOTS.json

MACHINE.json is a machine file, SLOTS.json what `velkpci list Velk_PCISlot --json` printed for it ("-" = standard
input). Exit status: 0 when both tell the same slots (number, type, width, hot-plug, order), 1 when they differ or
dmidecode is not installed.
"""

import base64
import json
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "lib"))

import dmidecode  # noqa: E402


def with_entry_point(table, version):
    """A dump as dmidecode reads it: an SMBIOS 2.x entry point, and the table from byte 32 on."""
    major, minor = version
    dmi = bytearray(struct.pack("<5sBHIHB", b"_DMI_", 0, len(table), 32, 0, 0x21))
    dmi[5] = -sum(dmi) & 0xFF
    smbios = bytearray(struct.pack("<4sBBBBHB5s", b"_SM_", 0, 0x1F, major, minor, 0, 0, bytes(5))) + dmi
    smbios[4] = -sum(smbios) & 0xFF
    return bytes(smbios.ljust(32, b"\0")) + table


def texts_of(table, version):
    """What dmidecode tells of the table's slots, in words and in bytes."""
    with tempfile.NamedTemporaryFile(suffix=".bin") as dump:
        dump.write(with_entry_point(table, version))
        dump.flush()
        return [subprocess.run([*asked, "--from-dump", dump.name], check=True, capture_output=True).stdout.decode("latin-1")
                for asked in (dmidecode.TEXTS, dmidecode.BYTES)]


def read_slots(table, version):
    """The System Slots structures in table order, as dmidecode sees them."""
    return dmidecode.slots(*texts_of(table, version))


def modern_types_of(machine):
    """Whether the machine's settings make later generations than the second PCI Express slots of the provider's."""
    value = machine.get("settings", {}).get("ModernSlotTypes", 0)
    return isinstance(value, int) and value != 0


def table_of(machine):
    """The table of a machine file and its version; an empty table when the machine has none."""
    smbios = machine.get("smbios")
    if smbios is None:
        return b"", (2, 7)
    if "hex" in smbios:
        text = smbios["hex"]
        table = bytes.fromhex("".join(text) if isinstance(text, list) else text)
    else:
        table = base64.b64decode(smbios["base64"])
    major, minor = (int(part) for part in smbios["version"].split(".")[:2])
    return table, (major, minor)


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    if shutil.which("dmidecode") is None:
        sys.exit("dmidecode is not installed: apt-get install dmidecode")
    with open(arguments[0], encoding="utf-8") as file:
        machine = json.load(file)
    table, version = table_of(machine)
    with sys.stdin if arguments[1] == "-" else open(arguments[1], encoding="utf-8") as file:
        ours = dmidecode.listed(json.load(file)["instances"])
    theirs = dmidecode.expected(read_slots(table, version), modern_types_of(machine)) if table else []
    if ours == theirs:
        print("%d slots agree" % len(ours))
        return 0
    for row in theirs:
        if row not in ours:
            print("only dmidecode:", *row)
    for row in ours:
        if row not in theirs:
            print("only the provider:", *row)
    if sorted(ours) == sorted(theirs):
        print("the order differs")
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
