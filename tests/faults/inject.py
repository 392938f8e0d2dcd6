#!/usr/bin/env python3
"""Lets one system call of the daemon fail in each of many lives of it, and compares with docs/faults.md.

Usage: inject.py PROGRAM [--print] [CALL...]
PROGRAM is the built tests/faults/daemon_life.cpp. With CALLs only those fail. With --print the rows that were seen
are printed, too.
"""

import os
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

import errors
import outcome
import system_calls
import table
from observation import Observation

DOCUMENT = Path(__file__).resolve().parents[2] / "docs/faults.md"
OCCURRENCES = (1, 2, 5)
SECONDS = 90  # for one life; a daemon that hangs is given up much earlier
ATTEMPTS = 3  # a busy machine may delay what a step waits for


@dataclass(frozen=True)
class Fault:
    call: str  # its name
    error: str
    number: int  # which one of its name, over the whole life
    purpose: str
    inject: tuple  # options of strace
    expected: object = None  # the Call without the fault

    def __str__(self):
        return f"{self.call} number {self.number} ({self.purpose}): {self.error}"


class Lives:
    """Starts lives of the daemon under strace."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def live(self, name, options):
        log = f"{self.folder}/{name}.strace"
        prefix = f"/usr/bin/strace -D -qqq -yy -s 48 -o {log} {' '.join(options)}"
        try:
            done = subprocess.run([self.program], env={**os.environ, "SIM_PROGRAM_PREFIX": prefix}, timeout=SECONDS,
                                  stdin=subprocess.DEVNULL, capture_output=True, text=True, errors="replace",
                                  check=False)
        except subprocess.TimeoutExpired:
            return log, "step the whole life\nend hang\n"
        if done.returncode != 0 or not os.path.exists(log):
            raise RuntimeError(f"{prefix}: {done.stderr or done.stdout}")
        return log, done.stdout


def plan(calls, only):
    """Which calls fail how: some of each purpose, with each error that matters for it."""
    sites = {}
    for call in calls:
        if call.is_own:
            sites.setdefault((call.name, call.purpose), []).append(call)
    faults = []
    for (name, purpose), made in sites.items():
        if name in errors.CANNOT_FAIL or (only and name not in only):
            continue
        for error in errors.of(name, purpose):
            for occurrence in OCCURRENCES:
                if occurrence <= len(made):
                    call = made[occurrence - 1]
                    inject = (f"-e trace={name}", f"-e inject={name}:error={error}:when={call.number}")
                    faults.append(Fault(name, error, call.number, purpose, inject, call))
    return faults + [fault for fault in plan_others() if not only or fault.call in only]


def plan_others():
    """What a worker's process does before it is the worker: -f, and a call of each process. The daemon's own call of
    that number fails, too, which changes nothing."""
    for name, number, purpose in (("execve", 1, "the program of a worker"),
                                  ("prctl", 1, "the end of generic workers with the daemon"),
                                  ("rt_sigaction", 2, "the SIGPIPE of a worker"),
                                  ("rt_sigprocmask", 1, "the signals of a worker")):
        for error in errors.of(name, purpose):
            inject = ("-f", f"-e trace={name}", f"-e inject={name}:error={error}:when={number}")
            yield Fault(name, error, number, purpose, inject)


class Comparison:
    def __init__(self, lives, expected, rows):
        self.lives, self.expected, self.rows = lives, expected, rows

    def outcome(self, fault, name):
        log, output = self.lives.live(name, fault.inject)
        failed = system_calls.injected_call(log, fault.call)
        if failed is None or (fault.expected and not failed.same_as(fault.expected)):
            return None
        os.remove(log)
        return outcome.outcome_of(Observation(output), self.expected, fault.call, fault.error)

    def judge(self, numbered):
        """The outcome. One that is not in the table is asked for again, unless it is never allowed."""
        number, fault = numbered
        row = table.row_for(self.rows, fault.call, fault.purpose, fault.error)
        seen = None
        for attempt in range(ATTEMPTS):
            try:
                seen = self.outcome(fault, f"{number}-{attempt}")
            except RuntimeError as error:
                seen = f"THE LIFE FAILED: {error}"
            if seen and (row and seen in row.outcomes or seen.startswith(outcome.NEVER)):
                break
        return fault, row, seen or "THE CALL WAS NOT MET"


def print_rows(results):
    """Rows for the document: calls of one purpose that fare alike are one."""
    seen_errors = {}
    for fault, _, seen in results:
        seen_errors.setdefault((fault.purpose, fault.call), {}).setdefault(seen, {})[fault.error] = None
    rows = {}
    for (purpose, call), outcomes in seen_errors.items():
        most = max(outcomes, key=lambda seen: len(outcomes[seen]))
        for seen in sorted(outcomes, key=lambda seen: seen == most):
            found = " ".join(outcomes[seen])
            if seen == most and len(outcomes[seen]) > 2:
                found = "any other" if len(outcomes) > 1 else "any"
            rows.setdefault((found, seen), {}).setdefault(purpose, []).append(f"`{call}`")
    for (found, seen), by_purpose in rows.items():
        for purpose, calls in by_purpose.items():
            print(f"| {' '.join(calls)} | {purpose} | {found} | {seen} |")


def findings(results, rows, complete):
    for fault, row, seen in results:
        if row is None:
            yield f"{fault}: no row of docs/faults.md; {seen}"
        elif seen not in row.outcomes:
            yield f"{fault}: {seen}; docs/faults.md:{row.line} says: {'; or '.join(row.outcomes)}"
    for row in rows if complete else ():
        met = [fault for fault, other, _ in results if row is other]
        for word in row.calls + row.purposes:
            if not any(word in (fault.call, fault.purpose, table.ANYTHING) for fault in met):
                yield f"docs/faults.md:{row.line}: nothing was met that {word!r} is for"


def run(lives, only):
    started = time.monotonic()
    log, output = lives.live("without-fault", ())
    expected = Observation(output)
    calls = system_calls.read_calls(log)
    unknown = sorted({call.name for call in calls if call.is_own and not errors.knows(call.name)})
    rows = table.read_rows(DOCUMENT) if DOCUMENT.exists() else []
    faults = plan(calls, only)
    print(f"{len(faults)} faults, {len(rows)} rows", flush=True)
    comparison = Comparison(lives, expected, rows)
    results = []
    with ThreadPoolExecutor(3 * (os.cpu_count() or 1)) as pool:
        for result in pool.map(comparison.judge, enumerate(faults)):
            results.append(result)
            if len(results) % 50 == 0:
                print(f"{len(results)} of {len(faults)} after {time.monotonic() - started:.0f} s", flush=True)
    found = [f"the daemon calls {name}(), for which tests/faults/errors.py has nothing" for name in unknown]
    return results, found + list(findings(results, rows, not only))


def main(arguments):
    program, *words = arguments
    only = [word for word in words if not word.startswith("--")]
    with tempfile.TemporaryDirectory(prefix="usb_rx_faults") as folder:
        results, found = run(Lives(program, folder), only)
    if "--print" in words:
        print_rows(results)
    print("\n".join(found) if found else f"{len(results)} faults have done what docs/faults.md says.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
