"""Runs a command whose output a display reads, and ends all of it when the display is ended."""

import os
import select
import signal
import subprocess
import sys

ENDING_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
PATIENCE = 5  # seconds that the command has to end by itself
TICK = 0.2  # seconds


class Interrupted(Exception):
    def __init__(self, number):
        super().__init__(signal.Signals(number).name)
        self.number = number


def interrupt(number, _frame):
    for each in ENDING_SIGNALS:
        signal.signal(each, signal.SIG_IGN)
    raise Interrupted(number)


def end_group(process):
    """The command and all that it has started in its process group."""
    try:
        os.killpg(process.pid, signal.SIGTERM)
        process.wait(PATIENCE)
    except (ProcessLookupError, subprocess.TimeoutExpired):
        pass
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
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
