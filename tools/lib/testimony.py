"""What several witnesses say of one machine's PCI functions and slots, and where they contradict each other.

A witness that says nothing of a thing is None there: silence agrees with nobody and contradicts nobody.
"""

import collections
import dataclasses
import itertools
import re
from typing import Optional

import dmidecode

SILENT = "does not say"
CLASSES_OF_FUNCTIONS = ["Velk_PCIBridge", "Velk_PCIDevice"]
INSTANCE_ID = re.compile(r"PCI\\VEN_([0-9A-F]{4})&DEV_([0-9A-F]{4})(?:&SUBSYS_([0-9A-F]{4})([0-9A-F]{4}))?"
                         r"(?:&REV_([0-9A-F]{2}))?\\", re.IGNORECASE)
# Wine's display adapter, which no bus has.
ADAPTER_OF_WINE = 0


@dataclasses.dataclass(frozen=True)
class Ids:
    """The numbers that tell what a function is; None where the witness does not say."""

    vendor: int
    device: int
    subsystem_vendor: Optional[int] = None
    subsystem: Optional[int] = None
    revision: Optional[int] = None
    base_class: Optional[int] = None

    def __str__(self):
        subsystem = "" if self.subsystem is None else f" {self.subsystem_vendor:04x}:{self.subsystem:04x}"
        revision = "" if self.revision is None else f" rev {self.revision:02x}"
        return f"{self.vendor:04x}:{self.device:04x}{subsystem}{revision}"

    def agrees(self, other: "Ids") -> bool:
        pairs = zip(dataclasses.astuple(self), dataclasses.astuple(other))
        return all(one is None or two is None or one == two for one, two in pairs)


@dataclasses.dataclass
class Report:
    """Two tables as lists of rows, remarks on who is silent, and the contradictions."""

    functions: list = dataclasses.field(default_factory=list)
    slots: list = dataclasses.field(default_factory=list)
    silences: list = dataclasses.field(default_factory=list)
    contradictions: list = dataclasses.field(default_factory=list)


def address_text(address: tuple) -> str:
    """Bus, device, function: no class tells the segment."""
    return "{:02x}:{:02x}.{}".format(*address)


def functions_of_provider(dump: dict) -> dict:
    """The Ids of the functions at each address, from a dump of velkpci."""
    found = collections.defaultdict(list)
    for instance in dump["instances"]:
        if instance["class"] in CLASSES_OF_FUNCTIONS:
            told = instance["properties"]
            address = (told["BusNumber"], told["DeviceNumber"], told["FunctionNumber"])
            found[address].append(Ids(told["VendorID"], told["PCIDeviceID"], told["SubsystemVendorID"],
                                      told["SubsystemID"], told["RevisionID"], told["ClassCode"]))
    return found


def cards_of_provider(dump: dict) -> dict:
    """The number of the card that carries the function at each address, from the associations."""
    cards = {}
    for instance in dump["instances"]:
        if instance["class"] == "Velk_RealizesPCIDevice":
            card = re.search(r'Tag="PCI Card (\d+)"', instance["properties"]["Antecedent"])
            function = re.search(r"BUS\((\d+)\)DEV\((\d+)\)FN\((\d+)\)", instance["properties"]["Dependent"])
            cards[tuple(map(int, function.groups()))] = int(card[1])
    return cards


def blocks_of_lspci(text: str) -> list:
    """What lspci -Dvmmn tells of each function: its address and a dictionary. The bus is told as the classes have it,
    without the segment."""
    found = []
    for block in filter(None, (block.strip() for block in text.split("\n\n"))):
        told = dict(re.findall(r"^(\w+):\s*(.*)$", block, re.MULTILINE))
        bus, device, function = re.fullmatch(r"[0-9a-f]+:([0-9a-f]{2}):([0-9a-f]{2})\.([0-7])", told["Slot"]).groups()
        found.append(((int(bus, 16), int(device, 16), int(function)), told))
    return found


def functions_of_lspci(blocks: list) -> dict:
    """The Ids of the functions at each address. A revision of 0 is left out by lspci."""
    found = collections.defaultdict(list)
    for address, told in blocks:
        number = {name: int(value, 16) for name, value in told.items()
                  if name in ("Vendor", "Device", "SVendor", "SDevice", "Rev", "Class")}
        found[address].append(Ids(number["Vendor"], number["Device"], number.get("SVendor"), number.get("SDevice"),
                                  number.get("Rev", 0), number["Class"] >> 8))
    return found


def functions_of_entities(table: str) -> list:
    """The Ids in the instance IDs of Win32_PnPEntity, from a column of wmic's. No property of the class tells an
    address. What an instance ID leaves out is 0, as for the provider."""
    found = []
    for match in INSTANCE_ID.finditer(table):
        vendor, device, subsystem, subsystem_vendor, revision = (int(part or "0", 16) for part in match.groups())
        if vendor != ADAPTER_OF_WINE:
            found.append(Ids(vendor, device, subsystem_vendor, subsystem, revision))
    return found


def numbers_of_slots(table: Optional[str]) -> Optional[list]:
    """The numbers in a column of wmic's."""
    return None if table is None else [int(each) for each in re.findall(r"^\s*(\d+)\s*$", table, re.MULTILINE)]


