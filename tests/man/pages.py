"""The manual pages of the project, as mandoc reads them."""

import re
import shutil
import subprocess
import xml.etree.ElementTree as ElementTree
from functools import cached_property
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PATHS = {path.name: path for pattern in ("docs/man/*", "examples/*/*.[1-9]") for path in ROOT.glob(pattern)}


def has_mandoc():
    return shutil.which("mandoc") is not None


def text_of(element):
    """Its text on one line. Only blanks that the page asks for stay at its ends."""
    text = re.sub(r"[ \t\n]+", " ", "".join(element.itertext())).strip(" ")
    return text.replace("\N{NO-BREAK SPACE}", " ")


class Item:
    """One item of a list: its head, its text, and the items of the list within it."""

    def __init__(self, head, body):
        self.head = text_of(head)
        self.literals = [text_of(part) for part in head.iter("code")]
        self._body = body

    @property
    def text(self):
        return text_of(self._body)

    @property
    def words(self):
        """What the text names as a word of a command line: `Cm` of mdoc."""
        return {text_of(part) for part in self._body.iter("code") if part.get("class") == "Cm"}

    @property
    def inner(self):
        return {item.head: item.text for item in items_in(self._body)}

    @property
    def default(self):
        found = re.search(r"Default: (\S+?)[.,]?(?: |$)", self.text)
        return found and found.group(1)


def items_in(element):
    """The items of the lists in an element, without those of lists within lists. Heads may share a text."""
    if element.tag == "dl":
        entries = list(element)
        for index, entry in enumerate(entries):
            if entry.tag == "dt":
                yield Item(entry, next(body for body in entries[index:] if body.tag == "dd"))
        return
    for child in element:
        yield from items_in(child)


class Page:
    def __init__(self, name):
        self.name = name
        self.path = PATHS[name]

    def render(self, *arguments):
        command = ["mandoc", *arguments, str(self.path)]
        return subprocess.run(command, capture_output=True, text=True, check=False).stdout

    def messages(self):
        return self.render("-Tlint", "-Wwarning")

    def lines(self, width):
        plain = re.sub(".\b", "", self.render("-Tutf8", f"-Owidth={width}"))
        return plain.splitlines()

    @cached_property
    def _tree(self):
        return ElementTree.fromstring("<page>" + self.render("-Thtml", "-Ofragment") + "</page>")

    @cached_property
    def text(self):
        return text_of(self._tree)

    def section(self, title):
        for section in self._tree.iter("section"):
            if text_of(section[0]) == title:
                return section
        raise LookupError(f"{self.name}: there is no section {title}")

    def items(self, title=None):
        return list(items_in(self._tree if title is None else self.section(title)))

    def heads(self, title=None):
        return {item.head for item in self.items(title)}

    def synopsis(self):
        """The forms of the command line, each on one line."""
        return [text_of(row).replace(" | ", "|") for row in self.section("SYNOPSIS").iter("tr")]

    def tables(self, title):
        """The tables of a section: their rows, by the names of their columns."""
        tables = (table for table in self.section(title).iter("table") if table.get("class") == "Bl-column")
        cells = ([[text_of(cell) for cell in row.iter("td")] for row in table.iter("tr")] for table in tables)
        return [[dict(zip(head, row)) for row in rows] for head, *rows in cells]

    def literal_blocks(self, title):
        return ["".join(block.itertext()) for block in self.section(title).iter("pre")]

    def references(self):
        """The manual pages that it refers to, as names of files."""
        return {re.sub(r"\((.)\)", r".\1", text_of(link)) for link in self._tree.iter("a") if link.get("class") == "Xr"}


def all_pages():
    return [Page(name) for name in sorted(PATHS)]
