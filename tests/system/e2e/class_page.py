"""A page of docs/classes, by its headings."""

import pathlib
import re

from wine_prefix import ROOT

DOCS = ROOT / "docs"
PAGES = DOCS / "classes"


class Page:
    def __init__(self, path: pathlib.Path):
        text = path.read_text(encoding="utf-8")
        head, *sections = re.split(r"^## ", text, flags=re.MULTILINE)
        title, *paragraphs = [" ".join(each.split()) for each in head.strip().split("\n\n")]
        self.title = title.removeprefix("# ")
        self.first_paragraph = paragraphs[0] if paragraphs else ""
        self.headings = [each.splitlines()[0] for each in sections]
        self.sections = {each.splitlines()[0]: "\n".join(each.splitlines()[1:]) for each in sections}
        self.text = text

    def table(self) -> list:
        """The rows below the header of the table of properties."""
        rows = [[cell.strip() for cell in line.strip("|").split("|")]
                for line in self.sections["Properties"].splitlines() if line.startswith("|")]
        return rows[2:]

    def block(self, heading: str) -> list:
        """The lines of the section's first block of code."""
        return re.search(r"```\w*\n(.*?)\n```", self.sections[heading], re.DOTALL)[1].splitlines()

    def value_names(self) -> dict:
        names = {}
        for name, entries in re.findall(r"^- `(\w+)`: (.+?)\.$", self.sections.get("Value names", ""), re.M | re.S):
            names[name] = [tuple(entry.split(" = ", 1)) for entry in " ".join(entries.split()).split("; ")]
        return names

    def never_written(self) -> list:
        match = re.search(r"^Never written, always null: (.+?)\.$", self.sections["Properties"], re.M | re.S)
        return re.findall(r"`(\w+)`", match[1]) if match else []
