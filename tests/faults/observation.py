"""What tests/faults/daemon_life.cpp has printed, without what differs from run to run."""

import re
from collections import Counter
from dataclasses import dataclass, field

PORT = re.compile(r"(?<![\d-])([12]-\d)(?!\d)")
NODE = re.compile(r"(?:hiddev|sg)(\d)(\d)\b")


@dataclass
class Step:
    name: str
    facts: Counter = field(default_factory=Counter)  # of (kind, device, text)


def device_of(text):
    """The port of the device that a text names, or ""."""
    if port := PORT.search(text):
        return port.group(1)
    node = NODE.search(text)
    return f"{node.group(1)}-{node.group(2)}" if node else ""


class Observation:
    def __init__(self, output):
        self.steps = []
        self.end = None
        self.last_error = ""
        self.trouble = []
        self._workers = {}  # process ids and their devices
        self._device = ""  # that the log is about
        for line in output.splitlines():
            kind, _, text = line.partition(" ")
            self._take(kind, text)

    def _take(self, kind, text):
        if kind == "step":
            self.steps.append(Step(text))
            self._device = ""
        elif kind == "end":
            self.end = text
        elif kind == "trouble":
            self.trouble.append(text)
        elif self.steps:
            self.steps[-1].facts[getattr(self, "_" + kind, self._plain)(kind, text)] += 1

    @staticmethod
    def _plain(kind, text):
        return kind, device_of(text), text

    def _worker(self, kind, text):
        pid, argument, facts = text.split(" ", 2)
        device = device_of(argument) or f"{argument[0]}-{argument[1]}"
        self._workers[pid] = device
        return kind, device, facts

    def _log(self, kind, text):
        if not text.startswith("[rx_ctrl] "):
            self.last_error = self.last_error if text in ("", "\\n") else text
            return kind, "", text
        if ended := re.search(r"subprocess (\d+) has", text):
            self._device = self._workers.get(ended.group(1), "?")
            text = text.replace(ended.group(1), "N")
        elif re.search(r"\] (add|remove) /", text):
            self._device = device_of(text)
        elif re.search(r"coldplugging|colplugging|hotplugging|immediate send|setup", text):
            self._device = ""
        text = re.sub(r" to \d+$", " to N", re.sub(r"restarting \d+", "restarting N", text))
        return kind, self._device, text

    def differences(self, expected):
        """Facts that are missing and facts that are extra, each as (step, kind, device, text)."""
        found = [{}, {}]
        names = [step.name for step in expected.steps]
        names += [step.name for step in self.steps if step.name not in names]
        for name in names:
            mine, other = self.facts_of(name), expected.facts_of(name)
            for result, facts in ((found[0], other - mine), (found[1], mine - other)):
                for (kind, device, text), count in facts.items():
                    result[name, kind, device, text] = count
        return list(Counter(found[0]).elements()), list(Counter(found[1]).elements())

    def facts_of(self, name):
        return next((step.facts for step in self.steps if step.name == name), Counter())
