"""Dumps of bytes in the manual pages."""

import re

from findings import expect


def bytes_of_dump(dump):
    content = b""
    for line in dump.strip().splitlines():
        offset, digits, shown = re.fullmatch(r"([0-9a-f]{2})  ((?:[0-9a-f]{2} ?)+) *\|(.*)\|", line).groups()
        row = bytes.fromhex(digits)
        expect(int(offset, 16) == len(content), f"the offset is wrong: {line}")
        expect(shown == "".join(chr(byte) if 0x20 <= byte < 0x7F else "." for byte in row), f"differs: {line}")
        content += row
    return content
