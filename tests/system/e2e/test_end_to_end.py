"""The shipped DLL and velkpci on the sample server: registration, every command, exit codes, the log's bytes, and a
registry without traces afterwards."""

import re
import shutil
import unittest

import wine_prefix
from wine_prefix import CLASSES, COMMON_LOG_KEY
from wine_process import DESKTOP_KEY

BUILD = wine_prefix.build_folder()

# What Velk_PCIDevice's provider fills in; the class has more.
WRITTEN = {
    "CreationClassName": "string", "DeviceID": "string", "SystemCreationClassName": "string", "SystemName": "string",
    "Caption": "string", "Description": "string", "ElementName": "string", "Name": "string",
    "Capabilities": "uint16[]", "CapabilityDescriptions": "string[]", "VendorID": "uint16", "PCIDeviceID": "uint16",
    "RevisionID": "uint8", "SubsystemVendorID": "uint16", "SubsystemID": "uint16", "ClassCode": "uint32",
    "BusNumber": "uint32", "DeviceNumber": "uint32", "FunctionNumber": "uint32",
}
DEVICE = ('Velk_PCIDevice.CreationClassName="Velk_PCIDevice",DeviceID="BUS(59)DEV(0)FN(0)",'
          'SystemCreationClassName="Velk_WinComputerSystem",SystemName="rack17.example.com"')
COMPUTER = 'Velk_WinComputerSystem.CreationClassName="Velk_WinComputerSystem",Name="rack17.example.com"'
CARD = 'Velk_PCICard.CreationClassName="Velk_PCICard",Tag="PCI Card 2"'
NO_SLOT = 'Velk_PCISlot.CreationClassName="Velk_PCISlot",Tag="PCI Slot 99"'

LOADED = "[Information] VelkWmiPci.DLL!CVelkWmiPciModule::CVelkWmiPciModule| DLL is loaded."
UNLOADED = "[Information] VelkWmiPci.DLL!CVelkWmiPciModule::~CVelkWmiPciModule| DLL is unloaded."

prefix = None
# What was registered before the DLL ever was.
fresh_registry = None


def setUpModule():
    global prefix, fresh_registry
    prefix = wine_prefix.Prefix(BUILD, "e2e-prefix")
    unittest.addModuleCleanup(prefix.remove)
    fresh_registry = class_registry()


def class_registry() -> dict:
    """The keys below which classes of machine and user are registered, with their values as regedit writes them."""
    keys = {}
    for key in (r"HKLM\Software\Classes", r"HKCU\Software"):
        target = prefix.folder / "exported.reg"
        prefix.wine("reg", "export", key, f"Z:{target}", "/y")
        values = []
        for line in target.read_text(encoding="utf-16").splitlines():
            if line.startswith("["):
                values = [] if line[1:].startswith(DESKTOP_KEY) else keys.setdefault(line[1:-1], [])
            elif line:
                values.append(line)
    return keys


class Registration(unittest.TestCase):
    maxDiff = None

    def test_unregistration_removes_what_registration_wrote(self):
        prefix.register()
        registered = class_registry()
        added = "\n".join(set(registered) - set(fresh_registry))
        for clsid in re.findall(r'CLSID = "(\{[^}]+\})"', (wine_prefix.ROOT / "mof/VelkWmiPci.mof").read_text("utf-8")):
            self.assertIn(f"\\CLSID\\{clsid}\\InprocServer32", added)
        prefix.unregister()
        self.assertEqual(class_registry(), fresh_registry)
        # Twice changes nothing either.
        prefix.register()
        prefix.register()
        self.assertEqual(class_registry(), registered)
        prefix.unregister()
        self.assertEqual(class_registry(), fresh_registry)

    def test_without_registration_the_user_is_told_what_to_do(self):
        answer = prefix.velkpci("list", "Velk_PCIDevice")
        self.assertEqual((answer.code, answer.output), (1, ""))
        self.assertIn('is not registered: run "regsvr32 VelkWmiPci.dll"', answer.errors)
        self.assertIn("WBEM_E_PROVIDER_LOAD_FAILURE (0x80041013)", answer.errors)


class RegisteredCase:
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        prefix.register()
        cls.addClassCleanup(prefix.unregister)

    def succeed(self, *arguments):
        answer = prefix.velkpci(*arguments)
        self.assertEqual((answer.code, answer.errors), (0, ""), arguments)
        return answer

    def listed(self, name):
        return wine_prefix.instances_of(self.succeed("list", name, "--json"))


