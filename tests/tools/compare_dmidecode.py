#!/usr/bin/env python3
"""Compares the slots that the provider lists with those that dmidecode reads from the same table.

    compare_dmidecode.py MACHINE.json SLOTS.json

MACHINE.json is a machine file, SLOTS.json what `velkpci list Velk_PCISlot --json` printed for it ("-" = standard
input). Exit status: 0 when both tell the same slots (number, type, width, hot-plug, order), 1 when they differ or
dmidecode is not installed.
"""

import base64
import json
import re
import shutil
import struct
import subprocess
import sys
import tempfile


CONNECTOR_TYPES = {"PCI-X": 98, "PCI-66": 80, "PCI": 43}
CONNECTOR_LAYOUTS = {"PCI-X": 17, "PCI-66": 16, "PCI": 16}
EXPRESS_LAYOUTS = {"x1": 19, "x2": 20, "x4": 21, "x8": 22, "x16": 23, "x32": 24}


def with_entry_point(table, version):
    """A dump as dmidecode reads it: an SMBIOS 2.x entry point, and the table from byte 32 on."""
    major, minor = version
    dmi = bytearray(struct.pack("<5sBHIHB", b"_DMI_", 0, len(table), 32, 0, 0x21))
    dmi[5] = -sum(dmi) & 0xFF
    smbios = bytearray(struct.pack("<4sBBBBHB5s", b"_SM_", 0, 0x1F, major, minor, 0, 0, bytes(5))) + dmi
    smbios[4] = -sum(smbios) & 0xFF
    return bytes(smbios.ljust(32, b"\0")) + table


def run_dmidecode(dump, *options):
    command = ["dmidecode", "--from-dump", dump, "-q", "-t", "9", *options]
    return subprocess.run(command, check=True, capture_output=True).stdout.decode("latin-1")


def slot_of(text, raw):
    """One slot from dmidecode's words. Of slots outside the PCI families it does not tell the ID: that is taken from
    the bytes that it shows. Up to 3.5 the width stands before the type ("x8 PCI Express"), from 3.6 on in a line of its
    own ("8x or x8")."""
    width, kind = re.search(r"^\tType: (?:(x\d+|\d+-bit) )?(.*)$", text, re.M).groups()
    if own := re.search(r"^\tData Bus Width: (?:\d+x or )?(x\d+|\d+-bit)$", text, re.M):
        width = own[1]
    return {
        "id": struct.unpack_from("<H", raw.ljust(17, b"\0"), 9)[0],
        "shown id": (re.search(r"^\tID: (\d+)$", text, re.M) or [None, None])[1],
        "kind": kind,
        "width": width,
        "hot-plug": "Hot-plug devices are supported" in text,
    }


def read_slots(table, version):
    """The System Slots structures in table order, as dmidecode sees them."""
    with tempfile.NamedTemporaryFile(suffix=".bin") as dump:
        dump.write(with_entry_point(table, version))
        dump.flush()
        texts = [block for block in run_dmidecode(dump.name).split("\n\n") if "System Slot Information" in block]
        blocks = [block for block in run_dmidecode(dump.name, "-u").split("\n\n") if "Header and Data:" in block]
    raws = []
    for block in blocks:
        data = re.search(r"Header and Data:\n((?:\t\t[0-9A-F ]+\n?)+)", block)[1]
        raws.append(bytes.fromhex(data))
    if len(texts) != len(raws):
        raise ValueError("dmidecode tells %d slots and shows %d" % (len(texts), len(raws)))
    slots = [slot_of(text, raw) for text, raw in zip(texts, raws)]
    for slot in slots:
        # dmidecode tells the low byte of the ID.
        if slot["shown id"] is not None and int(slot["shown id"]) != slot["id"] & 0xFF:
            raise ValueError("dmidecode tells slot ID %(shown id)s and shows %(id)s" % slot)
    return slots


def modern_types_of(machine):
    """Whether the machine's settings make later generations than the second PCI Express slots of the provider's."""
    value = machine.get("settings", {}).get("ModernSlotTypes", 0)
    return isinstance(value, int) and value != 0


def is_express(kind, modern):
    """PCI Express of the generations that the provider lists as such."""
    return re.fullmatch(r"PCI Express( [2-6]\+?)?( x\d+)?" if modern else r"PCI Express( 2)?( x\d+)?", kind) is not None


def numbered(slots, modern):
    """Numbers from 1 upward, each finding the first slot with that ID (in 16 bits), until as many are found as there
    are PCI slots."""
    wanted = sum(1 for slot in slots if slot["kind"] in CONNECTOR_TYPES or is_express(slot["kind"], modern))
    first = {}
    for slot in slots:
        first.setdefault(slot["id"], slot)
    found = []
    number = 0
    while len(found) < wanted:
        number += 1
        if number & 0xFFFF in first:
            found.append((number, first[number & 0xFFFF]))
    return found


def expected(slots, modern):
    """What the provider should list for these slots."""
    rows = []
    for number, slot in numbered(slots, modern):
        kind = slot["kind"]
        if is_express(kind, modern):
            pinout, connector, layout = "PCI Express", 1, EXPRESS_LAYOUTS.get(slot["width"], 18)
        else:
            connector, layout = CONNECTOR_TYPES.get(kind, 1), CONNECTOR_LAYOUTS.get(kind, 0)
            pinout = kind if kind in CONNECTOR_TYPES else ""
        rows.append((number, number & 0xFFFF, pinout, [connector], layout, slot["hot-plug"]))
    return rows


def listed(instances):
    """What the provider did list."""
    rows = []
    for instance in instances:
        properties = instance["properties"]
        tagged = int(re.search(r"\d+", properties["Tag"])[0])
        rows.append((tagged, properties["Number"], properties["ConnectorPinout"], properties["ConnectorType"],
                     properties["ConnectorLayout"], properties["SupportsHotPlug"]))
    return rows


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
        ours = listed(json.load(file)["instances"])
    theirs = expected(read_slots(table, version), modern_types_of(machine)) if table else []
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
