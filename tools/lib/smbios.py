"""Composes SMBIOS structure tables from readable descriptions. Offsets are those of the SMBIOS specification 3.2."""

import struct

from pnp import Address


class Composer:
    """Collects structures; strings are numbered in the order of their use within each structure."""

    def __init__(self):
        self._table = bytearray()
        self._handle = 0

    def add(self, kind: int, body: bytes, strings: list) -> None:
        """Appends a structure: `body` is the formatted area after the four bytes of the header."""
        self._table += struct.pack("<BBH", kind, len(body) + 4, self._handle) + body
        self._table += b"".join(text.encode("latin-1") + b"\0" for text in strings) or b"\0"
        self._table += b"\0"
        self._handle += 1

    def table(self) -> bytes:
        return bytes(self._table)


class Strings:
    def __init__(self):
        self.texts = []

    def number(self, text) -> int:
        """The number of a string in the structure: 0 for one that is not there."""
        if not text:
            return 0
        self.texts.append(text)
        return len(self.texts)


def value(item: dict, name: str, default: int = 0) -> int:
    """A number given as JSON number or as hexadecimal text."""
    given = item.get(name, default)
    return int(given, 16) if isinstance(given, str) else given


def bus_address(item: dict) -> bytes:
    """Segment, bus and devfn; all ones when the description names no address."""
    if "address" not in item:
        return struct.pack("<HBB", 0xFFFF, 0xFF, 0xFF)
    address = Address.parse(item["address"])
    return struct.pack("<HBB", address.segment, address.bus, address.devfn)


def bios(item: dict, strings: Strings) -> tuple:
    body = struct.pack("<BBHBBQBBBBBB", strings.number(item.get("vendor")), strings.number(item.get("version")), 0xF000,
                       strings.number(item.get("date")), 0xFF, 0x0000000058189880, 0x03, 0x0D,
                       value(item, "major", 1), value(item, "minor"), 0xFF, 0xFF)
    return 0, body


def system(item: dict, strings: Strings) -> tuple:
    body = struct.pack("<BBBB16sBBB", strings.number(item.get("manufacturer")), strings.number(item.get("product")),
                       strings.number(item.get("version")), strings.number(item.get("serial")),
                       bytes.fromhex(item.get("uuid", "ff" * 16)), 6, strings.number(item.get("sku")),
                       strings.number(item.get("family")))
    return 1, body


def chassis(item: dict, strings: Strings) -> tuple:
    body = struct.pack("<BBBBBBBBBIBBBBB", strings.number(item.get("manufacturer")), value(item, "type", 0x17),
                       strings.number(item.get("version")), strings.number(item.get("serial")),
                       strings.number(item.get("asset")), 3, 3, 3, 2, 0, value(item, "height"),
                       value(item, "powerCords", 1), 0, 0, strings.number(item.get("sku")))
    return 3, body


def processor(item: dict, strings: Strings) -> tuple:
    cores = value(item, "cores", 1)
    body = struct.pack("<BBBBQBBHHHBBHHHBBBBBBHH", strings.number(item.get("socket")), 3, value(item, "family", "B3"),
                       strings.number(item.get("manufacturer")), 0, strings.number(item.get("version")), 0x8C, 100,
                       value(item, "maxMhz"), value(item, "mhz"), 0x41, value(item, "upgrade", "36"), 0xFFFF, 0xFFFF,
                       0xFFFF, 0, 0, 0, cores, cores, min(cores * 2, 255), 0x00FC, value(item, "family", "B3"))
    return 4, body


def slot(item: dict, strings: Strings) -> tuple:
    body = struct.pack("<BBBBBHBB", strings.number(item.get("designation")), value(item, "type"), value(item, "width"),
                       value(item, "usage", 2), value(item, "length", 2), value(item, "id"),
                       value(item, "characteristics1", "04"), value(item, "characteristics2", 1))
    return 9, body + bus_address(item)


def onboard(item: dict, strings: Strings) -> tuple:
    body = struct.pack("<BBB", strings.number(item.get("designation")), value(item, "type") | 0x80,
                       value(item, "instance", 1))
    return 41, body + bus_address(item)


def end(_item: dict, _strings: Strings) -> tuple:
    return 127, b""


def raw(item: dict, strings: Strings) -> tuple:
    for text in item.get("strings", []):
        strings.number(text)
    return value(item, "type"), bytes.fromhex(item.get("bytes", ""))


KINDS = {"bios": bios, "system": system, "chassis": chassis, "processor": processor, "slot": slot, "onboard": onboard,
         "end": end, "raw": raw}


def compose(structures: list) -> bytes:
    composer = Composer()
    for item in structures:
        strings = Strings()
        kind, body = KINDS[item["kind"]](item, strings)
        composer.add(kind, body, strings.texts)
    return composer.table()
