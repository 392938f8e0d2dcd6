"""System calls of the daemon in a log of strace, and what each is for."""

import re
from dataclasses import dataclass

LINE = re.compile(r"^(?:\d+ +)?(\w+)\((.*)$")
NAMES = ("product", "vendor", "model")
LATE = ("uevent", "bDeviceClass")  # attributes that the daemon looks for again
BY_DESCRIPTOR = ("read", "write", "close", "fcntl", "flock", "accept", "recvfrom", "sendto", "bind", "listen")
NAMED = {
    "event": "that is refused",
    "launch": "that gets a worker",
    "client": "at new link parameters",
    "end of a worker": "that cannot be configured",
}
LISTS = ("/sys/bus/usb/devices", "/sys/class/usb", "/sys/class/scsi_generic")


@dataclass
class Call:
    """The `number`-th call of its name by the daemon, and the words that the table has for its purpose."""

    name: str
    number: int
    text: str
    purpose: str  # of the program loader's calls None
    is_own: bool = True

    def same_as(self, other):
        return key(self) == key(other)


def key(call):
    """What two runs have in common: results, times and the numbers of processes and sockets differ."""
    arguments = re.split(r"\)\s+= ", call.text)[0]
    path = re.search(r'"(/[^"]*)"', arguments)
    if call.name in BY_DESCRIPTOR:
        shown = arguments.split(", ")[0]
    else:
        shown = path.group(1) if path and call.name not in ("getcwd", "bind") else ""
    return call.name, re.sub(r"\d+", "#", shown)


def gave_nothing(text):
    return re.search(r"\)\s+= 0$", text) is not None


def is_injected(text):
    return text.rstrip().endswith("(INJECTED)")


