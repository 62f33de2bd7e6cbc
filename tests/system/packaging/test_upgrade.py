"""The package over the version before: what is replaced, and what the administrator set and keeps."""

import json

import package_case
from package_case import INSTALLED, MARKER, PROGRAM_PATH, ROOT, SETTINGS, WORK, PackageCase, mof, wine


class Upgrade(PackageCase):
    def administrator_sets(self, value):
        wine("reg", "add", SETTINGS, "/v", "ModernSlotTypes", "/t", "REG_DWORD", "/d", value, "/f")

    def test_upgrade_replaces_the_older_version(self):
        self.install(self.older)
        self.assertOneProduct("0.9.0")
        self.assertTrue((INSTALLED / "docs/dropped.html").is_file())
        self.compiled()
        self.install(self.package)
        self.assertOneProduct(self.version())
        self.assertFalse((INSTALLED / "docs/dropped.html").exists())
        self.assertRegistered()
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("standalone.mof")],
                         "no class is deleted while a newer version takes over")
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof"), mof("uninstall-standalone.mof")])
        self.assertNothingLeft()

    def test_upgrade_keeps_the_folder(self):
        self.install(self.older, r"INSTALLFOLDER=C:\Pci")
        self.install(self.package)
        self.assertRegistered(r"C:\Pci\VelkWmiPci.dll")
        self.assertOneProduct(self.version(), r"C:\Pci")
        self.assertFalse(INSTALLED.exists())
        self.remove()
        self.assertNothingLeft()

    def test_upgrade_keeps_the_choice_of_classes(self):
        self.install(self.older, "STANDALONECLASSES=0")
        self.compiled()
        self.install(self.package)
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.install(self.package, "REINSTALL=ALL", "REINSTALLMODE=omus", "STANDALONECLASSES=1")
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("standalone.mof")])

    def test_upgrade_with_the_property_off_takes_out_what_setup_put_in(self):
        self.install(self.older)
        self.compiled()
        self.install(self.package, "STANDALONECLASSES=0")
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("uninstall-standalone.mof")])
        self.assertNotIn("standalone", [line for line in MARKER.read_text().splitlines() if "before" not in line])

    def test_failing_upgrade_leaves_the_classes(self):
        self.install(self.older)
        self.compiled()
        package_case.CODE.write_text("3")
        self.assertNotEqual(self.install(self.package, check=False), 0)
        self.assertNotIn(mof("uninstall.mof"), self.compiled())

    def test_older_version_does_not_replace_a_newer_one(self):
        self.install(self.package)
        self.assertNotEqual(self.install(self.older, check=False), 0)
        self.assertOneProduct(self.version())
        self.assertRegistered()

    def test_property_turns_the_slot_types_of_modern_servers_on(self):
        self.install(self.package, "MODERNSLOTTYPES=1")
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'])
        self.repair()
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'], "a repair leaves it")
        self.remove()
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'], "settings stay, as those made by hand do")

    def test_installed_provider_lists_modern_slots_by_the_property(self):
        machine = json.loads((ROOT / "machines" / "server-of-2024.json").read_text("utf-8"))
        del machine["settings"]  # so that the registry's counts
        file = WORK / "modern.json"
        file.write_text(json.dumps(machine), "utf-8")

        def slots():
            listed = wine(PROGRAM_PATH, "--machine", file, "list", "Velk_PCISlot", "--json").stdout
            return [each["properties"]["Number"] for each in json.loads(listed)["instances"]]

        self.install(self.older)
        self.assertEqual(slots(), [])
        self.install(self.package, "MODERNSLOTTYPES=1")
        self.assertEqual(slots(), [1, 2, 3, 4, 5, 6, 7, 8])

    def test_upgrade_keeps_what_the_administrator_set(self):
        self.install(self.older, "MODERNSLOTTYPES=1")
        self.install(self.package)
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'])
        self.remove()

        self.install(self.older, "MODERNSLOTTYPES=1")
        self.administrator_sets("0")
        self.install(self.package)
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000000'], "set by hand after the installation")
        self.repair()
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000000'])

    def test_upgrade_with_the_property_sets_anew(self):
        self.administrator_sets("1")
        self.install(self.older)
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'], "set before the installation")
        self.install(self.package, "MODERNSLOTTYPES=0")
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000000'])

    def test_without_the_property_nothing_is_set(self):
        self.install(self.package)
        self.assertIsNone(self.settings())


if __name__ == "__main__":
    package_case.main()
