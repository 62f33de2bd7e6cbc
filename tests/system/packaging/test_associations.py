"""What the package is for: after one silent command the associations resolve, shown by the installed program through a
stand-in for WMI that knows what was compiled and nothing else."""

import json
import shutil
import subprocess

import package_case
from package_case import BUILD, DRIVE, PROGRAM_PATH, ROOT, WORK, PackageCase, mof, wine

WMI = DRIVE / "wmi"
# WMI's locator and its path parser.
STOOD_IN_FOR = ("{4590F811-1D3A-11D0-891F-00AA004B2E24}", "{CF4CC405-E2C5-4DDD-B3CE-5E7582D8C9FA}")
SUITE = r"""
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "VKQ"; };
#pragma namespace("\\\\.\\root\\VKQ")
class Velk_WinComputerSystem { [Key] string CreationClassName; [Key] string Name; string Model; };
class Velk_ComputerSystemChassis { [Key] string CreationClassName; [Key] string Tag; string SerialNumber; };
instance of Velk_ComputerSystemChassis
{ CreationClassName = "Velk_ComputerSystemChassis"; Tag = "The suite's chassis"; };
"""


class Associations(PackageCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # The devices of a server, for Wine to list, and its firmware, for the stand-in.
        machine, devices = ROOT / "machines" / "two-socket-rack-server.json", WORK / "devices.reg"
        subprocess.run([ROOT / "tools" / "machine-to-reg", machine, devices], check=True)
        shutil.copy(machine, DRIVE / "machine.json")
        wine("regedit", "/S", f"Z:{devices}")
        shutil.copy(BUILD / "wmi_stand_in.dll", DRIVE)
        for clsid in STOOD_IN_FOR:
            wine("reg", "add", f"HKLM\\Software\\Classes\\CLSID\\{clsid}\\InprocServer32", "/ve", "/d",
                 r"C:\wmi_stand_in.dll", "/f")

    def setUp(self):
        super().setUp()
        shutil.rmtree(WMI, ignore_errors=True)
        WMI.mkdir()
        self.addCleanup(shutil.rmtree, WMI)

    def ask(self, *words) -> dict:
        """The installed program's answer from WMI, as JSON."""
        return json.loads(wine(PROGRAM_PATH, *words, "--json", check=False).stdout)

    def assertAssociationsResolve(self, chassis):
        """Every class of associations has instances, and both ends of each lead to an instance."""
        for name, whole in (("Velk_SystemPCIDevice", "Velk_WinComputerSystem"), ("Velk_SystemPCISlot", chassis)):
            found = self.ask("list", name)["instances"]
            self.assertGreater(len(found), 3, name)
            ends = []
            for each in found:
                self.assertIn(whole, each["properties"]["GroupComponent"])
                ends += [each["properties"][end] for end in ("GroupComponent", "PartComponent")]
            for end in ends:
                self.assertRegex(end, r"^\\\\\w+\\root\\VKQ:", "a path that names its server")
            answer = wine(PROGRAM_PATH, "get", *sorted(set(ends))[:20], "--json", check=False)
            self.assertEqual(answer.returncode, 0, answer.stderr)
            self.assertNotIn(None, json.loads(answer.stdout)["instances"])

    def test_silent_installation_on_a_bare_system_ends_with_associations_that_resolve(self):
        self.install(self.package)
        self.assertAssociationsResolve("Computer System Chassis")

    def test_without_the_classes_they_would_not(self):
        self.install(self.package, "STANDALONECLASSES=0")
        found = self.ask("list", "Velk_SystemPCISlot")["instances"]
        self.assertTrue(found)
        for each in found:
            self.assertFalse(each["properties"].get("GroupComponent"))

    def test_the_suites_classes_are_used_and_left_alone(self):
        (WMI / "0000.mof").write_text(SUITE)
        self.install(self.package)
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.assertAssociationsResolve("The suite's chassis")
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof")])

    def test_upgrade_compiles_anew_what_setup_put_in(self):
        self.install(self.older)
        self.install(self.package)
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("standalone.mof")] * 2)
        self.assertAssociationsResolve("Computer System Chassis")

    def test_a_suite_installed_later_keeps_its_classes_at_removal(self):
        self.install(self.package)
        (WMI / "0002.mof").write_text(SUITE)
        self.compiled()
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof")])

    def test_classes_compiled_by_hand_stay(self):
        shutil.copy(ROOT / "mof" / "standalone.mof", WMI / "0000.mof")
        self.install(self.package)
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.assertAssociationsResolve("Computer System Chassis")
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof")])


if __name__ == "__main__":
    package_case.main()
