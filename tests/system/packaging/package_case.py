"""What the tests of the package share: packages of a build, a Wine prefix of their own, and what is in it.

The build folder is the last argument of each test file. Wine's msiexec repairs by REINSTALL properties alone, not by /f;
on Windows the two are the same.
"""

import functools
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import wine_process  # noqa: E402

BUILD = pathlib.Path(sys.argv.pop()).resolve()
WORK = BUILD / "package-test" / pathlib.Path(sys.argv[0]).stem
DRIVE = WORK / "wineprefix" / "drive_c"
INSTALLED = DRIVE / "Program Files" / "Velkor" / "VelkWmiPci"
WBEM = DRIVE / "windows" / "system32" / "wbem"
LOGS = WBEM / "logs"
MOFCOMP = WBEM / "mofcomp.exe"
MARKER = INSTALLED / "mof" / "setup-notes.txt"
COMPILE_LOG = INSTALLED / "compile-mof.log"
CALLS = DRIVE / "mofcomp.calls"
CODE = DRIVE / "mofcomp.code"

FOLDER = r"C:\Program Files\Velkor\VelkWmiPci"
DLL_PATH = FOLDER + r"\VelkWmiPci.dll"
PROGRAM_PATH = FOLDER + r"\velkpci.exe"
CLASSES = r"HKEY_LOCAL_MACHINE\Software\Classes"
SETTINGS = r"HKEY_LOCAL_MACHINE\Software\Velkor\WBEM"
PRODUCTS = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall"
CIMOM = r"HKLM\Software\Microsoft\WBEM\CIMOM"
APP_ID = "{6170B318-1620-4335-AA40-6ABAEE17BA4D}"
TYPE_LIBRARY = "{A104667A-072E-466E-AFD1-94FD0959E4FB}"

# Empty keys and an empty folder that the first package leaves in a fresh prefix, whatever it holds; Windows has them.
WINES_OWN_KEYS = {f"{CLASSES}\\Installer{key}".lower() for key in ("", r"\Features", r"\Products", r"\UpgradeCodes")} | {
    f"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer{key}".lower()
    for key in (r"\UpgradeCodes", r"\UserData", r"\UserData\S-1-5-18", r"\UserData\S-1-5-18\Components",
                r"\UserData\S-1-5-18\Products")}
WINES_OWN_FOLDER = "windows/Installer"
ACTION_NOT_STARTED = b"err:msi:execute_command unable to execute command"
# Stays behind, empty, when Wine undoes an installation.
WINES_COMPONENTS = r"hkey_local_machine\software\microsoft\windows\currentversion\installer\userdata\s-1-5-18\components"
# Wine fills these at a time of its own choice.
WINES_NETWORK_CARDS = r"\windows nt\currentversion\networkcards"


def mof(name: str) -> str:
    """The path of an installed MOF file, as the compiler is given it."""
    return f"{FOLDER}\\mof\\{name}"


class ActionNotStarted(Exception):
    """Wine's installer could not start the program of an action. It goes on as if the action had succeeded."""


def wine(*arguments, check=True):
    """Runs a program of the prefix."""
    done = wine_process.run_wine(WORK, *arguments, environment={"WINEDEBUG": "-all,err+msi"}, timeout=300)
    if ACTION_NOT_STARTED in done.stderr:
        raise ActionNotStarted(arguments)
    if check and done.returncode != 0:
        raise AssertionError(f"{arguments}: {done.returncode}\n{done.stdout!r}\n{done.stderr!r}")
    return done


def end_wine():
    wine_process.end_wine(WORK, waits=False)


def registry(*roots) -> dict:
    """All keys below these, which must be there, in lower case, with their values as regedit writes them. Without roots,
    the software of machine and user."""
    keys = {}
    for root in roots or (r"HKLM\Software", r"HKCU\Software"):
        target = WORK / "exported.reg"
        wine("reg", "export", root, f"Z:{target}", "/y")
        values = None
        for line in target.read_text(encoding="utf-16").splitlines():
            if line.startswith("["):
                values = keys.setdefault(line[1:-1].lower(), [])
            elif line and values is not None:
                values.append(line.replace("\\\\", "\\"))
    return keys


def made_by_wine(key: str, values) -> bool:
    if WINES_NETWORK_CARDS in key or key.startswith(wine_process.DESKTOP_KEY.lower()):
        return True
    return values == [] and (key in WINES_OWN_KEYS or key.startswith(WINES_COMPONENTS))


def files() -> set:
    return {path.relative_to(DRIVE).as_posix() for path in DRIVE.rglob("*")}


def make_package(build: pathlib.Path, output: str, *options, source=ROOT) -> pathlib.Path:
    done = subprocess.run([source / "packaging" / "make-msi", build, WORK / output, *options],
                          check=True, stdout=subprocess.PIPE, text=True)
    return pathlib.Path(done.stdout.strip())


def source_with_page(name: str) -> pathlib.Path:
    """The sources with this page alone: it says no less of a package, and each file takes its part of an installation."""
    folder = WORK / f"source-{name}"
    for part in ("packaging", "mof"):
        shutil.copytree(ROOT / part, folder / part)
    (folder / "docs").mkdir()
    (folder / "docs" / f"{name}.md").write_text(f"# {name}\n", encoding="utf-8")
    return folder


def make_older_package() -> pathlib.Path:
    """A version before, with a page that is dropped since."""
    return make_package(BUILD, "older", "--version", "0.9.0", source=source_with_page("dropped"))


