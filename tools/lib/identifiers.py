"""Replaces what tells one machine from others of its kind in a machine file, by the rules of docs/machine-format.md.

The program velkpci replaces by the same rules (tool/capture/identifiers.cpp); both are held against
tests/support/identifiers.json.
"""

import dataclasses

import machine_file

TO_THE_END = 256  # a formatted area has at most 255 bytes
CHASSIS_TAG = "Computer System Chassis"


@dataclasses.dataclass(frozen=True)
class Rule:
    """What of a structure identifies; offsets are from the structure's start."""

    strings: tuple = ()  # offsets of bytes that number a string
    all_strings: bool = False
    uuid: int = 0  # offset of 16 bytes; 0: none
    zero: tuple = (0, 0)  # bytes to clear, as far as the formatted area goes


RULES = {
    1: Rule(strings=(0x07,), uuid=0x08),  # System: serial number, UUID
    2: Rule(strings=(0x07, 0x08)),  # Baseboard: serial number, asset tag
    3: Rule(strings=(0x07, 0x08)),  # Chassis: the same
    4: Rule(strings=(0x20, 0x21)),  # Processor: the same
    11: Rule(all_strings=True),  # OEM Strings: anything, service tags among it
    17: Rule(strings=(0x18, 0x19)),  # Memory Device: serial number, asset tag
    22: Rule(strings=(0x07,), zero=(0x10, 0x12)),  # Portable Battery: both forms of its serial number
    39: Rule(strings=(0x08, 0x09)),  # Power Supply: serial number, asset tag
    42: Rule(all_strings=True, zero=(6, TO_THE_END)),  # Host Interface: service UUID, addresses, names
    46: Rule(strings=(0x06,)),  # String Property: device paths with MAC addresses
}
# Inactive, what it was is not known; and the makers' own.
UNKNOWN = Rule(all_strings=True, zero=(4, TO_THE_END))


def rule_of(kind: int) -> Rule:
    return UNKNOWN if kind >= 126 and kind != 127 else RULES.get(kind, Rule())


class Numbers:
    """Numbers values in the order of their first appearance: nothing of them is left, and equal ones stay equal."""

    def __init__(self):
        self._numbers = {}

    def of(self, value: bytes) -> int:
        return self._numbers.setdefault(value, len(self._numbers) + 1)


def is_replaced(byte: int) -> bool:
    return byte >= 0x80 or chr(byte).isalnum()


def replace_text(text: bytes, numbers: Numbers) -> bytes:
    """Letters and digits become "0", and the last ones of them the value's number."""
    if not any(map(is_replaced, text)):
        return text
    number = numbers.of(text)
    replaced = bytearray(text)
    for place in reversed(range(len(text))):
        if is_replaced(text[place]):
            replaced[place] = ord("0") + number % 10
            number //= 10
    return bytes(replaced)


def replace_uuid(uuid: bytes, numbers: Numbers) -> bytes:
    """All zeros and all ones say that there is none."""
    if uuid in (bytes(16), b"\xff" * 16):
        return uuid
    return numbers.of(uuid).to_bytes(16, "big")


def structures(table: bytes):
    """Place, end of the formatted area and end of each structure, walked as the provider walks it: the table's length
    alone ends the walk, and clips the last structure."""
    start = 0
    while start < len(table):
        length = table[start + 1] if start + 1 < len(table) else 0
        strings = min(start + length, len(table))
        zeros = table.find(b"\0\0", strings)
        end = len(table) if zeros < 0 else zeros + 2
        yield start, strings, end
        start = end


def string_places(table: bytes, start: int, end: int) -> list:
    """Where each string of a structure begins and ends; one that the table's end cuts off is none."""
    places = []
    while True:
        zero = table.find(b"\0", start, end)
        if zero in (start, -1):
            return places
        places.append((start, zero))
        start = zero + 1


def replace_structure(table: bytearray, original: bytes, place: tuple, numbers: Numbers) -> None:
    start, strings_start, end = place
    rule = rule_of(original[start])
    strings = string_places(original, strings_start, end)

    numbered = {original[start + offset] for offset in rule.strings if start + offset < strings_start}
    for number, (begin, behind) in enumerate(strings, 1):
        # With a length of 0 the first string is the structure's type, which leads the walk.
        if begin > start and (rule.all_strings or number in numbered):
            table[begin:behind] = replace_text(original[begin:behind], numbers)
    if rule.uuid and start + rule.uuid + 16 <= strings_start:
        at = start + rule.uuid
        table[at:at + 16] = replace_uuid(original[at:at + 16], numbers)
    for at in range(start + rule.zero[0], min(start + rule.zero[1], strings_start)):
        table[at] = 0


def replace_table(original: bytes, numbers: Numbers) -> bytes:
    table = bytearray(original)
    for place in structures(original):
        replace_structure(table, original, place, numbers)
    return bytes(table)


def replace_instance_id(instance_id: str, numbers: Numbers) -> str:
    """The last part, unless the Plug and Play manager made it up: then an ampersand is its second character."""
    before, slash, last = instance_id.rpartition("\\")
    if not slash or last[1:2] == "&":
        return instance_id
    return before + slash + replace_text(last.encode("utf-8"), numbers).decode("utf-8")


def stand_ins(names: dict) -> dict:
    has_domain = "." in names.get("dnsFullyQualified", "")
    made = {"dnsFullyQualified": "machine.example.com" if has_domain else "machine", "dnsHostname": "machine",
            "netbios": "MACHINE"}
    return {name: made[name] for name in names}


def replace_object(properties: dict, names: dict, made: dict, numbers: Numbers) -> dict:
    """Of the suite's objects, whose keys are the computer's names, and of the chassis a tag that may be one of an
    inventory."""
    replaced = dict(properties)
    for name, value in properties.items():
        if not isinstance(value, str):
            continue
        same = [each for each in ("dnsFullyQualified", "dnsHostname", "netbios")
                if each in names and names[each].lower() == value.lower()]
        if same:
            replaced[name] = made[same[0]]
        elif name == "Tag" and value != CHASSIS_TAG:
            replaced[name] = replace_text(value.encode("utf-8"), numbers).decode("utf-8")
    return replaced


def replace(machine: dict) -> dict:
    """The machine with its identifiers replaced. A firmware table must stand in it as hexadecimal lines."""
    numbers = Numbers()
    names = machine.get("computer", {})
    made = stand_ins(names)
    replaced = dict(machine)
    if "devices" in machine:
        replaced["devices"] = [{**device, "instanceId": replace_instance_id(device["instanceId"], numbers)}
                               if "instanceId" in device else device for device in machine["devices"]]
    if "smbios" in machine:
        table = bytes.fromhex("".join(machine["smbios"]["hex"]))
        replaced["smbios"] = {**machine["smbios"], "hex": machine_file.hex_lines(replace_table(table, numbers))}
    if "objects" in machine:
        replaced["objects"] = [{**each, "properties": replace_object(each["properties"], names, made, numbers)}
                               for each in machine["objects"]]
    if "computer" in machine:
        replaced["computer"] = made
    return replaced
