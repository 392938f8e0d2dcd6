"""In a few words: what a fault has changed."""

import errno
import os
import re
from collections import Counter

IGNORED = "Exception while processing uevent; ignored."
UNNAMED = "un-named device"

# How a message names the call on a file that has failed.
FAILED_CALL = {
    "openat": r'open\("(.*)"\)',
    "read": r'read\("(.*)"\)',
    "fcntl": r'fcntl\("(.*)",F_SETFD,FD_CLOEXEC\)',
    "newfstatat": r"stat\((.*)\)",
}

NOTHING = "nothing changes"
NEVER = ("HANGS", "CRASHES")  # outcomes that no row may have


def outcome_of(seen, expected, call, error):
    """`call` and `error`: their names."""
    if seen.end is None or seen.end == "hang":
        return f'HANGS in "{seen.steps[-1].name}"'
    if seen.end.startswith("signal"):
        return f'CRASHES by {seen.end} in "{seen.steps[-1].name}"'
    missing, extra = without_artefacts(*seen.differences(expected), call)
    if seen.end == expected.end and seen.steps[-1].name == expected.steps[-1].name:
        return changed(missing, extra)
    end = how_it_ended(seen, call, error)
    before = [[fact for fact in facts if comes_before(fact[0], seen, expected)] for facts in (missing, extra)]
    return f"{end}; before: {changed(*before)}" if any(before) else end


def without_artefacts(missing, extra, call):
    """The injection keeps close() from closing, unlike a kernel, where a close() that fails has closed."""
    if call != "close":
        return missing, extra
    mine, others = (Counter((step, kind, device, text.split(", descriptors")[0]) for step, kind, device, text in facts
                            if kind not in ("reply", "open")) for facts in (missing, extra))
    return list((mine - others).elements()), list((others - mine).elements())


def how_it_ended(seen, call, error):
    reason = os.strerror(getattr(errno, error))
    text = readable(seen.last_error).replace(reason, "REASON")
    if call in FAILED_CALL:
        text = re.sub(FAILED_CALL[call], r"CALL(\1)", text)
    return f"ends: {text}, {seen.end}" if text else f"ends without a word, {seen.end}"


def comes_before(step, seen, expected):
    names = [other.name for other in expected.steps]
    return names.index(step) < names.index(seen.steps[-1].name)


def readable(text):
    text = re.sub(r"/sys/devices/platform/usb-host\.0/usb1/[\w:./-]*?(/[a-z]+)?(?=[\")])", r"DEVICE\1", text)
    text = re.sub(r'/sys/class/usb/hiddev\d+/device/[^"]*', "KEYBOARD/ATTRIBUTE", text)
    text = re.sub(r"(?<=\()/sys/(bus/usb/devices|class/usb|class/scsi_generic)(?=\))", "LIST", text)
    return re.sub(r"fd\d+", "fdN", text.replace("\\n", ""))


def changed(missing, extra):
    if not missing and not extra:
        return NOTHING
    for recognise in RECOGNISED:
        if words := recognise(missing, extra):
            return words
    shown = sorted(f'{sign}{kind} in "{step}": {text}' for sign, facts in (("-", missing), ("+", extra))
                   for step, kind, _, text in facts)
    return "OTHER: " + "; ".join(shown[:6])


def texts(facts, kind=None):
    return [fact[3] for fact in facts if kind in (None, fact[1])]


def kinds(facts):
    return {fact[1] for fact in facts}


def of_one_device(facts):
    """Nodes have no names of their own when they are announced again."""
    return len({fact[2] for fact in facts if fact[3] != f"{UNNAMED} attached\\n"}) <= 1


def ignored(missing, extra):
    """One event has no effect; what would have followed from that is missing, too."""
    reports = [fact for fact in extra if fact[3].endswith(IGNORED)]
    if len(reports) != 1 or not of_one_device(missing + reports):
        return None
    step = reports[0][0]
    others = [fact for fact in extra if fact not in reports]
    if others:
        return ignored_elsewhere(missing, others)
    here = [fact for fact in missing if fact[0] == step]
    if "display" in kinds(here) and "worker" not in kinds(here) and any(" attached" in t for t in texts(here)):
        return "the worker runs, but is not announced"
    return "the event is ignored"


def ignored_elsewhere(_, others):
    if kinds(others) == {"worker"} and all(" in /sys/" in text for text in texts(others)):
        return "the event is ignored; later workers start in its directory"
    return None


