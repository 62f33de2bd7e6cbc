"""Reads instances as WMI writes them (GetObjectText): the second witness for what JSON says."""

import re

STRING = r'"(?:[^"\\]|\\.)*"'
PROPERTY = re.compile(rf"^\t(\w+) = (\{{.*\}}|{STRING}|[^;]*);$")
ESCAPES = {"n": "\n", "t": "\t", "r": "\r"}


def scalar(text: str):
    if text.startswith('"'):
        return re.sub(r"\\(.)", lambda match: ESCAPES.get(match[1], match[1]), text[1:-1])
    if text in ("TRUE", "FALSE"):
        return text == "TRUE"
    return float(text) if "." in text else int(text)


def value(text: str):
    if not text.startswith("{"):
        return scalar(text)
    return [scalar(each) for each in re.findall(rf"{STRING}|[^,{{}}\s]+", text)]


def instances(text: str) -> list:
    """[(class, {property: value})], without properties that are NULL."""
    found = []
    for line in text.splitlines():
        opened = re.match(r"instance of (\w+)$", line)
        if opened:
            found.append((opened[1], {}))
        elif line.startswith("\t"):
            name, written = PROPERTY.match(line).groups()
            found[-1][1][name] = value(written)
    return found
