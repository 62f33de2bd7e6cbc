"""The package's life on one version: installation, repair, removal, and what is undone."""

import hashlib
import pathlib
import shutil
import subprocess

import package_case
from package_case import BUILD, DRIVE, INSTALLED, LOGS, ROOT, WORK, PackageCase, make_package, mof, wine


# One file and nothing else.
NOTHING = """<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
<Product Id="7A1E3C52-0B6D-4F5E-9C11-2D4E6F8A0B13" UpgradeCode="0C9B8A76-5D4E-4F3A-8B2C-1D0E9F8A7B65" Version="1.0.0"
         Name="Nothing" Manufacturer="Nobody" Language="1033">
<Package InstallerVersion="500" InstallScope="perMachine" Compressed="yes"/>
<Media Id="1" Cabinet="p.cab" EmbedCab="yes"/>
<Directory Id="TARGETDIR" Name="SourceDir"><Directory Id="ProgramFiles64Folder"><Directory Id="Nothing" Name="Nothing">
<Component Id="Nothing" Guid="1F2E3D4C-5B6A-4978-8869-5A4B3C2D1E0F" Win64="yes">
<File Id="Nothing" Name="nothing.txt" Source="nothing.txt" KeyPath="yes"/></Component>
</Directory></Directory></Directory>
<Feature Id="Nothing" Title="Nothing" Level="1"><ComponentRef Id="Nothing"/></Feature>
</Product></Wix>"""


def broken_build() -> pathlib.Path:
    """A build whose DLL cannot be loaded."""
    folder = WORK / "broken"
    folder.mkdir()
    for name in ("CMakeCache.txt", "velkpci.exe"):
        shutil.copy(BUILD / name, folder)
    (folder / "VelkWmiPci.dll").write_bytes(b"MZ")
    return folder


def documents() -> set:
    """What becomes of the files of docs/."""
    found = (path.relative_to(ROOT) for path in (ROOT / "docs").rglob("*") if path.is_file())
    return {(path.with_suffix(".html") if path.suffix == ".md" else path).as_posix() for path in found}


