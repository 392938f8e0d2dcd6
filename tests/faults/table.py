"""The tables of docs/faults.md: rows of call, purpose, errors and outcome."""

import re
from dataclasses import dataclass

HEADER = ["call", "for", "error", "what happens"]
REST = ("any", "any other")  # in place of errors: all that have no row of their own
ANYTHING = "anything"  # in place of a purpose


@dataclass
class Row:
    line: int
    calls: list
    purposes: list
    errors: list
    outcomes: list

    def fits(self, call, purpose, error):
        return call in self.calls and (purpose in self.purposes or self.is_general) and \
            (error in self.errors or self.is_rest)

    @property
    def is_rest(self):
        return " ".join(self.errors) in REST

    @property
    def is_general(self):
        return self.purposes == [ANYTHING]


def cells(line):
    return [cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip().strip("|"))]


def words(cell):
    return [word for word in re.split(r"[\s,]+", cell.replace("`", "")) if word]


def read_rows(path):
    rows, in_table = [], False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if not line.startswith("|"):
            in_table = False
            continue
        row = cells(line)
        if row == HEADER:
            in_table = True
        elif in_table and not set(line) <= set("|-: "):
            rows.append(Row(number, words(row[0]), row[1].split("; "), words(row[2]), row[3].split("; or ")))
    return rows


def row_for(rows, call, purpose, error):
    """The row that names purpose and error, else the one that is closest to it."""
    fitting = sorted((row for row in rows if row.fits(call, purpose, error)),
                     key=lambda row: (row.is_general, row.is_rest))
    return fitting[0] if fitting else None
