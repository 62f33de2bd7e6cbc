"""Clients without a line of ours, on the shipped DLL behind velkhost.dll: cscript with VBScript and JScript, wmic, a
program in C, and velkpci through WMI's locator. What they are told is compared with what velkpci says of the machine."""

import re
import unittest

import mof_text
import wine_prefix
from wine_prefix import CLASSES, ROOT, SERVER

BUILD = wine_prefix.build_folder()
EXAMPLES = ROOT / "docs" / "examples"
SAMPLES = [SERVER, ROOT / "machines" / "server-of-2024.json"]
SETTINGS = r"HKLM\Software\Velkor\velkhost"
CARD = 'Velk_PCICard.CreationClassName="Velk_PCICard",Tag="PCI Card 2"'

# The VARIANT that WMI hands out a CIM type in, as documented: numbers of CIMTYPE_ENUMERATION and VARENUM.
ARRAY = 0x2000
VARIANT_OF = {"boolean": (11, 11), "uint8": (17, 17), "uint16": (18, 3), "uint32": (19, 3), "string": (8, 8),
              "ref": (102, 8), "datetime": (101, 8), "uint64": (21, 8), "sint16": (2, 2), "real32": (4, 4)}

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-clients")
    unittest.addModuleCleanup(prefix.remove)


def written(instance: dict) -> dict:
    """The properties of an instance that are not NULL."""
    return {name: each for name, each in instance["properties"].items() if each is not None}


def script(name: str, *arguments) -> wine_prefix.Answer:
    return prefix.start("cscript", "//nologo", f"Z:{EXAMPLES / name}", *arguments)


def use_machine(test, machine):
    prefix.environment["VELKHOST_MACHINE"] = f"Z:{machine}"
    test.addClassCleanup(prefix.environment.clear)


class ClientsOfOneMachine:
    """What every client is asked, on each sample machine."""

    maxDiff = None
    machine = None

    @classmethod
    def setUpClass(cls):
        prefix.register()
        cls.addClassCleanup(prefix.unregister)
        prefix.register("velkhost.dll")
        cls.addClassCleanup(prefix.unregister, "velkhost.dll")
        use_machine(cls, cls.machine)
        cls.dump = prefix.velkpci("dump", "--json", machine=cls.machine)
        cls.known = wine_prefix.by_class(cls.dump)

    def wanted(self, name, fits=lambda properties: True):
        found = [written(each) for each in self.known[name]]
        return [(name, properties) for properties in found if fits(properties)]

    def assert_listed(self, answer, expected):
        self.assertEqual((answer.code, answer.errors), (0, ""))
        self.assertEqual(mof_text.instances(answer.output), expected)

    def test_velkpci_through_the_locator_says_the_same(self):
        answer = prefix.start(BUILD / "velkpci.exe", "dump", "--json")
        self.assertEqual((answer.code, answer.errors), (0, ""))
        through_locator, directly = answer.json(), self.dump.json()
        self.assertEqual(through_locator.pop("source")["kind"], "wmi")
        directly.pop("source")
        self.assertEqual(through_locator, directly)

    def test_vbscript_enumerates_every_class_through_the_moniker(self):
        self.assert_listed(script("list-classes.vbs", *CLASSES), [each for name in CLASSES for each in self.wanted(name)])

    def test_wmic_tabulates_what_is_asked_for(self):
        prefix.environment["VELKHOST_CIMV2"] = r"root\VKQ"
        self.addCleanup(prefix.environment.pop, "VELKHOST_CIMV2")
        for name, properties in (("Velk_PCIDevice", ["DeviceID", "VendorID", "BusNumber", "Description"]),
                                 ("Velk_PCISlot", ["Tag", "Number", "SupportsHotPlug"]),
                                 ("Velk_PCICardInSlot", ["Antecedent", "Dependent"])):
            with self.subTest(name=name):
                answer = prefix.start("wmic", "path", name, "get", ",".join(properties))
                self.assertEqual(answer.code, 0)
                self.assertEqual(wmic_rows(answer.output, properties),
                                 [[wmic_text(each[one]) for one in properties] for _, each in self.wanted(name)])

    def test_a_client_in_c_gets_the_documented_types(self):
        for name in CLASSES:
            with self.subTest(name=name):
                answer = prefix.start(BUILD / "list_class.exe", f"SELECT * FROM {name}")
                self.assertEqual((answer.code, answer.errors), (0, ""))
                told = [dict(line.split("\t", 1) for line in block.splitlines())
                        for block in answer.output.split("\n\n") if block]
                self.assertEqual(len(told), len(self.known[name]))
                for properties, instance in zip(told, self.known[name]):
                    # A slot's power depends on what was asked before.
                    skipped = {"PoweredOn"} if name == "Velk_PCISlot" else set()
                    self.assertEqual({key: each for key, each in properties.items() if key not in skipped},
                                     {key: c_text(instance["types"][key], each)
                                      for key, each in instance["properties"].items() if key not in skipped})

    def test_references_lead_to_instances(self):
        answer = script("slots.vbs")
        self.assertEqual((answer.code, answer.errors), (0, ""))
        cards = {}
        for line in answer.output.splitlines():
            number, _, rest = line.partition("\t")
            if number:
                current = cards.setdefault(rest.split("\t")[0], [])
            else:
                current.append(rest)
        expected = {each["Tag"]: [] for _, each in self.wanted("Velk_PCISlot")}
        for _, link in self.wanted("Velk_PCICardInSlot"):
            slot, card = (re.search(r'Tag="([^"]*)"', link[end])[1] for end in ("Antecedent", "Dependent"))
            expected[slot].append(card)
        self.assertEqual(cards, expected)