def table(package: pathlib.Path, name: str) -> list:
    """The rows of a table of the package."""
    done = subprocess.run(["msiinfo", "export", package, name], check=True, capture_output=True)
    return [line.split("\t") for line in done.stdout.decode("cp1252").split("\r\n")[3:] if line]


def exchange_mof_compiler():
    # Removed first: other prefixes may have the same file.
    MOFCOMP.unlink(missing_ok=True)
    shutil.copyfile(BUILD / "mofcomp_stand_in.exe", MOFCOMP)


def fresh_work_folder():
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)


def once_more_where_wine_failed(test):
    """What Wine did not start says nothing of the package: such a test is made again, once."""
    @functools.wraps(test)
    def run(self):
        try:
            test(self)
        except ActionNotStarted:
            self.start_afresh()
            test(self)
    return run


class PackageCase(unittest.TestCase):
    """Packages of the build, a prefix with a stand-in for the MOF compiler, and both as before after each test."""

    maxDiff = None
    source = None  # what the package is made of; by itself sources with one page

    def __init_subclass__(cls, **options):
        super().__init_subclass__(**options)
        for name, test in list(vars(cls).items()):
            if name.startswith("test_"):
                setattr(cls, name, once_more_where_wine_failed(test))

    @classmethod
    def setUpClass(cls):
        fresh_work_folder()
        cls.addClassCleanup(end_wine)
        cls.package = make_package(BUILD, "current", source=cls.source or source_with_page("page"))
        cls.older = make_older_package()
        # Windows gives the removal that an upgrade runs this property, with the new product's code; Wine does not. The
        # older package has it always: it is not removed here but by an upgrade.
        subprocess.run(["msibuild", cls.older, "-q", "INSERT INTO `Property` (`Property`, `Value`)"
                        " VALUES ('UPGRADINGPRODUCTCODE', '{00000000-0000-0000-0000-000000000000}')"], check=True)
        cls.classes = set(re.findall(r'CLSID = "(\{[^}]+\})"', (ROOT / "mof/VelkWmiPci.mof").read_text("utf-8")))
        wine("cmd", "/c", "exit")
        exchange_mof_compiler()
        CODE.write_text("0")
        cls.files_before, cls.registry_before = files(), registry()

    def setUp(self):
        self.addCleanup(self.start_afresh)

    def start_afresh(self):
        # Asked first: a removal takes longer than the question, and most tests leave one package or none.
        installed = wine("reg", "query", PRODUCTS, check=False).stdout
        for package in (self.package, self.older):
            if dict(table(package, "Property"))["ProductCode"].encode() in installed:
                wine("msiexec", "/x", package, "/qn", check=False)
        CALLS.unlink(missing_ok=True)
        CODE.write_text("0")
        # Wine undoes the files of an installation before it runs what undoes the rest: the notes stay behind.
        shutil.rmtree(INSTALLED.parent, ignore_errors=True)
        shutil.rmtree(LOGS, ignore_errors=True)
        LOGS.mkdir()
        wine("reg", "delete", r"HKLM\Software\Velkor", "/f", check=False)

    def settings(self):
        """The values of the settings' key; None without it."""
        is_there = wine("reg", "query", SETTINGS, check=False).returncode == 0
        return registry(SETTINGS)[SETTINGS.lower()] if is_there else None

    def install(self, package, *properties, check=True) -> int:
        return wine("msiexec", "/i", package, *properties, "/qn", check=check).returncode

    def repair(self):
        self.install(self.package, "REINSTALL=ALL", "REINSTALLMODE=omus")

    def remove(self):
        wine("msiexec", "/x", self.package, "/qn")

    def setup(self, *words, check=True):
        """The installed program's command of that name; what it printed, as text."""
        done = wine(PROGRAM_PATH, "setup", *words, check=check)
        return done.returncode, (done.stdout + done.stderr).decode("utf-8")

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

    def assertRegistered(self, path=DLL_PATH):
        keys = registry(*(f"{CLASSES}\\{key}" for key in ("CLSID", "AppID", "TypeLib")))

        def values(key):
            return keys.get(f"{CLASSES}\\{key}".lower())

        for clsid in self.classes:
            server = values(f"CLSID\\{clsid}\\InprocServer32")
            self.assertEqual(server, [f'@="{path}"', '"ThreadingModel"="both"'], clsid)
        servers = {key for key, lines in keys.items() if key.endswith("inprocserver32") and f'@="{path}"' in lines}
        self.assertEqual(len(servers), 10, servers)
        self.assertEqual(values(f"AppID\\{APP_ID}"), ['@="VelkWmiPci"'])
        self.assertEqual(values("AppID\\VelkWmiPci.DLL"), [f'"AppID"="{APP_ID}"'])
        self.assertEqual(values(f"TypeLib\\{TYPE_LIBRARY}\\1.0\\0\\win64"), [f'@="{path}"'])

    def assertOneProduct(self, version, folder=FOLDER):
        keys = registry(PRODUCTS)
        products = [values for key, values in keys.items()
                    if key.startswith(PRODUCTS.lower() + "\\") and '"Publisher"="Velkor"' in values]
        self.assertEqual(len(products), 1)
        self.assertIn(f'"DisplayVersion"="{version}"', products[0])
        self.assertIn(f'"InstallLocation"="{folder}\\"', products[0])

    def assertNoProduct(self):
        self.assertFalse([key for key, values in registry(PRODUCTS).items() if '"Publisher"="Velkor"' in values])

    def version(self):
        return dict(table(self.package, "Property"))["ProductVersion"]


def main():
    if not all(map(shutil.which, ("wixl", "msibuild", "msiinfo"))):
        sys.exit("Building the package needs wixl and msitools: apt-get install wixl msitools")
    unittest.main()
