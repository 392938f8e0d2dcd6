"""Compares the pages of the tools with the tools."""

import json
import re

from findings import compare, expect, options_in, run, source
from pages import ROOT, Page


def compare_options(page, program):
    """An option that --help does not name is one that the program knows all the same."""
    named = options_in(run(program, "--help").stdout)
    listed = {option for head in page.heads() for option in options_in(head)}
    unnamed = {option for option in listed - named if run(program, option).returncode == 0}
    compare("options", listed, named | unnamed)
    of_the_program = {option for head in page.heads() if head.startswith("--") for option in options_in(head)}
    compare("SYNOPSIS", options_in(" ".join(page.synopsis())), of_the_program)


def HasTheCommandsOfQuorConfig(program):
    page = Page("quor_config.1")
    usage = run(program, "--help").stdout
    compare_options(page, program)
    compare("COMMANDS", page.heads("COMMANDS"),
            [command.lower() for command in re.findall(r"^  (\S+(?: \S+)*)  +\S", usage, re.MULTILINE)])
    statuses = re.findall(r"(\d) ([^,.]*)", re.search(r"^Exit status: (.*)$", usage, re.MULTILINE).group(1))
    compare("EXIT STATUS", [f"{item.head} {item.text.split('.')[0].lower()}" for item in page.items("EXIT STATUS")],
            [" ".join(status) for status in statuses])
    expect(run(program).returncode == 2, "wrong usage has another exit status")
    sources = source("tools/quor_config.cpp") + source("tools/config_file.cpp")
    faults = re.findall(r'(?:fail|reportFault)\("([^"]+)"', sources)
    compare("DIAGNOSTICS", page.heads("DIAGNOSTICS"), faults)


def HasTheArgumentsOfTheRecorder(program):
    page = Page("usb_rx_recorder.1")
    wrong, failed = run(program), run(program, "/dev/null", "mouse")
    compare("SYNOPSIS", page.synopsis()[:1], [wrong.stderr.splitlines()[0].removeprefix("Usage: ").lower()])
    compare_options(page, program)
    compare("EXIT STATUS", page.heads("EXIT STATUS"), ["0", str(failed.returncode), str(wrong.returncode)])
    sources = "".join(file.read_text(encoding="utf-8") for file in sorted((ROOT / "tools/recorder").glob("*.cpp")))
    for item in page.items("DIAGNOSTICS"):
        expect(item.literals and item.literals[0] in sources, f"DIAGNOSTICS: the recorder does not say: {item.head}")


def HasTheOptionsOfUsbRxExplain(program):
    page = Page("usb_rx_explain.1")
    help_text = run(program, "--help")
    expect(help_text.returncode == 0, f"--help exits with {help_text.returncode}")
    compare_options(page, program)
    defaults = re.findall(r"(--\w+)=\S+ [^\n]*(?:otherwise|default:?) (\S+?)[;,.)]*\s", help_text.stdout)
    described = {item.head.split("=")[0]: item.default for item in page.items("DESCRIPTION") if item.default}
    compare("defaults", described.items(), defaults)
    statuses = re.findall(r"\b(\d)\b", help_text.stdout.lower().split("exit status", 1)[1].split("\n\n")[0])
    compare("EXIT STATUS", page.heads("EXIT STATUS"), statuses)
    expect(run(program, "--no-such-option").returncode == 2, "wrong usage has another exit status")


def HasTheJsonOfUsbRxExplain(program):
    members = {item.head: item.words for item in Page("usb_rx_explain.1").items("JSON")}
    devices = [str(ROOT / "devices" / name) for name in ("kbd-fs-hiddev", "mouse-fs", "storage-hs")]
    answers = json.loads(run(program, "--json", "--class=all", *devices).stdout)
    expect(any(answer["nodes"] for answer in answers), "no device has a node")
    expect(any(answer["rules"] for answer in answers), "no device is asked for a rule")
    for answer in answers:
        compare("JSON", members, answer)
        for name, value in answer.items():
            for one in value if isinstance(value, list) else [value]:
                if isinstance(one, dict):
                    compare(f"JSON, {name}", members.get(name, ()), one)
