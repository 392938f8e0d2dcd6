"""Compares usb_rx(7) with the daemon's control socket: the example is played with a daemon."""

import os
import re
import socket
import subprocess
import tempfile
import time

from dumps import bytes_of_dump
from findings import SkippedTest, expect, run, source
from pages import Page

page = Page("usb_rx.7")


def fields_of_a_line():
    return re.search(r"with one blank between them:\s*(host [a-z ]*?key [a-z]*key)", page.text).group(1).split()


def ShowsMessagesOfTheControlSocketAsTheyAre():
    query, line, other_query, without_keys = map(bytes_of_dump, page.literal_blocks("EXAMPLES"))
    expect(len(query) == len(other_query) == 1, "a query is not one byte")
    expect(f"a line of {len(line)} bytes" in page.text, f"the line has {len(line)} bytes")
    fields = fields_of_a_line()
    expect(len(line.split(b" ")) == len(fields), f"the line does not have the fields {fields}")
    expect(len(without_keys.split(b" ")) == len(fields) - 2, "the line without keys has another number of fields")
    taken = re.findall(r"(?:ctrl\.(\w+) = \S*takeField|replaceKey\(ctrl\.(\w+)|<std::uint16_t>\(takeField)",
                       source("src/control/control_requests.cpp"))
    expected = [first or second or "port" for first, second in taken]
    expect(["hostname", *fields[1:]] == expected, f"the fields are {expected}")


class Unit:
    """The daemon with the port 0, among devices of its own: none. Tests its control socket."""

    ENTER = ("unshare", "--map-root-user", "--net", "--mount", "sh", "-c")
    WITHOUT_DEVICES = 'mount -t tmpfs none /sys && mkdir -p /sys/bus/usb/devices && exec "$@"'

    def __init__(self, program, folder):
        self.socket = f"{folder}/control"
        self.daemon = subprocess.Popen([*self.ENTER, self.WITHOUT_DEVICES, "sh", program, f"--sock={self.socket}",
                                        "transmitter", "0", "high"], stdout=subprocess.DEVNULL)

    def send(self, message):
        """Connects as soon as the daemon listens; returns the connection."""
        connection = socket.socket(socket.AF_UNIX)
        connection.settimeout(20)
        deadline = time.monotonic() + 20
        while connection.connect_ex(self.socket) != 0:
            if time.monotonic() > deadline or self.daemon.poll() is not None:
                raise TimeoutError(f"the daemon does not listen; its exit status: {self.daemon.poll()}")
            time.sleep(0.01)
        connection.sendall(message)
        return connection


def answer_over(connection):
    """All that comes until the end of the connection."""
    return b"".join(iter(lambda: connection.recv(4096), b""))


def ExchangesTheMessagesOfItsExample(program):
    if run(*Unit.ENTER, Unit.WITHOUT_DEVICES, "sh", "true").returncode != 0:
        raise SkippedTest("the kernel gives no mounts of its own")
    query, line, other_query, without_keys = map(bytes_of_dump, page.literal_blocks("EXAMPLES"))
    with tempfile.TemporaryDirectory() as folder:
        unit = Unit(program, folder)
        try:
            worker = unit.send(query)
            mode = oct(os.stat(unit.socket).st_mode & 0o777).removeprefix("0o")
            expect(f"the mode 0{mode}:" in page.text, f"the mode of the socket is {mode}")
            first_manager = unit.send(line)
            expect(answer_over(worker) == line, "the held client did not get the line")
            expect(answer_over(unit.send(other_query)) == line, "the second query was not answered by the line")
            manager = unit.send(without_keys)
            expect(answer_over(unit.send(query)) == without_keys, "the second line is not in force")
            first_manager.close()  # not before: the daemon may not know yet that it is replaced
            expect(answer_over(unit.send(query)) == without_keys, "the end of the first connection has an effect")
            manager.close()
            expect(unit.daemon.wait(20) == 0, f"the daemon has ended with {unit.daemon.returncode}")
        finally:
            unit.daemon.kill()
            unit.daemon.wait()