class Commands(RegisteredCase, unittest.TestCase):
    def test_classes_are_told_with_their_providers(self):
        told = {each["class"]: each["provider"] for each in self.succeed("classes", "--json").json()["classes"]}
        self.assertEqual({name: provider for name, provider in told.items() if provider},
                         {name: name.replace("_", "") + "Prov" for name in CLASSES})

    def test_list_and_get_agree(self):
        for name in CLASSES:
            with self.subTest(name=name):
                listed = self.listed(name)
                self.assertNotEqual(listed, [])
                got = prefix.get_all([each["path"] for each in listed])
                self.assertEqual([got[each["path"]] for each in listed], listed)

    def test_instance_has_19_properties_and_null_in_all_others(self):
        listed = self.listed("Velk_PCIDevice")
        self.assertEqual((len(listed), len(WRITTEN)), (20, 19))
        for instance in listed:
            properties, types = instance["properties"], instance["types"]
            self.assertEqual(set(properties), set(types))
            self.assertEqual({name: types[name] for name, value in properties.items() if value is not None}, WRITTEN)

    def test_null_properties_are_shown_on_request(self):
        hidden = self.succeed("get", DEVICE).output
        shown = self.succeed("get", DEVICE, "--all").output
        self.assertEqual(set(re.findall(r"^    (\w+)", hidden, re.M)), set(WRITTEN))
        nulls = set(re.findall(r"^    (\w+) +NULL$", shown, re.M))
        self.assertEqual(set(re.findall(r"^    (\w+)", shown, re.M)), set(WRITTEN) | nulls)
        self.assertIn("SubclassCode", nulls)
        self.assertTrue(nulls.isdisjoint(WRITTEN))

    def test_dump_holds_what_list_shows(self):
        dump = wine_prefix.by_class(self.succeed("dump", "--json"))
        self.assertLessEqual(set(CLASSES), set(dump))
        for name in ("Velk_PCIDevice", "Velk_SystemPCISlot"):
            self.assertEqual(dump[name], self.listed(name))

    def test_associators_are_both_neighbours_of_a_card(self):
        found = wine_prefix.instances_of(self.succeed("associators", CARD, "--json"))
        self.assertEqual([(each["class"], each["properties"].get("Tag", each["properties"].get("DeviceID")))
                          for each in found],
                         [("Velk_PCISlot", "PCI Slot 2")] +
                         [("Velk_PCIDevice", f"BUS(59)DEV(0)FN({function})") for function in range(4)])

    def test_references_are_the_associations_that_name_a_card(self):
        found = wine_prefix.instances_of(self.succeed("references", CARD, "--json"))
        self.assertEqual([each["class"] for each in found], ["Velk_PCICardInSlot"] + 4 * ["Velk_RealizesPCIDevice"])
        for each in found:
            self.assertIn(f"\\\\RACK17\\root\\VKQ:{CARD}", wine_prefix.references_of(each).values())

    def test_computer_system_is_tied_to_all_functions_and_bridges(self):
        found = wine_prefix.instances_of(self.succeed("associators", COMPUTER, "--json"))
        self.assertEqual([each["class"] for each in found], 20 * ["Velk_PCIDevice"] + 12 * ["Velk_PCIBridge"])

    def test_tree_shows_the_machine(self):
        tree = self.succeed("tree").output.splitlines()
        self.assertEqual(tree[:2], ["Computer rack17.example.com", "├─ Chassis Computer System Chassis"])
        self.assertIn("│  ├─ PCI Slot 5: PCI-E x4, PCI Express, hot-plug, powered, at PCI Slot 5 (position 5)", tree)
        at = tree.index("│  │  └─ PCI Card 5")
        self.assertEqual(tree[at + 1], "│  │     └─ BUS(134)DEV(0)FN(0)  144D:A824  Standard NVM Express Controller")
        for instance in self.listed("Velk_PCIDevice"):
            place = f"─ {instance['properties']['DeviceID']}  "
            self.assertEqual(sum(place in line for line in tree), 1, place)

    def test_wmi_failure_ends_with_one_and_names_its_status(self):
        for arguments, status in ((("get", NO_SLOT), "WBEM_E_NOT_FOUND (0x80041002)"),
                                  (("list", "Velk_Nothing"), "WBEM_E_INVALID_CLASS (0x80041010)"),
                                  (("list", "velk_pcislit"),
                                   "WBEM_E_INVALID_CLASS (0x80041010): did you mean Velk_PCISlot?"),
                                  (("get", 'no path"'), "WBEM_E_INVALID_OBJECT_PATH (0x8004103A): "
                                                        'a path is written Class.Key="value",Key2=1'),
                                  (("references", NO_SLOT), "WBEM_E_NOT_FOUND (0x80041002)")):
            answer = prefix.velkpci(*arguments)
            self.assertEqual((answer.code, answer.output), (1, ""))
            self.assertEqual(answer.errors, f"velkpci: {arguments[1]}: {status}\n")
            told = prefix.velkpci(*arguments, "--json").json()
            self.assertEqual([each["request"] for each in told["failures"]], [arguments[1]])

    def test_a_query_that_cannot_be_read_is_told_in_one_line(self):
        answer = prefix.velkpci("query", "SELEC * FROM Velk_PCISlot")
        self.assertEqual((answer.code, answer.output), (1, ""))
        self.assertRegex(answer.errors, r"\Avelkpci: SELEC .*: WBEM_E_INVALID_QUERY \(0x80041017\): .+\n\Z")

    def test_query_selects_properties_and_instances(self):
        found = self.succeed("query", "SELECT Tag, PoweredOn FROM Velk_PCISlot WHERE SupportsHotPlug = TRUE", "--json")
        document = found.json()
        self.assertTrue(document["instances"])
        for each in document["instances"]:
            self.assertEqual(list(each["properties"]), ["Tag", "PoweredOn"])

    def test_get_of_several_paths_tells_which_is_missing(self):
        answer = prefix.velkpci("get", NO_SLOT, CARD, "--json")
        self.assertEqual(answer.code, 1)
        self.assertEqual(answer.errors, f"velkpci: {NO_SLOT}: WBEM_E_NOT_FOUND (0x80041002)\n")
        missing, card = answer.json()["instances"]
        self.assertIsNone(missing)
        self.assertEqual(card["properties"]["Tag"], "PCI Card 2")

    def test_keys_may_come_in_any_order_and_case_but_values_as_they_are(self):
        self.succeed("get", 'velk_pcicard.TAG="PCI Card 2",creationclassname="Velk_PCICard"')
        self.assertEqual(prefix.velkpci("get", CARD.replace("PCI Card", "PCI CARD")).code, 1)

    def test_bad_usage_ends_with_two(self):
        for arguments in ((), ("lisst",), ("list",), ("get",), ("list", "Velk_PCISlot", "--columns", "Nothing"),
                          ("--provider", "tree"), ("--namespace", r"root\none", "classes"), ("tree", "--csv")):
            answer = prefix.velkpci(*arguments)
            self.assertEqual((answer.code, answer.output), (2, ""), arguments)
            self.assertNotEqual(answer.errors, "")
        missing = prefix.velkpci("tree", machine="no-such-machine.json")
        self.assertEqual((missing.code, missing.errors), (2, "velkpci: no-such-machine.json: cannot be opened\n"))