class Installation(PackageCase):
    source = ROOT

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.broken = make_package(broken_build(), "broken-package")

    def installed(self):
        return {path.relative_to(INSTALLED).as_posix() for path in INSTALLED.rglob("*") if path.is_file()}

    def test_install_brings_files_and_registration(self):
        self.install(self.package)
        self.assertEqual(self.installed(), documents() | {
            "VelkWmiPci.dll", "velkpci.exe", "SHA256SUMS", "compile-mof.log", "mof/VelkWmiPci.mof", "mof/standalone.mof",
            "mof/uninstall.mof", "mof/uninstall-standalone.mof", "mof/setup-notes.txt"})
        for name in ("VelkWmiPci.dll", "velkpci.exe"):
            self.assertEqual((INSTALLED / name).read_bytes(), (BUILD / name).read_bytes())
        self.assertEqual((INSTALLED / "mof/VelkWmiPci.mof").read_text("utf-8"),
                         (ROOT / "mof/VelkWmiPci.mof").read_text("utf-8"))
        self.assertRegistered()
        self.assertOneProduct(self.version())

    def test_sums_are_those_of_every_installed_file(self):
        self.install(self.package)
        sums = dict(reversed(line.split("  ")) for line in (INSTALLED / "SHA256SUMS").read_text("utf-8").splitlines())
        written_by_setup = {"SHA256SUMS", "compile-mof.log", "mof/setup-notes.txt"}
        self.assertEqual(sums, {name: hashlib.sha256((INSTALLED / name).read_bytes()).hexdigest()
                                for name in self.installed() - written_by_setup})

    def test_provider_works_from_where_it_is_installed(self):
        self.install(self.package)
        listed = wine(package_case.PROGRAM_PATH, "--machine", ROOT / "machines/two-socket-rack-server.json", "list",
                      "Velk_PCIDevice").stdout
        self.assertIn(b"BUS(0)DEV(4)FN(0)", listed)
        log = (LOGS / "VelkWBEMServer.log").read_bytes().decode("utf-16-le")
        self.assertIn("DLL is loaded.", log)

    def test_another_folder_is_taken_for_everything(self):
        self.install(self.package, r"INSTALLFOLDER=C:\Tools\Pci")
        self.assertRegistered(r"C:\Tools\Pci\VelkWmiPci.dll")
        self.assertOneProduct(self.version(), r"C:\Tools\Pci")
        self.assertEqual(self.compiled(), [r"C:\Tools\Pci\mof\VelkWmiPci.mof", r"C:\Tools\Pci\mof\standalone.mof"])
        self.assertFalse(INSTALLED.exists())
        self.remove()
        self.assertEqual(self.compiled(),
                         [r"C:\Tools\Pci\mof\uninstall.mof", r"C:\Tools\Pci\mof\uninstall-standalone.mof"])
        # A folder that only leads to the installer's own is nobody's.
        (DRIVE / "Tools").rmdir()
        self.assertNothingLeft()

    def test_removal_leaves_nothing(self):
        self.install(self.package)
        self.compiled()
        self.remove()
        self.assertNothingLeft()
        self.assertEqual(self.compiled(), [mof("uninstall.mof"), mof("uninstall-standalone.mof")],
                         "runs while its files are there")

    def test_repair_brings_back_what_is_gone(self):
        self.install(self.package)
        self.compiled()
        (INSTALLED / "VelkWmiPci.dll").unlink()
        (INSTALLED / "velkpci.exe").unlink()
        shutil.rmtree(INSTALLED / "mof")
        for clsid in self.classes:
            wine("reg", "delete", f"HKLM\\Software\\Classes\\CLSID\\{clsid}", "/f")
        self.repair()
        self.assertEqual((INSTALLED / "VelkWmiPci.dll").read_bytes(), (BUILD / "VelkWmiPci.dll").read_bytes())
        self.assertTrue((INSTALLED / "mof/standalone.mof").is_file())
        self.assertRegistered()
        self.assertEqual(self.compiled(), [mof("VelkWmiPci.mof"), mof("standalone.mof")])
        self.remove()
        self.assertNothingLeft()

    def test_repair_by_a_switch_ends_as_for_a_package_of_nothing(self):
        # Wine ends every /f with 1605, of which a shell sees the low byte: that is no fault of this package.
        (WORK / "nothing.txt").write_text("nothing")
        (WORK / "nothing.wxs").write_text(NOTHING)
        subprocess.run(["wixl", "--arch", "x64", "-o", "nothing.msi", "nothing.wxs"], check=True, cwd=WORK)
        codes = []
        for package in (WORK / "nothing.msi", self.package):
            self.install(package)
            codes.append(wine("msiexec", "/fa", package, "/qn", check=False).returncode)
        wine("msiexec", "/x", WORK / "nothing.msi", "/qn")
        self.assertEqual(codes[0], codes[1])

    def test_server_that_cannot_be_registered_is_not_installed(self):
        self.assertNotEqual(self.install(self.broken, check=False), 0)
        self.assertNothingLeft()
        self.assertEqual(self.compiled(), [])

    def test_rollback_gives_a_server_registered_by_hand_its_place_back(self):
        by_hand = DRIVE / "by-hand"
        by_hand.mkdir()
        self.addCleanup(shutil.rmtree, by_hand)
        shutil.copy(BUILD / "VelkWmiPci.dll", by_hand)
        wine("regsvr32", "/s", r"C:\by-hand\VelkWmiPci.dll")
        self.addCleanup(wine, "regsvr32", "/s", "/u", r"C:\by-hand\VelkWmiPci.dll")
        package_case.CODE.write_text("3")
        self.assertNotEqual(self.install(self.package, check=False), 0)
        self.assertRegistered(r"C:\by-hand\VelkWmiPci.dll")
        self.assertNoProduct()


if __name__ == "__main__":
    package_case.main()
