"""The System Slots structures in dmidecode's words, and the slots that the provider should make of them."""

import re
import struct

CONNECTOR_TYPES = {"PCI-X": 98, "PCI-66": 80, "PCI": 43}
CONNECTOR_LAYOUTS = {"PCI-X": 17, "PCI-66": 16, "PCI": 16}
EXPRESS_LAYOUTS = {"x1": 19, "x2": 20, "x4": 21, "x8": 22, "x16": 23, "x32": 24}

# What is asked, for texts and for bytes. dmidecode tells the ID of slots of the PCI families alone, and only its low
# byte: all of it stands in the bytes.
TEXTS = ["dmidecode", "-q", "-t", "9"]
BYTES = [*TEXTS, "-u"]


def slot_of(text: str, raw: bytes) -> dict:
    """One slot from dmidecode's words; the ID from the bytes that it shows. Up to 3.5 the width stands before the type
    ("x8 PCI Express"), from 3.6 on in a line of its own ("8x or x8")."""
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


def slots(texts: str, dumps: str) -> list:
    """The slots in table order, from what dmidecode prints when it is asked for TEXTS and for BYTES."""
    blocks = [block for block in texts.split("\n\n") if "System Slot Information" in block]
    dumped = [block for block in dumps.split("\n\n") if "Header and Data:" in block]
    raws = [bytes.fromhex(re.search(r"Header and Data:\n((?:\t\t[0-9A-F ]+\n?)+)", block)[1]) for block in dumped]
    if len(blocks) != len(raws):
        raise ValueError(f"dmidecode tells {len(blocks)} slots and shows {len(raws)}")
    found = [slot_of(block, raw) for block, raw in zip(blocks, raws)]
    for slot in found:
        if slot["shown id"] is not None and int(slot["shown id"]) != slot["id"] & 0xFF:
            raise ValueError("dmidecode tells slot ID {shown id} and shows {id}".format_map(slot))
    return found


def is_express(kind: str, modern: bool) -> bool:
    """PCI Express of the generations that the provider lists as such."""
    return re.fullmatch(r"PCI Express( [2-6]\+?)?( x\d+)?" if modern else r"PCI Express( 2)?( x\d+)?", kind) is not None


def numbered(found: list, modern: bool) -> list:
    """Numbers from 1 upward, each finding the first slot with that ID (in 16 bits), until as many are found as there
    are PCI slots."""
    wanted = sum(1 for slot in found if slot["kind"] in CONNECTOR_TYPES or is_express(slot["kind"], modern))
    first = {}
    for slot in found:
        first.setdefault(slot["id"], slot)
    rows = []
    number = 0
    while len(rows) < wanted:
        number += 1
        if number & 0xFFFF in first:
            rows.append((number, first[number & 0xFFFF]))
    return rows


def expected(found: list, modern: bool) -> list:
    """What the provider should list for these slots: number in the tag, number, pinout, connectors, layout, hot-plug."""
    rows = []
    for number, slot in numbered(found, modern):
        kind = slot["kind"]
        if is_express(kind, modern):
            pinout, connector, layout = "PCI Express", 1, EXPRESS_LAYOUTS.get(slot["width"], 18)
        else:
            connector, layout = CONNECTOR_TYPES.get(kind, 1), CONNECTOR_LAYOUTS.get(kind, 0)
            pinout = kind if kind in CONNECTOR_TYPES else ""
        rows.append((number, number & 0xFFFF, pinout, [connector], layout, slot["hot-plug"]))
    return rows


def listed(instances: list) -> list:
    """What the provider did list, in the same rows."""
    rows = []
    for instance in instances:
        properties = instance["properties"]
        tagged = int(re.search(r"\d+", properties["Tag"])[0])
        rows.append((tagged, properties["Number"], properties["ConnectorPinout"], properties["ConnectorType"],
                     properties["ConnectorLayout"], properties["SupportsHotPlug"]))
    return rows
