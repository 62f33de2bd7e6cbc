"""Every command of velkpci that the README, the pages and the program's own help show can be run as it stands, and every
command on every sample machine: none is refused, and what fails says so."""

import collections
import itertools
import pathlib
import re
import shlex
import unittest

import wine_prefix
from wine_prefix import FAR, MACHINES, ROOT, SERVER

BUILD = wine_prefix.build_folder()
ONE_CLASS = {"list", "query", "get", "classes"}
# What the pages mean by a word in capitals.
CARD = 'Velk_PCICard.CreationClassName="Velk_PCICard",Tag="PCI Card 2"'
PLACEHOLDERS = {"PATH": CARD, "PATH...": CARD, "CLASS": "Velk_PCICard", "A": str(SERVER), "B": str(MACHINES[0]),
                "NAME": "nowhere"}
# Installing is tried with the package.
TRIED_ELSEWHERE = {"setup"}
# Takes its machines as words, and no source.
WITHOUT_SOURCE = {"diff"}
# "./run report" says where by itself.
RUN_ADDS = {("report",): ("report", "--html", "report.html")}
SOURCES = {"--computer": 2, "--user": 2, "--machine": 2, "--provider": 1}

prefix = None


def setUpModule():
    global prefix
    prefix = wine_prefix.Prefix(BUILD, "e2e-commands")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()


def command_alone(line: str) -> str:
    """Without an explanation behind it, a comment, and where the shell sends its output."""
    return re.split(r"\s{2,}|\s#\s|\s[|>]\s", line.strip())[0]


def windows_words(line: str) -> list:
    return [quoted or bare for quoted, bare in re.findall(r'"([^"]*)"|(\S+)', line)]


def shown_in(text: str):
    """The words behind "velkpci" or "./run" of each command in a page: in blocks and between backticks."""
    blocks = re.findall(r"^```\w*\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
    lines = [line.strip() for block in blocks for line in block.splitlines()]
    inline = re.findall(r"`([^`\n]+)`", re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL))
    for line in lines + inline:
        line = command_alone(line)
        if line.startswith("velkpci "):
            yield tuple(windows_words(line)[1:])
        elif line.startswith("./run "):
            words = tuple(shlex.split(line)[1:])
            yield RUN_ADDS.get(words, words)


def without_source(words: tuple) -> tuple:
    rest = iter(words)
    kept = []
    for word in rest:
        for _ in range(SOURCES.get(word, 0) - 1):
            next(rest, None)
        if word not in SOURCES:
            kept.append(word)
    return tuple(kept)


def command_of(words: tuple) -> str:
    return next((word for word in words if not word.startswith("-")), "")


class Commands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.helps = {}
        top = prefix.velkpci("--help").output
        cls.names = re.findall(r"^  ([a-z]+)  ", top, re.MULTILINE)
        for name in cls.names:
            cls.helps[name] = prefix.velkpci(name, "--help").output
        cls.shown = set()
        for page in [ROOT / "README.md", *(ROOT / "docs").rglob("*.md")]:
            cls.shown.update(map(without_source, shown_in(page.read_text(encoding="utf-8"))))
        for text in (top, *cls.helps.values()):
            examples = text.partition("Examples:\n")[2]
            cls.shown.update(without_source(tuple(windows_words(command_alone(line))[1:]))
                             for line in re.findall(r"^  (velkpci .*)$", examples, re.MULTILINE))
        cls.commands = {words for words in cls.shown if command_of(words) in cls.names and not cls.is_a_name(words)}

    @classmethod
    def is_a_name(cls, words: tuple) -> bool:
        """Whether a page speaks of the command and does not show it: what it must have is not there."""
        return len(words) == 1 and "REQUIRED" in cls.helps[words[0]]

    def resolved(self, words: tuple) -> list:
        """The words with files in a folder of the test, and what the pages' placeholders stand for."""
        folder = prefix.folder / "written"
        folder.mkdir(exist_ok=True)
        resolved = []
        for before, word in itertools.pairwise(("", *words)):
            writes = before in ("-o", "--output", "--html", "--svg", "--prometheus")
            if writes:
                name = re.split(r"[\\/]", word)[-1]
                resolved.append(str(folder / name))
            elif word.endswith(".json") and not (ROOT / word).is_file():
                resolved.append(str(SERVER))
            elif word.endswith(".json"):
                resolved.append(str(ROOT / word))
            else:
                resolved.append(PLACEHOLDERS.get(word, word))
        return resolved

    def test_every_command_of_the_program_is_shown_and_has_examples(self):
        self.assertGreaterEqual(len(self.names), 10)
        for name in self.names:
            self.assertRegex(self.helps[name], rf"\n  velkpci .*\b{name}\b", f"{name} --help shows no example")
        self.assertEqual(set(self.names), {command_of(words) for words in self.commands})

    def test_what_looks_like_a_command_is_one(self):
        known = {*self.names, "COMMAND", ""}
        self.assertEqual({command_of(words) for words in self.shown} - known, set())

    def run_on(self, machine: pathlib.Path, words: tuple) -> wine_prefix.Answer:
        if command_of(words) in WITHOUT_SOURCE:
            return prefix.start(prefix.build / "velkpci.exe", *self.resolved(words))
        return prefix.velkpci(*self.resolved(words), machine=machine)

    def forms_for(self, turn: int):
        """All that is shown in the first turn; in the others one form of each command, another one in each turn."""
        forms = collections.defaultdict(list)
        for words in sorted(self.commands):
            forms[command_of(words)].append(words)
        for command, shown in forms.items():
            if command not in TRIED_ELSEWHERE:
                yield from shown if turn == 0 else [shown[turn % len(shown)]]

    def test_every_command_runs_on_every_machine(self):
        ran = 0
        for turn, machine in enumerate([SERVER, *(each for each in MACHINES if each != SERVER)]):
            for words in self.forms_for(turn):
                if machine.stem in FAR and command_of(words) not in ONE_CLASS:
                    continue
                with self.subTest(machine=machine.stem, command=" ".join(words)):
                    answer = self.run_on(machine, words)
                    ran += 1
                    self.assertIn(answer.code, (0, 1), answer)
                    self.assertTrue(answer.code == 0 or answer.errors or "FAILED" in answer.output
                                    or '"failed"' in answer.output or command_of(words) == "diff", answer)
        self.assertGreater(ran, len(MACHINES) * 10)


if __name__ == "__main__":
    unittest.main()
