"""What scripts/show-guest-tests shows of the console of an emulated machine."""

import re
import subprocess
import unittest

from started_script import SCRIPTS, environment

BEGIN = """loading drivers
Running main() from ./googletest/src/gtest_main.cc
[==========] Running 4 tests from 2 test suites.
[----------] Global test environment set-up.
[----------] 3 tests from Lamp
[ RUN      ] Lamp.Shines
Memory of the lamp: 924 kB
[       OK ] Lamp.Shines (1808 ms)
"""

FAILURE = """[ RUN      ] Lamp.Dims/Desk
a log of no interest
/lamp_test.cpp:12: Failure
Expected: dim
[  FAILED  ] Lamp.Dims/Desk, where GetParam() = 12 (on a desk) (807 ms)
"""

SKIPPED = """[ RUN      ] Lamp.Hums
/lamp_test.cpp:30: Skipped
there is no coil

[  SKIPPED ] Lamp.Hums (0 ms)
"""

LAST = """[ RUN      ] Bulb.Glows
[       OK ] Bulb.Glows (3 ms)
[  PASSED  ] 2 tests.
"""

END = """The kernel's messages:
usb 1-1: new device
guest result: 1
[  149.851237] reboot: Power down
"""


def show(console):
    process = subprocess.run(
        [SCRIPTS / "show-guest-tests"],
        input=console.replace("\n", "\r\n"),
        env=environment(),
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        encoding="utf-8",
        check=True,
    )
    return re.sub(r"\d+ s$", "N s", process.stdout, flags=re.MULTILINE)


class ShowGuestTests(unittest.TestCase):
    def test_prints_what_matters(self):
        self.assertEqual(
            show(BEGIN + FAILURE + SKIPPED + LAST + END),
            "loading drivers\n"
            "Memory of the lamp: 924 kB\n"
            "FAILED Lamp.Dims/Desk\n"
            "  /lamp_test.cpp:12: Failure\n"
            "  Expected: dim\n"
            "SKIPPED Lamp.Hums: there is no coil\n"
            "4 tests, 1 failed, 1 skipped, N s\n",
        )

    def test_says_which_test_ran_when_the_machine_ended(self):
        self.assertEqual(
            show(BEGIN + "[ RUN      ] Lamp.Hums\nlast words\n"),
            "loading drivers\n"
            "Memory of the lamp: 924 kB\n"
            "FAILED Lamp.Hums: the machine ended meanwhile\n"
            "  last words\n"
            "2 of 4 tests, 1 failed, 0 skipped, N s\n",
        )


unittest.main()