def compare_functions(report: Report, ours: dict, lspci: Optional[dict], entities: Optional[list]) -> None:
    def key(each):
        return each.vendor, each.device, each.revision

    unmatched = list(entities or [])
    for address in sorted({*ours, *(lspci or {})}):
        sides = (sorted(side.get(address, []), key=key) for side in (ours, lspci or {}))
        for told, by_lspci in itertools.zip_longest(*sides):
            place = address_text(address)
            entity = next((each for each in unmatched if told and told.agrees(each)), None)
            if entity:
                unmatched.remove(entity)
            report.functions.append((place, str(told or "-"), SILENT if entities is None else str(entity or "-"),
                                     SILENT if lspci is None else str(by_lspci or "-")))
            if lspci is not None and (told is None or by_lspci is None):
                report.contradictions.append(f"{place}: only {'lspci' if told is None else 'the provider'} tells "
                                             f"{told or by_lspci}")
            elif lspci is not None and not told.agrees(by_lspci):
                report.contradictions.append(f"{place}: the provider tells {told} class {told.base_class:02x}, lspci "
                                             f"{by_lspci} class {by_lspci.base_class:02x}")
            if entities is not None and told and not entity:
                report.contradictions.append(f"{place}: no Win32_PnPEntity is {told}")
    for entity in unmatched:
        report.functions.append(("?", "-", str(entity), SILENT if lspci is None else "-"))
        report.contradictions.append(f"only Win32_PnPEntity tells {entity}")


def slot_text(row: tuple) -> str:
    _, _, pinout, connectors, layout, hot_plug = row
    return f"{pinout or 'no pinout'}, connector {connectors[0]}, layout {layout}{', hot-plug' if hot_plug else ''}"


def compare_slots(report: Report, ours: Optional[list], decoded: Optional[list], system_slots: Optional[list]) -> None:
    """Slots as rows of dmidecode.expected(); of Win32_SystemSlot the numbers alone."""
    told = {row[0]: row for row in ours or []}
    expected = {row[0]: row for row in decoded or []}
    for number in sorted({*told, *expected, *(system_slots or [])}):
        row, theirs = told.get(number), expected.get(number)
        report.slots.append((str(number), SILENT if ours is None else slot_text(row) if row else "-",
                             SILENT if system_slots is None else "listed" if number in system_slots else "-",
                             SILENT if decoded is None else slot_text(theirs) if theirs else "-"))
        if ours is None:
            continue
        if decoded is not None and row != theirs:
            report.contradictions.append(f"slot {number}: the provider tells {slot_text(row) if row else 'none'}, "
                                         f"dmidecode {slot_text(theirs) if theirs else 'none'}")
        # The provider lists fewer kinds of slots.
        if system_slots is not None and row and number not in system_slots:
            report.contradictions.append(f"slot {number}: no Win32_SystemSlot has the number")


def compare_cards(report: Report, slots: list, functions: dict, cards: dict, blocks: list) -> None:
    """The card that the provider puts a function on, and the slot that lspci puts it in. Only names that are numbers
    are comparable, and bridges belong to no card."""
    numbers = {row[0] for row in slots}
    for address, told in blocks:
        name = told.get("PhySlot", "")
        is_bridge = int(told["Class"], 16) >> 8 == 6
        if not name.isdigit() or int(name) not in numbers or is_bridge or address not in functions:
            continue
        if cards.get(address) != int(name):
            report.contradictions.append(f"{address_text(address)}: lspci puts it in slot {int(name)}, the provider "
                                         f"on card {cards.get(address, 'none')}")


def compare(said: dict) -> Report:
    """Compares what the witnesses said: by name a text, or None with the reason in `said["reasons"]`."""
    report = Report()
    report.silences = [f"{name} {SILENT}: {reason}" for name, reason in said["reasons"].items()]
    dump, replayed = said["provider"], said["replayed"]
    for source in filter(None, (dump, replayed)):
        for failure in source["failures"]:
            report.contradictions.append(f"the provider failed: {failure['request']}: {failure['status']['name']}")
    blocks = None if said["lspci"] is None else blocks_of_lspci(said["lspci"])
    entities = None if said["entities"] is None else functions_of_entities(said["entities"])
    functions = functions_of_provider(dump)
    compare_functions(report, functions, None if blocks is None else functions_of_lspci(blocks), entities)

    ours = decoded = None
    if replayed is not None:
        ours = dmidecode.listed([each for each in replayed["instances"] if each["class"] == "Velk_PCISlot"])
        compare_cards(report, ours, functions_of_provider(replayed), cards_of_provider(replayed), blocks or [])
    if said["dmidecode"] is not None:
        decoded = dmidecode.expected(dmidecode.slots(*said["dmidecode"]), modern=False)
    compare_slots(report, ours, decoded, numbers_of_slots(said["system slots"]))
    return report


def table(heads: list, rows: list) -> str:
    widths = [max(len(row[column]) for row in [heads, *rows]) for column in range(len(heads))]
    lines = ("  ".join(cell.ljust(width) for cell, width in zip(row, widths)) for row in [heads, *rows])
    return "\n".join(map(str.rstrip, lines))
