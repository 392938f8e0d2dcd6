"""Compares usb_rx_usbip(7) with its two programs and the messages between them."""

import re
import sys
from pathlib import Path

from dumps import bytes_of_dump
from exchange_messages import (far_sides_proof, greeting, greeting_with, magic, offer, page, proof_size, version,
                               workers_proof)
from findings import SkippedTest, compare, expect, findings, found_in, options_in, run, source
from pages import ROOT, items_in, text_of

MESSAGES = "examples/usbip/exchange/messages.h"
# The kernel, as far as the programs see it, and a network that knows 192.0.2.1 besides the loopback addresses.
ENTER = ("unshare", "--map-root-user", "--net", "--mount", "sh", "-c",
         'mount -t tmpfs none /sys && busybox ip link set lo up && busybox ip addr add 192.0.2.1/32 dev lo && exec "$@"',
         "sh")


def subsection(title, program):
    """The items of a section, below the heading of one program."""
    subsections = {text_of(part[0]): part for part in page.section(title) if part.tag == "section"}
    return list(items_in(subsections[program]))


def heads_of(title, program):
    return {item.head for item in subsection(title, program)}


def compare_command_line(name, program):
    lines = run(program, "--help").stdout.splitlines()
    usage = [line.removeprefix("Usage:").strip() for line in lines if f"{name} " in line.removeprefix("Usage:")[:20]]
    forms = [form.lower().replace("inkey outkey", "in out") for form in page.synopsis() if form.startswith(name)]
    compare("SYNOPSIS", forms, [form.lower() for form in usage] + [f"{name} --help"])
    listed = {option for head in heads_of("OPTIONS", name) for option in options_in(head)}
    compare(f"OPTIONS, {name}", listed, options_in("\n".join(lines)) | {"--help"})
    statuses = re.findall(r"\b(\d+) [a-z]", " ".join(lines).split("Exit status:")[1])
    compare(f"EXIT STATUS, {name}", heads_of("EXIT STATUS", name), statuses)
    wrong = run(program, "--no-such-option")
    expect(wrong.returncode == 1 and "Usage:" in wrong.stderr, f"{name} takes wrong usage: {wrong}")


def HasTheCommandLineOfUsbRxUsbip(program):
    compare_command_line("usb_rx_usbip", program)


def HasTheCommandLineOfUsbTxUsbip(program):
    compare_command_line("usb_tx_usbip", program)


def constants_of(file):
    constants = {}
    for name, expression in re.findall(r"inline constexpr \S+ (\w+) = ([\w +]+);", source(file)):
        constants[name] = sum(constants.get(term) or int(term) for term in expression.split(" + "))
    return constants


def numbers_of(enumeration):
    body = re.search(rf"enum class {enumeration} [^{{]*{{(.*?)}};", source(MESSAGES), re.DOTALL).group(1)
    return re.findall(r"(\w+) = (\d+)", body)


def expect_fields(message, size, **sizes):
    end = 0
    for name, (offset, length) in message.fields.items():
        expect(offset == end, f"{name}: the offset is not {end}")
        end = offset + length
    expect(end == size and f"It has {size} bytes" in message.section, f"the message has {size} bytes, not {end}")
    for name, length in sizes.items():
        expect(message.fields[name][1] == length, f"{name} has {length} bytes")


def HasTheSizesOfTheMessages():
    sizes = constants_of(MESSAGES)
    expect_fields(greeting, sizes["greetingSize"], magic=len(magic), challenge=sizes["challengeSize"])
    expect_fields(offer, sizes["offerSize"], busid=sizes["busIdSize"], descriptor=sizes["deviceDescriptorSize"])
    expect(sum(greeting.fields["version"]) == sizes["greetingStartSize"], "another field is behind the version")
    expect(f"as soon as it has these {sizes['greetingStartSize']} bytes" in page.text, "the size of the start differs")
    expect(f"1 to {sizes['busIdSize'] - 1} digits" in page.text, "the longest bus id differs")
    expect(version == sizes["exchangeVersion"], f"the version is {sizes['exchangeVersion']}")
    letters = found_in("examples/usbip/exchange/messages.cpp", r"magic\{([^}]*)\}")
    expect(magic.decode() == "".join(re.findall("'(.)'", letters)), f"the magic is {letters}")
    expect(proof_size == int(found_in("examples/usbip/exchange/proofs.h", r"Proof = std::array<std::uint8_t, (\d+)>")),
           "the size of a proof differs")


def HasTheNumbersOfVerdictsAndSpeeds():
    compare("Verdicts", [row["verdict"] for row in page.tables("Verdicts")[0]],
            [number for _, number in numbers_of("Verdict")])
    listed = re.search(r"The speeds are the kernel's: ([^.]*)\.", page.text).group(1).split(", ")
    words = {name: re.sub("([A-Z])", lambda letter: " " + letter.group().lower(), name) for name, _ in numbers_of("Speed")}
    compare("speeds", listed, [f"{number} {words[name]}" for name, number in numbers_of("Speed")])


def ComputesTheProofsOfItsExample():
    keys = [key.encode() for key in re.search(r"An example with the keys (\w+) and (\w+):", page.text).groups()]
    worker, far_side, *proofs = map(bytes_of_dump, page.literal_blocks("KEYS"))
    for message in (worker, far_side):
        expect(message == greeting_with(keys=1, challenge=greeting.content(message, "challenge")), "no greeting")
    expect(proofs == [workers_proof(keys[1], worker, far_side), far_sides_proof(keys[0], worker, far_side)],
           "the proofs are others")


def sources_of(*folders):
    files = (file for folder in folders for file in sorted((ROOT / "examples/usbip" / folder).glob("*.cpp")))
    return "".join(file.read_text(encoding="utf-8") for file in files)


def HasTheFilesOfThePrograms():
    text = sources_of("receiver", "transmitter")
    paths = {item.head for item in page.items("FILES")}
    expect(len(paths) > 8, "FILES: there are too few")
    for path in paths:
        folder, name = path.rsplit("/", 1)
        expect(re.search(rf'["/]{name}"', text), f"the programs do not use {path}")
        expect(folder.startswith("device") or folder in text, f"the programs do not use {folder}")


def HasLinesOfThePrograms():
    for name, own in (("usb_rx_usbip", "receiver"), ("usb_tx_usbip", "transmitter")):
        text = sources_of(own, "exchange")
        lines = subsection("DIAGNOSTICS", name)
        expect(len(lines) > 5, f"DIAGNOSTICS, {name}: there are too few lines")
        for line in lines:
            for literal in line.literals:
                expect(literal.removeprefix(":").strip() in text, f"{name} does not print: {literal}")


def play(role, program):
    if run(*ENTER, "true").returncode != 0:
        raise SkippedTest("the kernel gives no mounts and no network of its own")
    played = run(*ENTER, sys.executable, "-B", str(Path(__file__).with_name("play_exchange")), role, program)
    if played.returncode != 0:
        findings.extend((played.stdout + played.stderr).splitlines())


def IsFollowedByUsbTxUsbip(program):
    play("worker", program)


def IsFollowedByUsbRxUsbip(program):
    play("far_side", program)
