"""The messages of usb_rx_usbip(7), as its tables have them."""

import hmac
import re

from pages import Page, text_of

page = Page("usb_rx_usbip.7")


class Message:
    """A message whose fields are the rows of a table. A field is a number or bytes."""

    def __init__(self, title):
        rows = page.tables(title)[0]
        self.section = text_of(page.section(title))
        self.fields = {row["field"]: (int(row["offset"]), int(row["size"])) for row in rows}
        self.contents = {row["field"]: row["content"] for row in rows}

    @property
    def size(self):
        return sum(size for _, size in self.fields.values())

    def bytes_of(self, **values):
        message = b""
        for name, (_, size) in self.fields.items():
            value = values.get(name, b"")
            message += value.to_bytes(size, "big") if isinstance(value, int) else value.ljust(size, b"\0")
        return message

    def number(self, message, name):
        return int.from_bytes(self.content(message, name), "big")

    def content(self, message, name):
        offset, size = self.fields[name]
        return message[offset:offset + size]


greeting, offer = Message("Greeting"), Message("Offer")
magic = greeting.contents["magic"].split()[-1].encode()
version = int(greeting.contents["version"])
proof_size = int(re.search(r"It has (\d+) bytes", text_of(page.section("Proof"))).group(1))


def greeting_with(**values):
    return greeting.bytes_of(**{"magic": magic, "version": version, **values})


def proof(name, key, workers_greeting, far_sides_greeting):
    return hmac.new(key, name + workers_greeting + far_sides_greeting, "sha256").digest()


def workers_proof(outkey, *greetings):
    return proof(b"usb_rx_usbip", outkey, *greetings)


def far_sides_proof(inkey, *greetings):
    return proof(b"usb_tx_usbip", inkey, *greetings)
