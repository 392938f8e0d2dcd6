"""What the sources of the project include of each other, and which of them a check has passed already."""

import hashlib
import re
from functools import lru_cache
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# What stands before a quoted include: as in the targets' include paths.
INCLUDE_FOLDERS = ("src", "tests", ".")

SOURCE_FOLDERS = ("src", "tools", "examples", "demo", "tests")

_include = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def sources(*suffixes, folders=SOURCE_FOLDERS):
    """The files with these suffixes, as paths from the top of the project, sorted."""
    found = []
    for folder in folders:
        for suffix in suffixes:
            found += (path.relative_to(ROOT).as_posix() for path in (ROOT / folder).rglob("*" + suffix))
    return sorted(found)


@lru_cache(maxsize=None)
def included(file):
    """The files of the project that `file` includes itself, and the includes that lead nowhere."""
    found, missing = [], []
    for name in _include.findall((ROOT / file).read_text(encoding="utf-8")):
        for folder in INCLUDE_FOLDERS:
            path = Path(folder) / name
            if (ROOT / path).is_file():
                found.append(path.as_posix())
                break
        else:
            missing.append(name)
    return tuple(found), tuple(missing)


@lru_cache(maxsize=None)
def reached(file):
    """Every file of the project that `file` includes, itself or through others, with `file`."""
    seen, open_files = {file}, [file]
    while open_files:
        for other in included(open_files.pop())[0]:
            if other not in seen:
                seen.add(other)
                open_files.append(other)
    return frozenset(seen)


class Passed:
    """Remembers in build/lint which files have passed a check, and with which contents of theirs and of what they include."""

    def __init__(self, check, common):
        """`common`: what every file's result depends on besides, as bytes."""
        self.folder = ROOT / "build/lint" / check
        self.folder.mkdir(parents=True, exist_ok=True)
        self.common = common

    def _mark(self, file, command):
        digest = hashlib.sha256(self.common + b"\0" + command.encode())
        for name in sorted(reached(file)):
            digest.update(name.encode() + b"\0" + (ROOT / name).read_bytes())
        return self.folder / digest.hexdigest()

    def has(self, file, command):
        return self._mark(file, command).exists()

    def add(self, file, command):
        self._mark(file, command).touch()
