"""What a run of tests shows: a moving line while all is well, what matters of a failure, and a summary."""

import re
from pathlib import Path

from moving_line import MovingLine, red

ROOT = Path(__file__).resolve().parent.parent

MOST_LINES = 40  # of one failed test
LAST_LINES = 15  # of one that ended without a failed expectation: a crash, a script

# What GoogleTest prints around the output of a test.
MARKER = re.compile(r"\[[ A-Z=-]{10}\]")
CHATTER = re.compile(
    r"\[[ A-Z=-]{10}\]|Running main\(\) from |Note: Google Test filter = |Note: Randomizing| ?\d+ FAILED TESTS?$"
    r"|  YOU HAVE \d+ DISABLED TESTS?$"
)
FAILURE = re.compile(r"(?:\S.*:\d+|unknown file): Failure$")
SKIPPED = re.compile(r"(?:\S.*:\d+|unknown file): Skipped$")
SANITIZER = re.compile(r"==\d+==ERROR: |.*: runtime error: ")

CONTROLS = {code: f"\\x{code:02x}" for code in (*range(9), *range(10, 32), 127)}


def counted(number, noun):
    return f"{number:,} {noun}{'' if number == 1 else 's'}"


def blocks(output, head):
    """The texts that begin with such a line, each up to GoogleTest's next one."""
    found, current = [], None
    for line in output:
        if head.match(line):
            current = [line]
            found.append(current)
        elif MARKER.match(line):
            current = None
        elif current is not None:
            current.append(line)
    return found


def without_blank_ends(lines):
    begin, end = 0, len(lines)
    while begin < end and not lines[begin].strip():
        begin += 1
    while end > begin and not lines[end - 1].strip():
        end -= 1
    return lines[begin:end]


def last_words(output):
    """A sanitizer's report from its beginning, else the last lines that the test itself printed."""
    for number, line in enumerate(output):
        if SANITIZER.match(line):
            return output[number:]
    own = without_blank_ends([line for line in output if not CHATTER.match(line)])
    return own[-LAST_LINES:]


def what_matters(output, ended_by_itself=True):
    """The failed expectations of a test; its last lines where there are none, or where something else ended it."""
    lines = []
    for block in blocks(output, FAILURE):
        lines += without_blank_ends(block)
    if not lines or not ended_by_itself:
        lines += [line for line in last_words(output) if line not in lines]
    if len(lines) > MOST_LINES:
        lines = lines[:MOST_LINES] + [f"... and {counted(len(lines) - MOST_LINES, 'more line')}"]
    return lines


def reason_to_skip(output):
    reasons = [" ".join(part.strip() for part in block[1:] if part.strip()) for block in blocks(output, SKIPPED)]
    return "; ".join(reason for reason in reasons if reason) or "no reason given"


class TestReport:
    """`total` is known once somebody sets it."""

    def __init__(self):
        self.total = 0
        self.failed = set()
        self._line = MovingLine()
        self._running = set()
        self._done = set()
        self._skipped = {}

    def started(self, name):
        self._running.add(name)
        self._show()

    def passed(self, name):
        self._ended(name)
        self.failed.discard(name)
        self._show()

    def did_not_run(self, name, reason):
        self._ended(name)
        self._skipped[name] = reason
        self._show()

    def did_fail(self, name, how, output):
        """`how` is empty where the test ended by itself, with an exit status."""
        self._ended(name)
        self.failed.add(name)
        self.note(red(f"FAILED {name}" + (f": {how}" if how else "")))
        for line in what_matters(output, ended_by_itself=not how):
            self.note("  " + line.replace(f"{ROOT}/", "").translate(CONTROLS))
        self._show()

    def note(self, text):
        """Prints a line that stays."""
        self._line.print(text)

    def finish(self, interrupted=False):
        self._line.wipe()
        for name, reason in sorted(self._skipped.items()):
            self.note(f"SKIPPED {name}: {reason}")
        if interrupted:
            self.note(red(f"Interrupted while {counted(len(self._running), 'test')} ran."))
        self.note(self.summary())

    def summary(self):
        parts = [counted(len(self._done), "test"), f"{len(self.failed):,} failed", f"{len(self._skipped):,} skipped"]
        if len(self._done) < self.total:
            parts[0] = f"{len(self._done):,} of {counted(self.total, 'test')}"
        if self.failed:
            parts[1] = red(parts[1])
        return ", ".join(parts) + f", {self._line.seconds():.0f} s"

    def _ended(self, name):
        self._running.discard(name)
        self._done.add(name)

    def _show(self):
        parts = [f"{len(self._done):,} of {counted(self.total, 'test')}" if self.total else "Testing"]
        if self._running:
            parts.append(f"{len(self._running)} running")
        if self.failed:
            parts.append(f"{len(self.failed)} failed")
        self._line.show(len(self._done), self.total, ", ".join(parts))
