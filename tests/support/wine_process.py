"""Programs in a build folder's Wine prefix, as the tests of the package and the end-to-end tests start them."""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What Wine says, with exit code 1, when the process that it made for a program ended before the program began. It
# was seen on bare systems alone, of any program; nothing of the program ran, so it may be started again.
NOT_STARTED = b"Application could not be started, or no application associated with the specified file."
ATTEMPTS = 3
# Wine's desktop writes its colours here while it starts, and they go with it.
DESKTOP_KEY = r"HKEY_CURRENT_USER\Software\Wine\Temporary System Parameters"


def run_wine(folder: pathlib.Path, *arguments, environment=None, timeout=600) -> subprocess.CompletedProcess:
    """Runs a program in the prefix below a folder, to its end. By files, and no pipes: Wine's desktop, which lives for
    some 20 seconds after the program that it was started for, holds what that program prints to open."""
    command = [ROOT / "tools" / "wine-run", folder, *map(str, arguments)]
    for _ in range(ATTEMPTS):
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            done = subprocess.run(command, stdout=output, stderr=errors, timeout=timeout,
                                  env={**os.environ, **(environment or {})})
            output.seek(0)
            errors.seek(0)
            done.stdout, done.stderr = output.read(), errors.read()
        if not never_began(done):
            break
        print(f"Wine did not run {arguments}: {done.returncode}, {done.stdout!r}", file=sys.stderr)
    return done


def never_began(done: subprocess.CompletedProcess) -> bool:
    """Whether Wine ended a program before it began. Seen twice in some ten thousand starts, by an exit code alone: a
    program that fails says why, and one that does not is found out by the attempts that follow."""
    is_silent = done.returncode == 1 and not done.stdout and not done.stderr
    return is_silent or NOT_STARTED in done.stdout


def end_wine(folder: pathlib.Path, waits: bool = True) -> None:
    """Ends the server of the prefix below a folder, and with it all that runs there. To wait for that takes Wine most of a
    second."""
    found = (shutil.which(each) for each in ("wineserver64", "/usr/lib/wine/wineserver64", "wineserver"))
    server = next(filter(None, found))
    how = "-k" if waits else f"-k{signal.SIGINT.value}"
    subprocess.run([server, how], env={**os.environ, "WINEPREFIX": str(folder / "wineprefix")}, timeout=60)