def wmic_text(value) -> str:
    """As a VARIANT becomes text."""
    return {True: "-1", False: "0"}.get(value, str(value)) if isinstance(value, bool) else str(value)


def wmic_rows(output: str, properties: list) -> list:
    """The columns asked for. All columns have the width of the longest value, and no value reaches the next: the header's
    names may. Which columns there are tells the header; Wine's has the system properties, too."""
    header, *rows = [line for line in output.replace("\0", "").lstrip("\ufeff").splitlines() if line.strip()]
    known = sorted({"__GENUS", "__CLASS", "__SUPERCLASS", "__DYNASTY", "__RELPATH", "__PROPERTY_COUNT", "__DERIVATION",
                    "__SERVER", "__NAMESPACE", "__PATH", *properties}, key=len, reverse=True)
    names = re.findall("|".join(known), header)
    width = len(rows[0]) // len(names)
    cells = [dict(zip(names, (row[at * width:(at + 1) * width].strip() for at in range(len(names))))) for row in rows]
    return [[each[name] for name in properties] for each in cells]


def c_text(kind: str, value) -> str:
    """What list_class prints behind a property's name: CIM type, VARTYPE, value."""
    element = kind.removesuffix("[]")
    cim, variant = VARIANT_OF[element]
    if kind.endswith("[]"):
        cim, variant = cim | ARRAY, variant | ARRAY
    if value is None:
        return f"{cim}\t1\tnull"
    texts = [{True: "TRUE", False: "FALSE"}[each] if isinstance(each, bool) else str(each)
             for each in (value if isinstance(value, list) else [value])]
    return f"{cim}\t{variant}\t{'|'.join(texts)}"


class ClientsOfTheRackServer(ClientsOfOneMachine, unittest.TestCase):
    """One machine is asked in every way; what the ways are says nothing of the machine."""

    machine = SAMPLES[0]

    def test_jscript_enumerates_every_class(self):
        for name in CLASSES:
            # A slot's power depends on whether the process has asked for the bridges: this one has not.
            if name != "Velk_PCISlot":
                with self.subTest(name=name):
                    self.assert_listed(script("query.js", f"SELECT * FROM {name}"), self.wanted(name))

    def test_queries_filter_by_keys_and_other_properties(self):
        first = self.wanted("Velk_PCIDevice")[0][1]
        for condition, fits in (
                (f"DeviceID = '{first['DeviceID']}'", lambda each: each["DeviceID"] == first["DeviceID"]),
                (f"deviceid = '{first['DeviceID'].lower()}'", lambda each: each["DeviceID"] == first["DeviceID"]),
                (f"VendorID = {first['VendorID']}", lambda each: each["VendorID"] == first["VendorID"]),
                ("BusNumber = 999", lambda each: False)):
            for client in ("query.vbs", "query.js"):
                with self.subTest(condition=condition, client=client):
                    self.assert_listed(script(client, f"SELECT * FROM Velk_PCIDevice WHERE {condition}"),
                                       self.wanted("Velk_PCIDevice", fits))

    def test_every_path_leads_a_script_to_its_instance(self):
        for name in CLASSES:
            if not self.known[name] or name == "Velk_PCISlot":
                continue
            with self.subTest(name=name):
                instance = self.known[name][-1]
                for path in (instance["path"], instance["path"].partition(":")[2]):
                    self.assert_listed(script("get-instance.vbs", path), [(name, written(instance))])


class ClientsOfTheServerOf2024(ClientsOfOneMachine, unittest.TestCase):
    machine = SAMPLES[1]


