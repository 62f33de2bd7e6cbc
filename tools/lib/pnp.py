"""PCI functions as the Plug and Play manager of Windows describes them.

Used by capture-linux and compose-machine, so that captured and made-up machines have their texts from one place.
"""

import dataclasses
import re
import zlib
from typing import Optional

ADDRESS = re.compile(r"(?:([0-9a-f]{4,8}):)?([0-9a-f]{2}):([0-9a-f]{2})\.([0-7])$", re.IGNORECASE)

# What the in-box drivers call their devices, by class, subclass and (where it matters) interface; the longest match
# wins. Anything else is a "PCI Device", as an unknown device without a driver is called.
DESCRIPTIONS = {
    "01": "PCI Mass Storage Controller", "0101": "Standard Dual Channel PCI IDE Controller",
    "0104": "RAID Controller", "0106": "Standard SATA AHCI Controller", "0107": "SAS Controller",
    "0108": "Standard NVM Express Controller",
    "02": "Network Controller", "0200": "Ethernet Controller", "0280": "Network Controller",
    "03": "Video Controller", "0300": "Video Controller (VGA Compatible)", "0302": "3D Video Controller",
    "04": "Multimedia Controller", "0403": "High Definition Audio Controller",
    "05": "PCI Memory Controller", "0500": "PCI standard RAM Controller",
    "0600": "PCI standard host CPU bridge", "0601": "PCI standard ISA bridge", "0602": "PCI standard EISA bridge",
    "0604": "PCI-to-PCI Bridge", "0680": "PCI standard bridge",
    "07": "PCI Simple Communications Controller", "0700": "PCI Serial Port", "08": "Base System Device",
    "0880": "Base System Device", "0C03": "Standard USB Host Controller", "0C0330": "USB xHCI Compliant Host Controller",
    "0C0320": "Standard Enhanced PCI to USB Host Controller", "0C05": "SM Bus Controller",
    "10": "PCI Encryption/Decryption Controller", "11": "PCI Data Acquisition and Signal Processing Controller",
}
PORT_DESCRIPTIONS = {4: "PCI Express Root Port", 5: "PCI Express Upstream Switch Port",
                     6: "PCI Express Downstream Switch Port", 7: "PCI Express to PCI/PCI-X Bridge"}


@dataclasses.dataclass(frozen=True, order=True)
class Address:
    segment: int
    bus: int
    device: int
    function: int

    @staticmethod
    def parse(text: str) -> "Address":
        match = ADDRESS.match(text)
        if not match or int(match[3], 16) > 31:
            raise ValueError(f"not a PCI address: {text}")
        return Address(int(match[1] or "0", 16), int(match[2], 16), int(match[3], 16), int(match[4]))

    @property
    def devfn(self) -> int:
        return self.device << 3 | self.function


@dataclasses.dataclass
class Function:
    """One PCI function: what its configuration space, its place and the firmware say."""

    address: Address
    vendor: int
    device: int
    class_code: int  # base class, subclass and interface: 0xCCSSPP
    revision: int = 0
    subsystem_vendor: int = 0
    subsystem: int = 0
    port_type: Optional[int] = None  # device/port type of the PCI Express capability; None without one
    parent: Optional[Address] = None  # the bridge above; None directly below a host bridge
    root: int = 0  # number of the host bridge, by its first bus
    slot_number: Optional[int] = None  # printed on the slot
    description: Optional[str] = None


def hardware_ids(function: Function) -> list:
    ids = f"PCI\\VEN_{function.vendor:04X}&DEV_{function.device:04X}"
    subsystem = f"&SUBSYS_{function.subsystem:04X}{function.subsystem_vendor:04X}"
    return [
        f"{ids}{subsystem}&REV_{function.revision:02X}",
        f"{ids}{subsystem}",
        f"{ids}&CC_{function.class_code:06X}",
        f"{ids}&CC_{function.class_code >> 8:04X}",
    ]


def compatible_ids(function: Function) -> list:
    vendor = f"PCI\\VEN_{function.vendor:04X}"
    device = f"{vendor}&DEV_{function.device:04X}"
    full, short = f"CC_{function.class_code:06X}", f"CC_{function.class_code >> 8:04X}"
    ids = [f"{device}&REV_{function.revision:02X}", device, f"{vendor}&{full}", f"{vendor}&{short}", vendor]
    for code in (full, short):
        # Only PCI Express functions have a device type.
        if function.port_type is not None:
            ids.append(f"PCI\\{code}&DT_{function.port_type}")
        ids.append(f"PCI\\{code}")
    return ids


def description(function: Function) -> str:
    if function.description:
        return function.description
    code = f"{function.class_code:06X}"
    if code.startswith("0604") and function.port_type in PORT_DESCRIPTIONS:
        return PORT_DESCRIPTIONS[function.port_type]
    for length in (6, 4, 2):
        if code[:length] in DESCRIPTIONS:
            return DESCRIPTIONS[code[:length]]
    return "PCI Device"


def location_text(address: Address, several_segments: bool) -> str:
    segment = f"segment {address.segment} " if several_segments else ""
    return f"PCI {segment}bus {address.bus}, device {address.device}, function {address.function}"


def path_to_root(function: Function, by_address: dict) -> list:
    """The function and the bridges above it, from the root down."""
    path = [function]
    while path[0].parent is not None and path[0].parent in by_address and len(path) < 256:
        path.insert(0, by_address[path[0].parent])
    return path


def location_path(path: list) -> str:
    steps = "".join(f"#PCI({step.address.device:02X}{step.address.function:02X})" for step in path)
    return f"PCIROOT({path[0].root:X}){steps}"


def instance_id(function: Function, path: list) -> str:
    """As Windows forms it: depth, a hash of the parent, and the devfn numbers from the function upwards."""
    parent = location_path(path[:-1]) if len(path) > 1 else f"PCIROOT({path[0].root:X})"
    tail = "".join(f"{step.address.devfn:02X}" for step in reversed(path))
    if len(path) > 1:
        tail = tail.rjust(4, "0")
    return f"{hardware_ids(function)[0]}\\{min(len(path) + 2, 9)}&{zlib.crc32(parent.encode()):X}&0&{tail}"


def device(function: Function, by_address: dict, several_segments: bool) -> dict:
    """The function as a device of a machine file."""
    path = path_to_root(function, by_address)
    address = function.address
    properties = {
        "instanceId": instance_id(function, path),
        "DeviceDesc": description(function),
        "HardwareID": hardware_ids(function),
        "CompatibleIDs": compatible_ids(function),
        "LocationInformation": location_text(address, several_segments),
        "LocationPaths": [location_path(path)],
        # The segment is packed above the eight bits of the bus.
        "BusNumber": (address.segment << 8 | address.bus) & 0xFFFFFFFF,
        "Address": address.device << 16 | address.function,
    }
    if function.slot_number is not None:
        properties["UINumber"] = function.slot_number
    return properties


def devices(functions: list) -> list:
    by_address = {function.address: function for function in functions}
    several = len({function.address.segment for function in functions}) > 1
    return [device(function, by_address, several) for function in functions]
