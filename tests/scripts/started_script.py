"""Runs a script of the project as a person or CI does, and takes what it prints."""

import os
import pty
import subprocess
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parent.parent.parent / "scripts"


def environment(**changes):
    """Without what this test's own surroundings say of their terminal."""
    names = ("TERM", "NO_COLOR", "COLUMNS", "LINES", "NINJA_STATUS")
    kept = {name: value for name, value in os.environ.items() if name not in names}
    return {**kept, "PYTHONDONTWRITEBYTECODE": "1", **changes}


def start(script, *arguments, folder, output=subprocess.PIPE, **changes):
    return subprocess.Popen(
        [SCRIPTS / script, *arguments],
        cwd=folder,
        env=environment(**changes),
        stdin=subprocess.DEVNULL,
        stdout=output,
        stderr=subprocess.STDOUT,
        encoding="utf-8",
    )


def run(script, *arguments, folder):
    """Without a terminal. Returns exit status and output."""
    process = start(script, *arguments, folder=folder)
    output = process.communicate()[0]
    return process.returncode, output


def run_on_terminal(script, *arguments, folder, until=None, **changes):
    """Returns exit status and output, in which a line ends as on a terminal: with a carriage return, too.
    Once `until` is in the output, makes the file "seen" in the folder: something may wait for it."""
    ours, theirs = pty.openpty()
    process = start(script, *arguments, folder=folder, output=theirs, **{"TERM": "xterm", **changes})
    os.close(theirs)
    output = b""
    try:
        while data := os.read(ours, 65536):
            output += data
            if until and until in output.decode(errors="replace"):
                (folder / "seen").touch()
    except OSError:  # nobody holds the other end any more
        pass
    os.close(ours)
    return process.wait(), output.decode()
