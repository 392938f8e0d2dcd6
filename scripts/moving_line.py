"""One line that shows how far a run has come, and what has to stay on the screen above it."""

import os
import shutil
import sys
import time

REDRAWS = 0.1  # seconds between two of the line on a terminal


def is_terminal():
    """One that can move its cursor."""
    return sys.stdout.isatty() and os.environ.get("TERM", "dumb") != "dumb"


def red(text):
    return f"\033[31m{text}\033[0m" if is_terminal() and not os.environ.get("NO_COLOR") else text


def clock(seconds):
    return f"{int(seconds) // 60}:{int(seconds) % 60:02}"


class MovingLine:
    """On a terminal the line moves in place. Elsewhere it is printed at every tenth of a run that has that many steps."""

    LEAST_STEPS = 20

    def __init__(self):
        self._moves = is_terminal()
        self._begin = time.monotonic()
        self._drawn = 0.0  # when
        self._text = ""
        self._is_visible = False
        self._tenths = 0

    def seconds(self):
        return time.monotonic() - self._begin

    def show(self, done, total, text):
        if self._moves:
            self._text = text
            self.tick()
        elif total >= self.LEAST_STEPS and done < total and done * 10 // total > self._tenths:
            self._tenths = done * 10 // total
            print(f"   {text}, {clock(self.seconds())}", flush=True)

    def tick(self):
        """Draws the line anew where that is due: its clock moves while nothing else does."""
        if self._text and time.monotonic() - self._drawn >= REDRAWS:
            self._draw(f"{self._text}, {clock(self.seconds())}")

    def print(self, text):
        """Prints a text that stays."""
        self.wipe()
        print(text, flush=True)

    def wipe(self):
        """Until it is shown again."""
        if self._is_visible:
            print("\r\033[K", end="", flush=True)
            self._is_visible = False
            self._drawn = 0.0

    def _draw(self, text):
        columns = shutil.get_terminal_size().columns
        print("\r" + text[: columns - 1] + "\033[K", end="", flush=True)
        self._is_visible = True
        self._drawn = time.monotonic()