def later_workers_elsewhere(missing, extra):
    """As above, where the event was one of those that workers follow."""
    rest = [fact for fact in extra if not fact[3].endswith(IGNORED)]
    if rest and len(extra) == len(rest) + 1:
        return ignored_elsewhere(missing, rest)
    return None


def nothing_displayed(missing, extra):
    if not extra and kinds(missing) == {"open", "display"}:
        return "nothing is displayed"
    return None


def one_line_lost(missing, extra):
    """Without the lines that name devices, others seem to belong to another device."""
    gone, come = (Counter((step, kind, text) for step, kind, _, text in facts) for facts in (missing, extra))
    lost = list((gone - come).elements())
    if come - gone or len(lost) != 1 or lost[0][1] not in ("log", "display"):
        return None
    return f"one line of the {lost[0][1]} is lost"


def unnamed(missing, extra):
    if kinds(missing) == kinds(extra) == {"display"} and len(missing) == len(extra) == 1 and \
            (UNNAMED in extra[0][3] or extra[0][3].startswith(" ")):
        return "the device is displayed without that name"
    return None


def unanswered(missing, extra):
    if kinds(missing + extra) == {"reply"}:
        return "one client gets no answer"
    return None


def defaults(missing, extra):
    """Reports that are read on standard output or error are part of the outcome."""
    defaulted = any("usb_rx_generic" in text for text in texts(extra, "worker"))
    if not defaulted and not any("local smartcard security" in text for text in texts(missing, "display")):
        return None
    reports = [readable(text) for text in texts(extra, "output") + texts(extra, "log") if "[rx_ctrl]" not in text]
    reports = [re.sub(r"fd/\d+", "fd/N", text).strip() for text in reports if text]
    return "the defaults hold, " + ("reported as: " + " / ".join(reports) if reports else "without a report")


def locked_later(missing, extra):
    if not missing and texts(extra) == ["Config unable to set lock"]:
        return "the next attempt locks; printed: Config unable to set lock"
    return None


def display_inherited(missing, extra):
    if extra and kinds(missing + extra) == {"worker"} and all("osd_fifo" in text for text in texts(extra)):
        return "workers inherit the display"
    return None


def without_subsystem(missing, extra):
    if of_one_device(missing + extra) and any("subsystem is ''" in text for text in texts(extra)):
        return "the device is not served, without a report"
    return None


def not_found(missing, extra):
    if not extra and "worker" in kinds(missing) and {fact[0] for fact in missing if fact[1] == "worker"} == {"start"}:
        return "devices that are there at start are not found, without a report"
    return None


def taken_for_gone(missing, extra):
    if any(text.endswith("has gone") for text in texts(extra)) and of_one_device(missing + extra) and \
            kinds(extra) == {"log"}:
        return "the device is taken for gone: no new worker"
    return None


def handled_later(_, extra):
    """Steps that follow may then find no worker, so more is different; the end itself is in a later step."""
    if any("has terminated" in text for text in texts(extra)):
        return "the end is handled together with the next one"
    return None


def runs_on(missing, extra):
    if not extra and any("terminated due to signal" in text for text in texts(missing)):
        return "the worker runs on"
    return None


def outlives(missing, extra):
    workers = texts(extra, "worker")
    if workers and all("death signal 0" in text for text in workers) and kinds(missing + extra) <= {"worker", "left"}:
        return "generic workers outlive the daemon"
    return None


def broken_pipes_ignored(missing, extra):
    if extra and kinds(missing + extra) == {"worker"} and all("ignored 13," in text for text in texts(extra)):
        return "workers ignore SIGPIPE"
    return None


def signals_blocked(_, extra):
    """What would have followed from the end of a worker by a signal is missing, too."""
    if "worker" in kinds(extra) and kinds(extra) <= {"worker", "left"} and \
            all("blocked 1,13,17," in text for text in texts(extra, "worker")):
        return "workers start with SIGHUP, SIGPIPE and SIGCHLD blocked"
    return None


RECOGNISED = (ignored, later_workers_elsewhere, nothing_displayed, one_line_lost, unnamed, unanswered, defaults,
              locked_later, display_inherited, without_subsystem, not_found, handled_later, taken_for_gone, runs_on,
              outlives, broken_pipes_ignored, signals_blocked)