class Log(RegisteredCase, unittest.TestCase):
    def setUp(self):
        prefix.log.unlink(missing_ok=True)

    def configure(self, name: str, kind: str, value: str):
        prefix.wine("reg", "add", COMMON_LOG_KEY, "/v", name, "/t", kind, "/d", value, "/f")
        self.addCleanup(prefix.wine, "reg", "delete", COMMON_LOG_KEY, "/f")

    def lines(self, file=None) -> list:
        """The log's lines without their times: UTF-16 without a mark, each line ended by both line ends."""
        data = (file or prefix.log).read_bytes()
        self.assertFalse(data.startswith(b"\xff\xfe"))
        *lines, rest = data.decode("utf-16-le").split("\r\n")
        self.assertEqual(rest, "")
        when = re.compile(r"(?:0[1-9]|1[0-2])/[0-3]\d/20\d\d [0-2]\d:[0-5]\d:[0-6]\d\.\d{3} ")
        for line in lines:
            self.assertRegex(line, when)
        return [when.sub("", line, count=1) for line in lines]

    def test_enumeration_is_logged_byte_for_byte(self):
        self.succeed("list", "Velk_PCIDevice")
        self.assertEqual(self.lines(), [
            LOADED, "[Information] VelkWmiPci.DLL!CVelkPCIDeviceProv::CreateInstanceEnumAsync| Returning 20 instances",
            UNLOADED])

    def test_requests_for_one_instance_are_logged(self):
        self.succeed("get", DEVICE)
        prefix.velkpci("get", NO_SLOT)
        self.assertEqual(self.lines(), [
            LOADED, "[Information] VelkWmiPci.DLL!CVelkPCIDeviceProv::GetInstanceByPath| Returning instance by path",
            UNLOADED,
            LOADED, "[Error] VelkWmiPci.DLL!CVelkPCISlotProv::GetInstanceByPath| Cannot return instance by path",
            UNLOADED])

    def test_failed_enumeration_is_logged(self):
        machine = wine_prefix.ROOT / "machines" / "no-smbios.json"
        self.assertEqual(prefix.velkpci("list", "Velk_SystemPCISlot", machine=machine).code, 1)
        self.assertEqual(self.lines(), [
            LOADED, "[Error] VelkWmiPci.DLL!CVelkSystemPCISlotProv::CreateInstanceEnumAsync| Cannot return instances",
            UNLOADED])

    def test_every_class_but_one_logs_how_many_it_returns(self):
        dump = wine_prefix.by_class(self.succeed("dump", "--json"))
        returned = [re.fullmatch(r"\[Information\] VelkWmiPci\.DLL!CVelk(\w+)Prov::CreateInstanceEnumAsync\| "
                                 r"Returning (\d+) instances", line) for line in self.lines()]
        # The slot locations come from a thread of their own, which is silent about it.
        self.assertEqual([(f"Velk_{match[1]}", int(match[2])) for match in returned if match],
                         [(name, len(dump[name])) for name in CLASSES if name != "Velk_PCISlotLocation"])

    def test_level_1_logs_every_step(self):
        self.configure("LogLevel", "REG_DWORD", "1")
        self.succeed("list", "Velk_PCICard")
        entering = "[Verbose] VelkWmiPci.DLL!CVelkPCICardProv::{}| Entering"
        self.assertEqual(self.lines(), [
            "[Verbose] VelkWmiPci.DLL!CCommonLog::LogInit| A logging interface is initialized "
            '(Module="VelkWmiPci.DLL", Level=Debug, size=2097152)',
            LOADED, entering.format("Initialize"), entering.format("CreateInstanceEnumAsync"),
            *4 * [entering.format("FillInstance")],
            "[Information] VelkWmiPci.DLL!CVelkPCICardProv::CreateInstanceEnumAsync| Returning 4 instances", UNLOADED])

    def test_level_5_logs_failures_alone(self):
        self.configure("LogLevel", "REG_DWORD", "5")
        self.succeed("list", "Velk_PCICard")
        self.assertFalse(prefix.log.exists() and prefix.log.read_bytes())
        prefix.velkpci("get", NO_SLOT)
        self.assertEqual(self.lines(),
                         ["[Error] VelkWmiPci.DLL!CVelkPCISlotProv::GetInstanceByPath| Cannot return instance by path"])

    def test_log_goes_where_the_registry_says(self):
        folder = prefix.drive / "elsewhere"
        folder.mkdir()
        self.addCleanup(shutil.rmtree, folder)
        self.configure("LogFolder", "REG_SZ", r"C:\elsewhere")
        self.succeed("list", "Velk_PCICard")
        self.assertEqual(self.lines(folder / prefix.log.name)[0], LOADED)
        self.assertFalse(prefix.log.exists())

    def test_folder_that_cannot_be_opened_gives_way_to_the_default(self):
        self.configure("LogFolder", "REG_SZ", r"Q:\no such drive")
        self.succeed("list", "Velk_PCICard")
        self.assertEqual(self.lines()[0], LOADED)

    def test_without_any_folder_the_log_is_silent_and_the_provider_works(self):
        with_log = self.succeed("dump", "--json").output
        before = set(prefix.drive.rglob("*.log"))
        hidden = prefix.logs.with_name("hidden")
        prefix.logs.rename(hidden)
        self.addCleanup(hidden.rename, prefix.logs)
        self.configure("LogFolder", "REG_SZ", r"Q:\no such drive")
        prefix.unregister()
        prefix.register()
        self.assertEqual(self.succeed("dump", "--json").output, with_log)
        self.assertEqual({each.name for each in prefix.drive.rglob("*.log")}, {each.name for each in before})
        self.assertFalse(prefix.logs.exists())


if __name__ == "__main__":
    unittest.main()
