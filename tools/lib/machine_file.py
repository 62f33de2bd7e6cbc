"""Writes machine files: JSON that is still readable with thousands of hexadecimal digits in it."""

import json


def hex_lines(table: bytes, width: int = 32) -> list:
    return [table[start:start + width].hex(" ") for start in range(0, len(table), width)]


def to_text(machine: dict) -> str:
    return json.dumps(machine, indent=2, ensure_ascii=False) + "\n"
