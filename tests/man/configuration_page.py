"""Compares quor.conf(5) with the keys that the daemon reads, and with what quor_config takes for right."""

import os
import re
import tempfile
from pathlib import Path

from findings import compare, expect, findings, found_in, run, source
from pages import Page, all_pages

configuration = Page("quor.conf.5")
KEY_SECTIONS = ("POLICY", "WORKERS", "MESSAGES")


def keys_of_the_page():
    return {item.head: item.inner for section in KEY_SECTIONS for item in configuration.items(section)}


def HasTheKeysThatTheDaemonReads():
    compare("keys", keys_of_the_page(), re.findall(r'"(\w+:\w+)"', source("src/ctrl/configuration_keys.h")))
    for page in all_pages():
        named = re.findall(r"\b(?:usb|apps):\w+", page.text)
        findings.extend(f"{page.name}: there is no key {key}" for key in set(named) - set(keys_of_the_page()))


def HasTheRulesInTheirOrder():
    constants = dict(re.findall(r'(\w+) = "(\w+:\w+)"', source("src/ctrl/configuration_keys.h")))
    names = re.findall(r'\{\.name = (?:configuration_key::(\w+)|"(\w+)")', source("src/workers/admission.cpp"))
    rules = [constants.get(key, word) for key, word in names]
    expect(len(rules) > 4, "src/workers/admission.cpp: its rules are not found")
    listed = [item.head for item in configuration.items("POLICY") if item.head != "usb:isochronous_user_warning"]
    expect(listed == rules[:-1], f"POLICY: the order of the rules is {rules}")
    for page, start, end in ((Page("usb_rx_ctrl.8"), "Who may use a generic device", "A refusal"),
                             (Page("usb_rx_explain.1"), "The rule that refused", "display")):
        named = re.findall(r"\b(?:usb:\w+|speed)\b", page.text.split(start, 1)[1].split(end, 1)[0])
        expect(list(dict.fromkeys(named)) == rules,
               f"{page.name}: behind '{start}' the rules are not {rules}")


def faults_of(program, folder, text):
    """What `quor_config check` prints about a configuration. Programs are looked for in the folder, too."""
    file = folder / "quor.conf"
    file.write_text(text, encoding="utf-8")
    path = {"PATH": f"{folder}:{os.environ['PATH']}"}
    return run(program, "--file", str(file), "check", environment=path).stdout.splitlines()


def ini(settings):
    """INI text of settings, each a key with its section and what follows its section."""
    return "".join(f"[{key.split(':')[0]}]\n{setting}\n" for key, setting in settings)


def HasTheTypesAndExamplesOfKeys(program):
    keys = keys_of_the_page()
    names = {key: key.split(":")[1] for key in keys}
    with tempfile.TemporaryDirectory() as temporary:
        folder = Path(temporary)
        example_program = folder / keys["apps:quor_usb_rx_generic"]["Example"].split(" = ")[1]
        example_program.touch(mode=0o755)
        for key, inner in keys.items():
            wrong = "" if key.startswith("apps:") else "no" if key == "usb:log_to_syslog" else "sometimes"
            faults = faults_of(program, folder, ini([(key, f"{names[key]} = {wrong}")]))
            meaning = inner["Type"].removeprefix("any (").removesuffix(")")
            expect(len(faults) == 1 and faults[0].startswith("not ") and meaning in faults[0],
                   f"{key}: the page calls the type: {inner['Type']}; quor_config says: {faults}")
            expect(inner["Example"].startswith(names[key] + " = "), f"{key}: its example sets another key")
        for what, text in (("examples", ini((key, inner["Example"]) for key, inner in keys.items())),
                           ("EXAMPLES", configuration.literal_blocks("EXAMPLES")[0])):
            expect(text.count("=") > 3, f"{what}: there are too few settings: {text}")
            findings.extend(f"{what}: quor_config says: {fault}" for fault in faults_of(program, folder, text))


def HasTheDefaultsOfKeys():
    policy = source("src/workers/admission_policy.h")
    flags = {name: "yes" if value == "true" else "no" for name, value in re.findall(r"bool (\w+) = (\w+);", policy)}
    names = dict(re.findall(r'(\w+) = "(\w+:\w+)"', source("src/ctrl/configuration_keys.h")))
    expected = {names[name]: default for name, default in flags.items()}
    expect(len(expected) > 4, "src/workers/admission_policy.h: its flags are not found")
    expected["usb:connect_fail_timeout"] = found_in("src/ctrl/main.cpp", r'configured == nullptr \? "(\w+)"')
    expected["apps:quor_usb_rx_generic"] = found_in("src/workers/launch.cpp", r'program == nullptr \? "(\w+)"')
    expected |= {"usb:debug": "none", "usb:classes": "none", "usb:log_to_syslog": "not there"}
    compare("defaults", [f"{key}: {inner['Default']}" for key, inner in keys_of_the_page().items()],
            [f"{key}: {default}" for key, default in expected.items()])