class Setup(unittest.TestCase):
    """How the host is told its machine, and what a client sees of a host without one."""

    @classmethod
    def setUpClass(cls):
        prefix.register()
        cls.addClassCleanup(prefix.unregister)
        prefix.register("velkhost.dll")
        cls.addClassCleanup(prefix.unregister, "velkhost.dll")

    def setUp(self):
        self.log = prefix.logs / "velkhost.log"
        self.log.unlink(missing_ok=True)
        self.addCleanup(prefix.environment.clear)

    def fails(self, reason: str):
        velkpci = prefix.start(BUILD / "velkpci.exe", "list", "Velk_PCISlot")
        self.assertEqual((velkpci.code, velkpci.output), (1, ""))
        self.assertIn("0x80041014", velkpci.errors)
        in_c = prefix.start(BUILD / "list_class.exe", "SELECT * FROM Velk_PCISlot")
        self.assertEqual((in_c.code, in_c.errors.strip()), (1, "ConnectServer: 0x80041014"))
        lines = self.log.read_text(encoding="utf-8").splitlines()
        self.assertEqual(len(lines), 2)
        for line in lines:
            self.assertRegex(line, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \[\d+\] No client can connect: ")
            self.assertIn(reason, line)

    def test_without_a_machine_the_client_gets_a_status_and_the_log_the_reason(self):
        self.fails("no machine is configured: name a machine file in the environment variable VELKHOST_MACHINE")

    def test_a_machine_file_that_is_missing_is_named(self):
        prefix.environment["VELKHOST_MACHINE"] = r"Z:\nowhere\machine.json"
        self.fails(r"machine.json")

    def test_a_broken_machine_file_is_named_with_the_place(self):
        broken = prefix.folder / "broken.json"
        broken.write_text('{"devices": 7}', encoding="utf-8")
        prefix.environment["VELKHOST_MACHINE"] = f"Z:{broken}"
        self.fails("broken.json")

    def test_the_registry_names_the_machine_where_the_environment_does_not(self):
        prefix.wine("reg", "add", SETTINGS, "/v", "Machine", "/d", f"Z:{SERVER}", "/f")
        self.addCleanup(prefix.wine, "reg", "delete", SETTINGS, "/v", "Machine", "/f")
        answer = prefix.start(BUILD / "list_class.exe", "SELECT Tag FROM Velk_PCISlot WHERE Number = 3")
        self.assertEqual((answer.code, answer.output), (0, "Tag\t8\t8\tPCI Slot 3\n\n"))
        # The environment comes first.
        prefix.environment["VELKHOST_MACHINE"] = f"Z:{ROOT / 'machines' / 'no-smbios.json'}"
        answer = prefix.start(BUILD / "list_class.exe", "SELECT Tag FROM Velk_PCISlot WHERE Number = 3")
        self.assertEqual((answer.code, answer.output), (0, ""))

    def test_wrong_input_has_the_documented_status(self):
        prefix.environment["VELKHOST_MACHINE"] = f"Z:{SERVER}"
        for path, status in (("Velk_Nothing", "80041002"), ("Velk_PCICard.Tag=", "8004103A"), (r"\\elsewhere\root\VKQ:Velk_PCICard", "80041015"),
                             (r"root\nowhere:Velk_PCICard", "8004100E"),
                             (CARD.replace("Card 2", "Card 99"), "80041002")):
            with self.subTest(path=path):
                answer = script("get-instance.vbs", path)
                self.assertEqual((answer.code, answer.output), (1, f"error 0x{status}\n"))
        for query, status in (("SELECT * FROM Velk_Nothing", "80041010"), ("garbage", "80041017"),
                              ("SELECT Nothing FROM Velk_PCISlot", "80041017")):
            with self.subTest(query=query):
                answer = prefix.start(BUILD / "list_class.exe", query)
                self.assertEqual((answer.code, answer.errors.strip()), (1, f"the query: 0x{status}"))

    def test_unregistration_gives_the_classes_back(self):
        keys = [rf"HKLM\Software\Classes\CLSID\{clsid}\InprocServer32"
                for clsid in ("{4590F811-1D3A-11D0-891F-00AA004B2E24}", "{CF4CC405-E2C5-4DDD-B3CE-5E7582D8C9FA}")]
        ours = [prefix.wine("reg", "query", key, "/ve").output for key in keys]
        self.assertTrue(all("velkhost.dll" in each for each in ours))
        prefix.unregister("velkhost.dll")
        theirs = [prefix.wine("reg", "query", key, "/ve").output for key in keys]
        self.assertIn("wbemprox.dll", theirs[0])
        self.assertIn("wmiutils.dll", theirs[1])
        prefix.register("velkhost.dll")
        prefix.register("velkhost.dll")
        self.assertEqual([prefix.wine("reg", "query", key, "/ve").output for key in keys], ours)
        prefix.unregister("velkhost.dll")
        self.assertEqual([prefix.wine("reg", "query", key, "/ve").output for key in keys], theirs)
        prefix.register("velkhost.dll")


if __name__ == "__main__":
    unittest.main()
