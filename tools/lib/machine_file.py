"""Writes machine files: JSON that is still readable with thousands of hexadecimal digits in it."""

import contextlib
import json
import os
import pathlib
import sys
from typing import Optional


def hex_lines(table: bytes, width: int = 32) -> list:
    return [table[start:start + width].hex(" ") for start in range(0, len(table), width)]


def to_text(machine: dict) -> str:
    return json.dumps(machine, indent=2, ensure_ascii=False) + "\n"


def write(machine: dict, output: Optional[pathlib.Path]) -> None:
    """To the file, whole or not at all, or to standard output."""
    if output is None:
        sys.stdout.buffer.write(to_text(machine).encode("utf-8"))
        return
    temporary = output.with_name(f"{output.name}.{os.getpid()}.tmp")
    try:
        temporary.write_text(to_text(machine), encoding="utf-8")
        os.replace(temporary, output)
    except OSError as error:
        with contextlib.suppress(OSError):
            temporary.unlink()
        raise OSError(error.errno, error.strerror, str(output)) from error
