"""The Windows Installer package of a build (BUILD_DIR is the argument), taken through its life under Wine.

Wine's msiexec repairs by REINSTALL properties alone, not by /f; on Windows the two are the same.
"""

import hashlib
import json
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv.pop()).resolve()
WORK = BUILD / "package-test"
DRIVE = WORK / "wineprefix" / "drive_c"
INSTALLED = DRIVE / "Program Files" / "Velkor" / "VelkWmiPci"
LOGS = DRIVE / "windows" / "system32" / "wbem" / "logs"
MOFCOMP = DRIVE / "windows" / "system32" / "wbem" / "mofcomp.exe"
CALLS = DRIVE / "mofcomp.calls"
CODE = DRIVE / "mofcomp.code"

DLL_PATH = r"C:\Program Files\Velkor\VelkWmiPci\VelkWmiPci.dll"
MOF_PATH = r"C:\Program Files\Velkor\VelkWmiPci\mof\VelkWmiPci.mof"
UNINSTALL_MOF_PATH = r"C:\Program Files\Velkor\VelkWmiPci\mof\uninstall.mof"
CLASSES = r"HKEY_LOCAL_MACHINE\Software\Classes"
SETTINGS = r"HKEY_LOCAL_MACHINE\Software\Velkor\WBEM"
PRODUCTS = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall"
APP_ID = "{6170B318-1620-4335-AA40-6ABAEE17BA4D}"
TYPE_LIBRARY = "{A104667A-072E-466E-AFD1-94FD0959E4FB}"

# Empty keys and an empty folder that the first package leaves in a fresh prefix, whatever it holds; Windows has them.
WINES_OWN_KEYS = {f"{CLASSES}\\Installer{key}".lower() for key in ("", r"\Features", r"\Products", r"\UpgradeCodes")} | {
    f"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer{key}".lower()
    for key in (r"\UpgradeCodes", r"\UserData", r"\UserData\S-1-5-18", r"\UserData\S-1-5-18\Components",
                r"\UserData\S-1-5-18\Products")}
WINES_OWN_FOLDER = "windows/Installer"
# Stays behind, empty, when Wine undoes an installation.
WINES_COMPONENTS = r"hkey_local_machine\software\microsoft\windows\currentversion\installer\userdata\s-1-5-18\components"
# Wine fills these at a time of its own choice.
WINES_NETWORK_CARDS = r"\windows nt\currentversion\networkcards"
WINES_DESKTOP = r"hkey_current_user\software\wine\temporary system parameters"


def wine(*arguments, check=True):
    done = subprocess.run([ROOT / "tools" / "wine-run", WORK, *arguments], capture_output=True, timeout=300)
    if check and done.returncode != 0:
        raise AssertionError(f"{arguments}: {done.returncode}\n{done.stdout!r}\n{done.stderr!r}")
    return done


def registry() -> dict:
    """All keys of the software of machine and user, in lower case, with their values as regedit writes them."""
    keys = {}
    for root in ("HKLM", "HKCU"):
        target = WORK / f"{root}.reg"
        wine("reg", "export", f"{root}\\Software", f"Z:{target}", "/y")
        values = None
        for line in target.read_text(encoding="utf-16").splitlines():
            if line.startswith("["):
                values = keys.setdefault(line[1:-1].lower(), [])
            elif line and values is not None:
                values.append(line.replace("\\\\", "\\"))
    return keys


def made_by_wine(key: str, values) -> bool:
    if WINES_NETWORK_CARDS in key or key.startswith(WINES_DESKTOP):
        return True
    return values == [] and (key in WINES_OWN_KEYS or key.startswith(WINES_COMPONENTS))


def files() -> set:
    return {path.relative_to(DRIVE).as_posix() for path in DRIVE.rglob("*")}


def make_package(build: pathlib.Path, output: str, *options, source=ROOT) -> pathlib.Path:
    done = subprocess.run([sys.executable, "-B", source / "packaging" / "make-msi", build, WORK / output, *options],
                          check=True, stdout=subprocess.PIPE, text=True)
    return pathlib.Path(done.stdout.strip())


