"""What a run of tests shows: a moving line while all is well, what matters of a failure, and a summary."""

from pathlib import Path

from googletest_output import what_matters
from moving_line import MovingLine, red

ROOT = Path(__file__).resolve().parent.parent

CONTROLS = {code: f"\\x{code:02x}" for code in (*range(9), *range(10, 32), 127)}


def counted(number, noun):
    return f"{number:,} {noun}{'' if number == 1 else 's'}"


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

    def tick(self):
        self._line.tick()

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
