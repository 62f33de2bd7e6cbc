"""What the package does about WMI's classes: which files it compiles, what it takes out again, and what a compiler that
fails comes to."""

import shutil

import package_case
from package_case import CIMOM, CODE, COMPILE_LOG, INSTALLED, LOGS, MARKER, MOFCOMP, WBEM, PackageCase, mof, wine

INSTALL_BOTH = [mof("VelkWmiPci.mof"), mof("standalone.mof")]
REMOVE_BOTH = [mof("uninstall.mof"), mof("uninstall-standalone.mof")]


class Classes(PackageCase):
    def test_bare_system_gets_the_suites_two_classes_too(self):
        self.install(self.package)
        self.assertEqual(self.compiled(), INSTALL_BOTH)
        self.assertIn("those of standalone.mof are put in", COMPILE_LOG.read_text())
        self.remove()
        self.assertEqual(self.compiled(), REMOVE_BOTH)

    def test_property_off_leaves_the_suites_classes_alone(self):
        self.install(self.package, "STANDALONECLASSES=0")
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof")])
        self.assertNothingLeft()

    def test_property_on_compiles_them_in_any_case(self):
        self.install(self.package, "STANDALONECLASSES=1")
        self.assertEqual(self.compiled(), INSTALL_BOTH)
        self.remove()
        self.assertEqual(self.compiled(), REMOVE_BOTH)
        self.assertNothingLeft()

    def test_repair_keeps_the_choice_and_the_command_changes_it(self):
        self.install(self.package, "STANDALONECLASSES=0")
        self.compiled()
        self.repair()
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.setup("compile", "--standalone-classes", "auto")
        self.assertEqual(self.compiled(), INSTALL_BOTH)
        self.setup("compile", "--standalone-classes", "off")
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("uninstall-standalone.mof")],
                         "what setup put in goes, before a suite is installed")
        self.remove()
        self.assertEqual(self.compiled(), [mof("uninstall.mof")])

    def test_another_value_of_the_properties_is_refused(self):
        for wrong in ("STANDALONECLASSES=maybe", "MODERNSLOTTYPES=on", "MOFERRORS=stop"):
            self.assertNotEqual(self.install(self.package, wrong, check=False), 0)
            self.assertNothingLeft()

    def test_failing_mof_compiler_fails_the_installation(self):
        CODE.write_text("3")
        self.assertNotEqual(self.install(self.package, check=False), 0)
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")])
        self.assertNoProduct()

    def test_rollback_takes_out_what_was_put_in(self):
        LOGS.rmdir()
        self.install(self.package)
        self.compiled()
        self.setup("rollback")
        self.assertEqual(self.compiled(), REMOVE_BOTH)
        for path in (MARKER, COMPILE_LOG, LOGS):
            self.assertFalse(path.exists(), path)

    def test_rollback_leaves_what_was_there_before(self):
        self.install(self.package, "STANDALONECLASSES=0")
        notes = MARKER.read_text()
        self.setup("compile", "--standalone-classes", "on")
        self.compiled()
        self.setup("rollback")
        self.assertEqual(self.compiled(), [mof("uninstall-standalone.mof")])
        self.assertEqual(MARKER.read_text(), notes)

    def test_failing_mof_compiler_can_be_overlooked_and_repeated(self):
        CODE.write_text("3")
        self.install(self.package, "MOFERRORS=ignore")
        self.assertRegistered()
        message = COMPILE_LOG.read_text()
        self.assertIn("NOT available: the MOF compiler failed (code 3)", message)
        self.assertIn(r'"C:\Program Files\Velkor\VelkWmiPci\velkpci.exe" setup compile', message)

        code, said = self.setup("compile", check=False)
        self.assertEqual(code, 3)
        self.assertIn("NOT available", said)
        CODE.write_text("0")
        self.assertIn("are ready", self.setup("compile")[1])
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof")] * 2 + INSTALL_BOTH)
        self.remove()
        self.assertNothingLeft()

    def test_missing_mof_compiler_is_a_failure_that_is_named(self):
        hidden = MOFCOMP.with_suffix(".hidden")
        MOFCOMP.rename(hidden)
        self.addCleanup(hidden.rename, MOFCOMP)
        self.assertNotEqual(self.install(self.package, check=False), 0)
        self.assertNoProduct()
        self.install(self.package, "MOFERRORS=ignore")
        self.assertRegistered()
        self.assertIn("mofcomp.exe cannot be started: error 2", COMPILE_LOG.read_text())
        self.remove()
        self.assertFalse(INSTALLED.exists())

    def test_log_folder_is_made_and_stays_with_the_logs_of_others(self):
        LOGS.rmdir()
        self.install(self.package)
        self.assertTrue(LOGS.is_dir())
        self.assertIn("log folder", MARKER.read_text().splitlines())
        self.remove()
        self.assertTrue(LOGS.is_dir())

    def test_removal_takes_its_lines_out_of_what_wmi_compiles_again(self):
        copies = WBEM / "AutoRecover"
        copies.mkdir(exist_ok=True)
        self.addCleanup(shutil.rmtree, copies)
        self.install(self.package)
        shutil.copyfile(INSTALLED / "mof/VelkWmiPci.mof", copies / "a123.mof")
        (copies / "b456.mof").write_text("// another's")
        others = [r"%windir%\system32\wbem\cimwin32.mof", r"C:\windows\system32\wbem\AutoRecover\b456.mof"]
        ours = [mof("VelkWmiPci.mof").upper(), r"C:\windows\system32\wbem\AutoRecover\a123.mof", mof("standalone.mof")]
        lines = [others[0], ours[0], ours[1], others[1], ours[2]]
        wine("reg", "add", CIMOM, "/v", "Autorecover MOFs", "/t", "REG_MULTI_SZ", "/d", r"\0".join(lines), "/f")
        self.addCleanup(wine, "reg", "delete", CIMOM, "/v", "Autorecover MOFs", "/f")
        self.remove()
        kept = wine("reg", "query", CIMOM, "/v", "Autorecover MOFs").stdout.decode()
        self.assertIn(r"\0".join(others), kept)
        self.assertNotIn("velkwmipci", kept.lower())
        self.assertEqual([path.name for path in copies.iterdir()], ["b456.mof"])


if __name__ == "__main__":
    package_case.main()
