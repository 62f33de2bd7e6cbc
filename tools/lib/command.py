"""How the tools end: 0 for success, 1 for a difference or failure of their own, 2 for input that cannot be used, told in
one line, 130 for Ctrl-C."""

import json
import pathlib
import sys

BAD_INPUT = 2
CANCELLED = 130


class InputError(Exception):
    """Input that cannot be used; the text names what and where."""


def read_json(file: pathlib.Path) -> dict:
    """The object that a JSON file holds."""
    try:
        read = json.loads(file.read_text(encoding="utf-8"))
    except json.JSONDecodeError as error:
        raise InputError(f"{file}: line {error.lineno}, column {error.colno}: {error.msg}") from error
    except UnicodeDecodeError as error:
        raise InputError(f"{file}: not UTF-8 at byte {error.start}") from error
    if not isinstance(read, dict):
        raise InputError(f"{file}: an object is expected")
    return read


def run(main) -> None:
    """Runs main(), which returns the exit code, and ends the program."""
    name = pathlib.Path(sys.argv[0]).name
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(CANCELLED)
    except InputError as error:
        complaint = str(error)
    except OSError as error:
        complaint = f"{error.filename}: {error.strerror}" if error.filename else str(error)
    except KeyError as error:
        complaint = f"the member {error} is missing"
    except (AttributeError, TypeError, ValueError) as error:
        # A value of another kind than the member has; the tools read their input before they write anything.
        complaint = f"the input cannot be used: {error}"
    print(f"{name}: {complaint}", file=sys.stderr)
    sys.exit(BAD_INPUT)
