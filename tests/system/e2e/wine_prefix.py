"""What the end-to-end tests share: a fresh Wine prefix of their own, and the programs of a build in it.

The build folder is the last argument of each test file.
"""

import json
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import wine_process  # noqa: E402

MACHINES = sorted((ROOT / "machines").glob("*.json"))
SERVER = ROOT / "machines" / "two-socket-rack-server.json"
# Machines whose firmware uses a slot ID twice or 0: the walk over all their slots takes half a minute, and is made by the
# tests that are about it.
FAR = {"slot-id-zero"}
COMMON_LOG_KEY = r"HKLM\Software\Velkor\WBEM"

# The classes that the DLL serves.
THINGS = ["Velk_PCIBridge", "Velk_PCICard", "Velk_PCIDevice", "Velk_PCISlot", "Velk_PCISlotLocation"]
ASSOCIATIONS = ["Velk_PCICardInSlot", "Velk_PCISlotElementLocation", "Velk_RealizesPCIDevice",
                "Velk_SystemPCIDevice", "Velk_SystemPCISlot"]
CLASSES = sorted(THINGS + ASSOCIATIONS)

# Windows takes a command line of 32,767 characters; quotes in an argument take more than one each.
COMMAND_LINE = 16000


class Answer:
    """What a program printed and its exit code."""

    def __init__(self, done: subprocess.CompletedProcess):
        self.code = done.returncode
        self.output = done.stdout.decode("utf-8", errors="replace").replace("\r\n", "\n")
        self.errors = done.stderr.decode("utf-8", errors="replace").replace("\r\n", "\n")

    def __repr__(self):
        return f"exit code {self.code}\n{self.output}\n{self.errors}"

    def json(self):
        try:
            return json.loads(self.output)
        except ValueError as error:
            raise AssertionError(f"no JSON ({error}): {self}") from None


class Prefix:
    def __init__(self, build: pathlib.Path, name: str):
        self.build = build.resolve()
        self.folder = self.build / name
        self.drive = self.folder / "wineprefix" / "drive_c"
        self.logs = self.drive / "windows" / "system32" / "wbem" / "logs"
        self.log = self.logs / "VelkWBEMServer.log"
        # What the programs find in their environment, beside what is there already.
        self.environment = {}
        # What an interrupted run left behind.
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        self.wine("cmd", "/c", "exit")

    def end_server(self):
        wine_process.end_wine(self.folder)

    def remove(self):
        wine_process.end_wine(self.folder, waits=False)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *arguments) -> Answer:
        return Answer(wine_process.run_wine(self.folder, *arguments, environment=self.environment))

    def wine(self, *arguments) -> Answer:
        """A program that must succeed."""
        answer = self.start(*arguments)
        if answer.code != 0:
            raise AssertionError(f"{arguments}: {answer}")
        return answer

    def register(self, library="VelkWmiPci.dll"):
        self.wine("regsvr32", "/s", self.build / library)

    def unregister(self, library="VelkWmiPci.dll"):
        self.wine("regsvr32", "/s", "/u", self.build / library)

    def velkpci(self, *arguments, machine=SERVER) -> Answer:
        return self.start(self.build / "velkpci.exe", "--machine", machine, *arguments)

    def get_all(self, paths: list, machine=SERVER) -> dict:
        """The object of each path, None for what is not found; in as few processes as command lines allow."""
        objects = {}
        pending = list(dict.fromkeys(paths))
        while pending:
            chunk, length = [], 0
            while pending and length < COMMAND_LINE:
                length += len(pending[0]) + 2 * pending[0].count('"') + pending[0].count("\\")
                chunk.append(pending.pop(0))
            answer = self.velkpci("get", *chunk, "--json", machine=machine)
            document = answer.json()
            objects.update(zip(chunk, map(document_types(document), document["instances"])))
        return objects


def build_folder() -> pathlib.Path:
    return pathlib.Path(sys.argv.pop())


def is_release(build: pathlib.Path) -> bool:
    return "\nCMAKE_BUILD_TYPE:STRING=Release\n" in (build / "CMakeCache.txt").read_text(encoding="utf-8")


def document_types(document: dict):
    """What puts the class's types beside an instance of a JSON document."""
    return lambda instance: instance and {**instance, "types": document["classes"][instance["class"]]["types"]}


def instances_of(answer: Answer) -> list:
    """The instances of a JSON document, each with its class's types."""
    document = answer.json()
    return list(map(document_types(document), document["instances"]))


def by_class(answer: Answer) -> dict:
    """The same by class, with an empty list for a class without any."""
    found = {name: [] for name, told in answer.json()["classes"].items() if "status" in told}
    for instance in instances_of(answer):
        found[instance["class"]].append(instance)
    return found


def references_of(instance: dict) -> dict:
    """The reference properties of an instance with the paths that they hold."""
    return {name: instance["properties"][name] for name, kind in instance["types"].items() if kind == "ref"}