def broken_build() -> pathlib.Path:
    """A build whose DLL cannot be loaded."""
    folder = WORK / "broken"
    folder.mkdir()
    shutil.copy(BUILD / "CMakeCache.txt", folder)
    (folder / "VelkWmiPci.dll").write_bytes(b"MZ")
    return folder


def older_source() -> pathlib.Path:
    """Another state of the sources, with a document that this one has not."""
    folder = WORK / "older-source"
    for name in ("packaging", "mof", "docs"):
        shutil.copytree(ROOT / name, folder / name)
    (folder / "docs" / "dropped.md").write_text("# Dropped\n", encoding="utf-8")
    return folder


def table(package: pathlib.Path, name: str) -> list:
    """The rows of a table of the package."""
    done = subprocess.run(["msiinfo", "export", package, name], check=True, capture_output=True)
    return [line.split("\t") for line in done.stdout.decode("cp1252").split("\r\n")[3:] if line]


class Package(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir()
        cls.package = make_package(BUILD, "current")
        cls.older = make_package(BUILD, "older", "--version", "0.9.0", source=older_source())
        cls.broken = make_package(broken_build(), "broken")
        cls.classes = set(re.findall(r'CLSID = "(\{[^}]+\})"', (ROOT / "mof/VelkWmiPci.mof").read_text("utf-8")))
        wine("cmd", "/c", "exit")
        shutil.copyfile(BUILD / "mofcomp_stand_in.exe", MOFCOMP)
        cls.files_before, cls.registry_before = files(), registry()

    def setUp(self):
        self.addCleanup(self.start_afresh)
        CODE.write_text("0")

    def start_afresh(self):
        for package in (self.package, self.older):
            wine("msiexec", "/x", package, "/qn", check=False)
        for file in (CALLS, CODE):
            file.unlink(missing_ok=True)
        shutil.rmtree(LOGS, ignore_errors=True)
        LOGS.mkdir()
        wine("reg", "delete", r"HKLM\Software\Velkor", "/f", check=False)

    def settings(self):
        """The values of the settings' key; None without it."""
        return registry().get(SETTINGS.lower())

    def administrator_sets(self, value):
        wine("reg", "add", SETTINGS, "/v", "ModernSlotTypes", "/t", "REG_DWORD", "/d", value, "/f")

    def install(self, package, *properties, check=True) -> int:
        return wine("msiexec", "/i", package, *properties, "/qn", check=check).returncode

    def remove(self):
        wine("msiexec", "/x", self.package, "/qn")

    def compiled(self) -> list:
        """What the MOF compiler was called with since the last question."""
        calls = CALLS.read_text().splitlines() if CALLS.exists() else []
        CALLS.unlink(missing_ok=True)
        return calls

    def assertNothingLeft(self):
        # The log belongs to all modules that write into it.
        left = {file for file in files() if not file.startswith(LOGS.relative_to(DRIVE).as_posix() + "/")}
        ours = {CALLS.name, CODE.name, WINES_OWN_FOLDER}
        self.assertEqual(left - ours, self.files_before - ours)
        before, now = self.registry_before, registry()
        changed = {key for key in before.keys() | now.keys() if before.get(key) != now.get(key)}
        self.assertEqual({key: now.get(key) for key in changed if not made_by_wine(key, now.get(key))}, {})

    def assertRegistered(self):
        keys = registry()

        def values(key):
            return keys.get(f"{CLASSES}\\{key}".lower())

        for clsid in self.classes:
            server = values(f"CLSID\\{clsid}\\InprocServer32")
            self.assertEqual(server, [f'@="{DLL_PATH}"', '"ThreadingModel"="both"'], clsid)
        servers = {key for key, lines in keys.items() if key.endswith("inprocserver32") and f'@="{DLL_PATH}"' in lines}
        self.assertEqual(len(servers), 10, servers)
        self.assertEqual(values(f"AppID\\{APP_ID}"), ['@="VelkWmiPci"'])
        self.assertEqual(values("AppID\\VelkWmiPci.DLL"), [f'"AppID"="{APP_ID}"'])
        self.assertEqual(values(f"TypeLib\\{TYPE_LIBRARY}\\1.0\\0\\win64"), [f'@="{DLL_PATH}"'])

    def assertOneProduct(self, version):
        keys = registry()
        products = [values for key, values in keys.items()
                    if key.startswith(PRODUCTS.lower() + "\\") and '"Publisher"="Velkor"' in values]
        self.assertEqual(len(products), 1)
        self.assertIn(f'"DisplayVersion"="{version}"', products[0])
        self.assertIn('"InstallLocation"="C:\\Program Files\\Velkor\\VelkWmiPci\\"', products[0])

    def version(self):
        return dict(table(self.package, "Property"))["ProductVersion"]

    def test_install_brings_files_and_registration(self):
        LOGS.rmdir()
        self.install(self.package)

        documents = {f"docs/{path.relative_to(ROOT / 'docs').as_posix()}" for path in (ROOT / "docs").rglob("*.md")}
        installed = {path.relative_to(INSTALLED).as_posix() for path in INSTALLED.rglob("*") if path.is_file()}
        self.assertEqual(installed, documents | {
            "VelkWmiPci.dll", "compile-mof.cmd", "compile-mof.log", "remove-mof.cmd", "mof/VelkWmiPci.mof",
            "mof/standalone.mof", "mof/uninstall.mof"})
        self.assertEqual((INSTALLED / "VelkWmiPci.dll").read_bytes(), (BUILD / "VelkWmiPci.dll").read_bytes())
        self.assertEqual((INSTALLED / "mof/VelkWmiPci.mof").read_text("utf-8"),
                         (ROOT / "mof/VelkWmiPci.mof").read_text("utf-8"))
        self.assertRegistered()
        self.assertOneProduct(self.version())
        self.assertEqual(self.compiled(), [MOF_PATH])
        self.assertTrue(LOGS.is_dir())
        self.assertIn("are ready", (INSTALLED / "compile-mof.log").read_text())

    def test_provider_works_from_where_it_is_installed(self):
        self.install(self.package)
        listed = wine(BUILD / "velkpci.exe", "--machine", ROOT / "machines/two-socket-rack-server.json", "list",
                      "Velk_PCIDevice").stdout
        self.assertIn(b"BUS(0)DEV(4)FN(0)", listed)
        log = (LOGS / "VelkWBEMServer.log").read_bytes().decode("utf-16-le")
        self.assertIn("DLL is loaded.", log)

    def test_removal_leaves_nothing(self):
        self.install(self.package)
        self.compiled()
        self.remove()
        self.assertNothingLeft()
        self.assertEqual(self.compiled(), [UNINSTALL_MOF_PATH], "runs while its file is there")

    def test_repair_brings_back_what_is_gone(self):
        self.install(self.package)
        self.compiled()
        (INSTALLED / "VelkWmiPci.dll").unlink()
        shutil.rmtree(INSTALLED / "mof")
        for clsid in self.classes:
            wine("reg", "delete", f"HKLM\\Software\\Classes\\CLSID\\{clsid}", "/f")
        self.install(self.package, "REINSTALL=ALL", "REINSTALLMODE=omus")
        self.assertEqual((INSTALLED / "VelkWmiPci.dll").read_bytes(), (BUILD / "VelkWmiPci.dll").read_bytes())
        self.assertTrue((INSTALLED / "mof/standalone.mof").is_file())
        self.assertRegistered()
        self.assertEqual(self.compiled(), [MOF_PATH])
        self.remove()
        self.assertNothingLeft()

    def test_upgrade_replaces_the_older_version(self):
        self.install(self.older)
        self.assertOneProduct("0.9.0")
        self.assertTrue((INSTALLED / "docs/dropped.md").is_file())
        self.compiled()
        self.install(self.package)
        self.assertOneProduct(self.version())
        self.assertFalse((INSTALLED / "docs/dropped.md").exists())
        self.assertRegistered()
        self.assertEqual(self.compiled(), [UNINSTALL_MOF_PATH, MOF_PATH])
        self.remove()
        self.assertNothingLeft()

    def test_property_turns_the_slot_types_of_modern_servers_on(self):
        self.install(self.package, "MODERNSLOTTYPES=1")
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'])
        self.install(self.package, "REINSTALL=ALL", "REINSTALLMODE=omus")
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'], "a repair leaves it")
        self.remove()
        self.assertEqual(self.settings(), ['"ModernSlotTypes"=dword:00000001'], "settings stay, as those made by hand do")

    def test_installed_provider_lists_modern_slots_by_the_property(self):
        machine = json.loads((ROOT / "machines" / "server-of-2024.json").read_text("utf-8"))
        del machine["settings"]  # so that the registry's counts
        file = WORK / "modern.json"
        file.write_text(json.dumps(machine), "utf-8")

        def slots():
            listed = wine(BUILD / "velkpci.exe", "--machine", file, "list", "Velk_PCISlot", "--json").stdout
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
        self.install(self.package, "REINSTALL=ALL", "REINSTALLMODE=omus")
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

    def test_another_value_of_the_property_is_refused(self):
        self.assertNotEqual(self.install(self.package, "MODERNSLOTTYPES=on", check=False), 0)
        self.assertNothingLeft()

    def test_older_version_does_not_replace_a_newer_one(self):
        self.install(self.package)
        self.assertNotEqual(self.install(self.older, check=False), 0)
        self.assertOneProduct(self.version())
        self.assertRegistered()

    def test_failing_mof_compiler_leaves_a_command_to_repeat(self):
        CODE.write_text("3")
        self.install(self.package)
        self.assertRegistered()
        message = (INSTALLED / "compile-mof.log").read_text()
        self.assertIn("NOT available: the MOF compiler failed (code 3)", message)
        self.assertIn(r'"C:\Program Files\Velkor\VelkWmiPci\compile-mof.cmd"', message)

        command = r"C:\Program Files\Velkor\VelkWmiPci\compile-mof.cmd"
        again = wine("cmd", "/d", "/c", command, check=False)
        self.assertEqual(again.returncode, 3)
        self.assertIn(b"NOT available", again.stdout)
        CODE.write_text("0")
        self.assertIn(b"are ready", wine("cmd", "/d", "/c", command).stdout)
        self.assertEqual(self.compiled(), [MOF_PATH] * 3)

    def test_missing_mof_compiler_does_not_fail_the_installation(self):
        hidden = MOFCOMP.with_suffix(".hidden")
        MOFCOMP.rename(hidden)
        self.addCleanup(hidden.rename, MOFCOMP)
        self.install(self.package)
        self.assertRegistered()
        self.assertIn("mofcomp.exe\" does not exist.", (INSTALLED / "compile-mof.log").read_text())
        self.remove()
        self.assertFalse(INSTALLED.exists())

    def test_server_that_cannot_be_registered_is_not_installed(self):
        self.assertNotEqual(self.install(self.broken, check=False), 0)
        self.assertNothingLeft()

    def test_installer_knows_the_version_of_the_dll(self):
        rows = {row[0]: row for row in table(self.package, "File")}
        self.assertEqual(rows["Provider"][4:6], [self.version() + ".0", "1033"])
        self.assertNotIn("Provider", {row[0] for row in table(self.package, "MsiFileHash")})

    def test_what_is_undone_is_undone_at_rollback_alone(self):
        rollback = 0x100
        for action, kind, *_ in table(self.package, "CustomAction"):
            self.assertEqual(bool(int(kind) & rollback), action.startswith("Undo"), action)

    def test_property_reaches_an_installation_that_is_raised_to_the_systems_rights(self):
        secure = dict(table(self.package, "Property"))["SecureCustomProperties"].split(";")
        searched = [row[6] for row in table(self.package, "Upgrade")]
        self.assertEqual(sorted(secure), sorted(["MODERNSLOTTYPES", *searched]))

    def test_versions_share_the_upgrade_code_alone(self):
        current, older = (dict(table(package, "Property")) for package in (self.package, self.older))
        self.assertEqual(current["UpgradeCode"], older["UpgradeCode"])
        self.assertNotEqual(current["ProductCode"], older["ProductCode"])

    def test_sums_are_those_of_the_package(self):
        digest = hashlib.sha256(self.package.read_bytes()).hexdigest()
        self.assertEqual((self.package.parent / "SHA256SUMS").read_text(), f"{digest}  {self.package.name}\n")


if __name__ == "__main__":
    if not all(map(shutil.which, ("wixl", "msibuild", "msiinfo"))):
        sys.exit("Building the package needs wixl and msitools: apt-get install wixl msitools")
    unittest.main()
