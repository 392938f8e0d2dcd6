"""What the tests of the manual pages have found to differ, and what they read."""

import os
import re
import subprocess

from pages import ROOT

findings = []


class SkippedTest(Exception):
    """The test cannot run here, and why."""


def compare(what, page, program):
    """The page has what the program has, and nothing else."""
    findings.extend(f"{what}: the page does not have: {one}" for one in sorted(set(program) - set(page)))
    findings.extend(f"{what}: only the page has: {one}" for one in sorted(set(page) - set(program)))


def expect(condition, finding):
    if not condition:
        findings.append(finding)


def source(file):
    return (ROOT / file).read_text(encoding="utf-8")


def found_in(file, pattern):
    match = re.search(pattern, source(file))
    if match is None:
        raise LookupError(f"{file}: there is no {pattern}")
    return match.group(1)


def run(*command, environment=None):
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=30,
                          env={**os.environ, **(environment or {})})


def options_in(text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text))
