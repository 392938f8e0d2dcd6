"""Compares usb_rx_ctrl(8) with the daemon, the texts of its contract, and docs/faults.md."""

import re

from contract_texts import texts_of
from findings import compare, expect, findings, found_in, options_in, run, source
from pages import Page, text_of

daemon = Page("usb_rx_ctrl.8")


def HasTheDaemonsCommandLine(program):
    end = run(program)
    usage = re.sub(r"\{[^}]*\}", "list", " ".join(end.stderr.split()).replace("<", "").replace(">", ""))
    compare("SYNOPSIS", ["Usage: " + form for form in daemon.synopsis()], [usage])
    expect(str(end.returncode) in daemon.heads("EXIT STATUS"), f"EXIT STATUS does not have {end.returncode}")

    options = {re.match(r"--\w+", item.head).group(): item for item in daemon.items("OPTIONS")}
    forms = re.findall(r"\[?(--[^\]|]*)", usage)
    compare("OPTIONS", [item.head for item in options.values()], [form.strip() for form in forms])
    for option, words in re.findall(r"(--\w+)=\{([^}]*)\}", end.stderr):
        named = {word for word in options[option].words if ":" not in word}
        compare(option, named, set(words.split(",")) | {"none"})
    compare("defaults", [f"{option} {item.default}" for option, item in options.items() if item.default], [
        "--class " + found_in("src/ctrl/device_classes.h", r'\{"(\w+)", noClasses\}'),
        "--debug " + found_in("src/ctrl/settings.h", r'\{"(\w+)", nullptr\}'),
        "--keys none",
        "--sock " + found_in("src/ctrl/link.h", r'defaultSocketPath = "([^"]*)"'),
        "--intf " + found_in("src/ctrl/command_line.h", r'interface = "([^"]*)"'),
    ])


def expect_everywhere(text, part):
    """The page quotes the text, and where it has that part of it, it has all of it."""
    places = daemon.text.count(part)
    expect(0 < places == daemon.text.count(f"“{text}”"), f"not at each of {places} places: “{text}”")


def HasTheDaemonsTextsToTheLetter():
    display, debug = texts_of("display"), texts_of("debug")
    unnamed, tag, _ = display.pop("unnamedDevice"), debug.pop("tag"), debug.pop("line")
    expect_everywhere(unnamed, "named device")
    expect(tag.endswith(" "), f"there is no blank at the end of the tag: {tag}")
    expect(f"behind the tag ‘{tag.rstrip()}’ and a blank." in daemon.text, f"the tag is missing: {tag}")
    compare("DISPLAY", daemon.heads("DISPLAY"), display.values())
    compare("DEBUG MESSAGES", daemon.heads("DEBUG MESSAGES"), debug.values())

    errors = texts_of("error")
    form, usage = errors.pop("whileCalling"), errors.pop("usage")
    expect(form in daemon.text, f"the form of errors is missing: {form}")
    expect_everywhere("No buffer space available", "buffer space")
    expect_everywhere(texts_of("reason")["noSuchFile"], "such file")
    expect_everywhere(texts_of("reason")["tooManyFiles"], "many open files")
    heads = daemon.heads("DIAGNOSTICS")
    findings.extend(f"DIAGNOSTICS does not have: {error}" for error in set(errors.values()) - heads)
    others = {head for head in heads - set(errors.values()) if " while " not in head}
    compare("DIAGNOSTICS", others, {"iniparser: complaint", " ".join(usage.split()[:2]) + " ...",
                                    found_in("src/ulx/file_descriptor.h", r'StrException\("(\w+)"\)')})


def HasEveryErrorThatEndsTheDaemon():
    """docs/faults.md, which scripts/faults holds to the daemon, names them by the calls that have failed."""
    ends = set(re.findall(r"\| ends: (.*?), status (\d+) \|", source("docs/faults.md")))
    calls = {text.removeprefix("REASON while ") for text, _ in ends if text.startswith("REASON while ")}
    plain = {call for call in calls if not call.startswith("CALL(") and "LIST" not in call and "fdN" not in call}
    paths = {'open("path")', 'read("path")', 'fcntl("path",F_SETFD,FD_CLOEXEC)', "stat(path)"}  # CALL(PATH)
    heads = daemon.heads("DIAGNOSTICS")
    compare("DIAGNOSTICS", {head.removeprefix("reason while ") for head in heads if head.startswith("reason while ")},
            plain | paths | {"opendir(path)", "recvfrom(name)"})
    expect({"opendir(LIST)", "recvfrom(fdN)"} <= calls, "docs/faults.md names these calls in another way")
    others = {text for text, _ in ends if " while " not in text}
    findings.extend(f"DIAGNOSTICS does not have: {text}" for text in others - heads)
    compare("EXIT STATUS", daemon.heads("EXIT STATUS"), {"0"} | {status for _, status in ends})


def HasTheArgumentsOfWorkers():
    arguments = source("src/workers/worker_arguments.cpp")
    section = text_of(daemon.section("WORKERS"))
    compare("WORKERS", options_in(section.split("What a worker must do")[0]), options_in(arguments))
    heads = {item.head: item.text for item in daemon.items("WORKERS") if not item.head[0].isdigit()}
    programs = re.findall(r'arguments\{"(\w+)"\}', arguments) + ["usb_rx_generic"]
    compare("WORKERS", {head.split()[0] for head in heads if head.startswith("usb_rx_")}, programs)
    for program, constant, text in (("usb_rx_keyboard", "keyboardPort", "port is that of the link + {}."),
                                    ("usb_rx_scsi", "scsiPort", "port is that of the link + {}.")):
        expected = text.format(found_in("src/workers/worker_arguments.cpp", rf"{constant} = (\d+);"))
        expect(any(head.startswith(program) and body.startswith(expected) for head, body in heads.items()),
               f"{program}: the page does not have: {expected}")


def HasTheExitStatusesOfWorkers():
    statuses = re.findall(r"inline constexpr int \w+Status = (\d+);", source("src/workers/exit_status.h"))
    heads = daemon.heads("WORKERS")
    compare("WORKERS", {head for head in heads if head.isdigit()}, statuses)
    rows = {text for text in re.findall(r"status (\d+)", "".join(daemon.section("RESTART AND WAITING").itertext()))}
    compare("RESTART AND WAITING", rows, statuses)
