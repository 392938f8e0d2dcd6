"""Runs a command whose output a display reads, and ends all of it when the display is ended."""

import os
import select
import signal
import subprocess
import sys
import time
from pathlib import Path

ENDING_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
PATIENCE = 2  # seconds that the command and all that it has started have to end by themselves
TICK = 0.2  # seconds


class Interrupted(Exception):
    def __init__(self, number):
        super().__init__(signal.Signals(number).name)
        self.number = number


def interrupt(number, _frame):
    for each in ENDING_SIGNALS:
        signal.signal(each, signal.SIG_IGN)
    raise Interrupted(number)


def state_and_group(stat):
    """From a file "stat" of /proc; nothing of a process that has gone."""
    try:
        fields = stat.read_text(errors="replace").rsplit(") ", 1)[1].split()
    except OSError:
        return None
    return fields[0], int(fields[2])


def is_alive(group):
    """Whether any process of it runs. Those that have ended may wait for long until their parent takes notice."""
    of_all = (state_and_group(Path("/proc", name, "stat")) for name in os.listdir("/proc") if name.isdigit())
    return any(found is not None and found[0] != "Z" and found[1] == group for found in of_all)


def end_group(process):
    """The command and all that it has started in its process group."""
    limit = time.monotonic() + PATIENCE
    try:
        os.killpg(process.pid, signal.SIGTERM)
        while is_alive(process.pid) and time.monotonic() < limit:
            time.sleep(0.01)
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass  # none is left
    process.wait()


def lines_of(output, tick):
    """One after another as they come; calls `tick` now and then, also while none comes."""
    rest = b""
    while True:
        tick()
        if not select.select([output], [], [], TICK)[0]:
            continue
        data = os.read(output.fileno(), 65536)
        if not data:
            break
        *lines, rest = (rest + data).split(b"\n")
        yield from lines
    if rest:
        yield rest


def read_command(command, take_line, tick, environment=None):
    """Gives each line of both its outputs to `take_line`. Returns its exit status; a signal raises Interrupted."""
    for number in ENDING_SIGNALS:
        signal.signal(number, interrupt)
    process = subprocess.Popen(
        command,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        env=environment,
        start_new_session=True,
    )
    try:
        for line in lines_of(process.stdout, tick):
            take_line(line.decode(errors="replace").rstrip("\r"))
        status = process.wait()
        return status if status >= 0 else 128 - status
    finally:
        if process.returncode is None:
            end_group(process)


def end_like(interrupted):
    """Ends this program as the signal would have done, so that the script that called it ends, too."""
    sys.stdout.flush()
    signal.signal(interrupted.number, signal.SIG_DFL)
    os.kill(os.getpid(), interrupted.number)