class Purposes:
    """Follows the daemon through its calls; what it is doing decides what a call is for."""

    def __init__(self):
        self.doing = "start"
        self.opened = {}

    def of(self, name, text):
        self.follow(name, text)
        path = self.path(name, text)
        purpose = self.by_path(name, path, text) if path else self.by_name(name, text)
        if name in ("read", "getdents64") and re.search("configuration|list", purpose) and gave_nothing(text):
            purpose = "the end of " + purpose
        if name == "openat" and (number := re.search(r"= (\d+)<", text)):
            self.opened[number.group(1)] = path
        return purpose

    def follow(self, name, text):
        if name == "write" and re.search(r"\] (add|remove) /", text):
            self.doing = "event"
        elif name == "getdents64":
            self.doing = "list"
        elif name == "accept":
            self.doing = "client"
        elif name == "wait4":
            self.doing = "end of a worker"
        elif name == "recvfrom":
            self.doing = "event"
        elif name == "vfork":
            self.doing = "launch"
        elif name == "pselect6" and "tv_sec=0, tv_nsec=0}" not in text:
            self.doing = "loop"

    def path(self, name, text):
        """The path as it was named to open() or to the call itself."""
        if name in ("openat", "newfstatat", "readlink", "chdir", "unlink"):
            if match := re.search(r'"(/[^"]*)"', text):
                return match.group(1)
        number = re.match(r"(\d+)</", text)
        return self.opened.get(number.group(1)) if number and name != "write" else None

    def by_path(self, name, path, text):
        if path in ("/dev/null", "/"):
            return "descriptors 0 to 2" if name != "chdir" else "the way back to the working directory"
        if path == "/vel/quor.conf" or path.startswith("/proc/self/fd/"):
            return "the configuration, by iniparser" if "/proc" in path else "the configuration"
        if path == "/dev/osd_fifo":
            return "the display"
        if path == "/var/run/usb_rx":
            return "an old control socket"
        if path in LISTS:
            asked = name == "newfstatat" and text.startswith("AT_FDCWD")
            return "whether there is a list of devices at start" if asked else "a list of devices at start"
        return self.by_device_path(name, path)

    def by_device_path(self, name, path):
        attribute = path.rsplit("/", 1)[-1]
        if path.startswith("/sys/class/usb/") and name != "chdir":
            return "the check of a keyboard at start"
        if name == "chdir":
            return "the directory of a device"
        if name == "readlink":
            return "the subsystem of a device"
        if attribute in NAMES:
            return f"the name of a device {NAMED[self.doing]}"
        if attribute == "speed" and self.doing == "client":
            return "the speed of a device on a link that became slow"
        if re.fullmatch(r"\d-\d|hiddev\d+|sg\d+", attribute):
            return "the look whether a device is still there"
        return f"what a device is ({'attributes that may come late' if attribute in LATE else 'other attributes'})"

    def by_name(self, name, text):
        if name == "write":
            return self.of_write(text)
        if name in ("read", "fcntl", "close", "bind", "listen", "socket") or text.startswith("0"):
            return self.of_descriptor(text)
        return {
            "getcwd": "the directory of a device" if not text.startswith('"/",') else "the working directory",
            "pselect6": "the wait for events" if "tv_sec=0, tv_nsec=0}" not in text else "the look at one source",
            "recvfrom": "a uevent, its size" if "MSG_PEEK" in text else "a uevent",
            "vfork": "a new worker",
            "wait4": "a further ended worker" if gave_nothing(text) else "an ended worker",
            "kill": "the end of a worker that is too fast",
            "accept": "a control client",
            "sendto": "the answer to a control client",
            "getsockname": "whether a waiting client is still there",
            "poll": "which clients have gone",
            "setsockopt": "the buffer of uevents",
            "clock_nanosleep": "the pause before a look at a device",
            "pipe2": "the notice of ended workers",
            "rt_sigaction": self.of_signal(text),
            "rt_sigprocmask": self.of_mask(text),
        }.get(name)

    @staticmethod
    def of_signal(text):
        signal, _, action = text.partition(", ")
        if not action.startswith("NULL"):
            return "the handling of " + signal
        return "whether SIGPIPE is ignored" if signal == "SIGPIPE" else "whether another signal is handled"

    @staticmethod
    def of_mask(text):
        return {
            "SIG_UNBLOCK": "a blocked signal",
            "SIG_BLOCK": "signals that wait during a launch",
            "SIG_SETMASK": "signals that have waited during a launch",
        }.get(text.partition(", ")[0])

    @staticmethod
    def of_write(text):
        if text.startswith("2<"):
            return "the log"
        return "the display" if "osd_fifo" in text else "the notice of ended workers"

    @staticmethod
    def of_descriptor(text):
        if "AF_NETLINK" in text or "NETLINK" in text:
            return "the socket of uevents"
        if "pipe:" in text:
            return "the notice of ended workers"
        if "osd_fifo" in text:
            return "the display"
        if "->" in text:
            return "a control client"
        return "the control socket"


def begins_main(name, text):
    """The dynamic loader is done, and the first of the daemon's own calls comes."""
    return name == "openat" and '"/dev/null", O_RDWR' in text


def read_calls(path):
    """All calls of the log, those of the program loader before main included."""
    purposes, counts, calls, own = Purposes(), {}, [], False
    with open(path, encoding="utf-8", errors="replace") as log:
        for line in log:
            match = LINE.match(line)
            if match is None:
                continue
            name, text = match.groups()
            own = own or begins_main(name, text)
            counts[name] = counts.get(name, 0) + 1
            calls.append(Call(name, counts[name], text, purposes.of(name, text) if own else None, own))
    return calls


def injected_call(path, name):
    """The call that was made to fail, or None. Of several processes, lines of one call may be apart."""
    number = 0
    with open(path, encoding="utf-8", errors="replace") as log:
        for line in log:
            match = LINE.match(line)
            if match and match.group(1) == name:
                number += 1
                if is_injected(line):
                    return Call(name, number, match.group(2), None)
            elif f"<... {name} resumed>" in line and is_injected(line):
                return Call(name, number, line, None)
    return None
