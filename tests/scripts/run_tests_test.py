"""What scripts/run-tests shows of tests that pass, fail, crash, last too long and are skipped."""

import os
import re
import signal
import tempfile
import time
import unittest
from pathlib import Path

from started_script import run, run_on_terminal, start

FAILED_EXPECTATION = r"""Running main() from gtest_main.cc
Note: Google Test filter = Lamp.Shines
[==========] Running 1 test from 1 test suite.
[----------] Global test environment set-up.
[ RUN      ] Lamp.Shines
a log of no interest
/lamp_test.cpp:12: Failure
Expected equality of these values:
  lamp.light()
    Which is: "dim"
  "bright"
lamp of the desk
[  FAILED  ] Lamp.Shines, where GetParam() = 12 (0 ms)
[----------] Global test environment tear-down
[==========] 1 test from 1 test suite ran. (0 ms total)
[  PASSED  ] 0 tests.
[  FAILED  ] 1 test, listed below:
[  FAILED  ] Lamp.Shines

 1 FAILED TEST
"""

WHAT_MATTERS = """  /lamp_test.cpp:12: Failure
  Expected equality of these values:
    lamp.light()
      Which is: "dim"
    "bright"
  lamp of the desk
"""


def skipped(message):
    return f"[ RUN      ] Lamp.Shines\n/lamp_test.cpp:12: Skipped\n{message}\n\n[  SKIPPED ] Lamp.Shines (0 ms)\n"


class RunTests(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def add_test(self, name, output="", end="exit 0", **properties):
        """A test that prints `output` and ends so."""
        printed = self.folder / f"{re.sub('[^A-Za-z0-9]', '_', name)}.txt"
        printed.write_text(output, encoding="utf-8")
        properties.setdefault("SKIP_REGULAR_EXPRESSION", r"\\[  SKIPPED \\]")
        with open(self.folder / "CTestTestfile.cmake", "a", encoding="utf-8") as file:
            file.write(f'add_test([==[{name}]==] /bin/sh -c [==[cat "{printed}"; {end}]==])\n')
            for key, value in properties.items():
                file.write(f'set_tests_properties([==[{name}]==] PROPERTIES {key} "{value}")\n')

    def run_tests(self, *arguments):
        """Exit status, and output in which seconds and the folder are left out."""
        return self.without_variable_parts(*run("run-tests", *arguments, folder=self.folder))

    def without_variable_parts(self, status, output):
        output = re.sub(r"\d+ s$", "N s", output, flags=re.MULTILINE)
        return status, re.sub(r"--rerun-failed runs .*\n", "", output.replace(str(self.folder), "FOLDER"))

    def test_prints_a_summary_only_while_all_is_well(self):
        self.add_test("Good", output="a log\n")
        self.add_test("Fine")
        self.assertEqual(self.run_tests(), (0, "2 tests, 0 failed, 0 skipped, N s\n"))

    def test_prints_of_a_failed_test_the_failed_expectation_only(self):
        self.add_test("Good", output="a log\n")
        self.add_test("Lamp.Shines", output=FAILED_EXPECTATION, end="exit 1")
        self.assertEqual(
            self.run_tests(), (8, f"FAILED Lamp.Shines\n{WHAT_MATTERS}2 tests, 1 failed, 0 skipped, N s\n")
        )

    def test_says_where_all_output_is_and_how_to_run_failed_tests_again(self):
        self.add_test("Bad", end="exit 1")
        self.add_test("Good")
        log = self.folder / "Testing/Temporary/LastTest.log"
        output = run("run-tests", folder=self.folder)[1]
        self.assertIn(f"--rerun-failed runs only these again. All output: {log}\n", output)
        self.assertTrue(log.exists())
        self.assertEqual(self.run_tests("--rerun-failed"), (8, "FAILED Bad\n1 test, 1 failed, 0 skipped, N s\n"))

    def test_prints_every_failed_expectation(self):
        second = FAILED_EXPECTATION.replace("[  FAILED  ]", "/lamp_test.cpp:13: Failure\nnor this\n[  FAILED  ]", 1)
        self.add_test("Lamp.Shines", output=second, end="exit 1")
        self.assertIn(f"{WHAT_MATTERS}  /lamp_test.cpp:13: Failure\n  nor this\n1 test,", self.run_tests()[1])

    def test_names_a_crash_and_prints_the_last_lines_of_it(self):
        lines = "".join(f"line {number}\n" for number in range(100))
        self.add_test("Crashing", output="[ RUN      ] Lamp.Shines\n" + lines, end="kill -SEGV $$")
        expected = "".join(f"  line {number}\n" for number in range(85, 100))
        self.assertEqual(
            self.run_tests(), (8, f"FAILED Crashing: crashed: SegFault\n{expected}1 test, 1 failed, 0 skipped, N s\n")
        )

    def test_names_a_timeout_and_prints_the_last_lines_of_it(self):
        self.add_test("Slow", output="waiting for the lamp\n", end="sleep 60", TIMEOUT=1)
        self.assertEqual(
            self.run_tests(),
            (8, "FAILED Slow: timed out after N s\n  waiting for the lamp\n1 test, 1 failed, 0 skipped, N s\n"),
        )

    def test_prints_a_failed_expectation_and_the_last_lines_of_a_test_that_crashes_then(self):
        output = FAILED_EXPECTATION.split("[  FAILED  ]")[0] + "[----------] next\nlast words\n"
        self.add_test("Crashing", output=output, end="kill -ABRT $$")
        self.assertIn(f"{WHAT_MATTERS}", self.run_tests()[1])
        self.assertIn("  last words\n", self.run_tests()[1])

    def test_prints_a_sanitizers_report_from_its_beginning(self):
        report = "==1==ERROR: AddressSanitizer: heap-use-after-free\n" + "".join(f"#{n} frame\n" for n in range(30))
        self.add_test("Bad", output="a log\n" + report, end="exit 1")
        output = self.run_tests()[1]
        self.assertIn("FAILED Bad\n  ==1==ERROR: AddressSanitizer: heap-use-after-free\n  #0 frame\n", output)

    def test_prints_40_lines_of_a_failed_test_at_most(self):
        self.add_test("Bad", output="/a.cpp:1: Failure\n" + "long\n" * 100, end="exit 1")
        output = self.run_tests()[1]
        self.assertEqual(output.count("  long\n"), 39)
        self.assertIn("  ... and 61 more lines\n", output)

    def test_prints_of_long_lists_only_what_differs(self):
        def listed(*middle):
            return ", ".join(f'"{text}"' for text in ("x" * 90, *middle, "y" * 90))

        self.add_test(
            "Bad",
            output="/a.cpp:1: Failure\nExpected equality of these values:\n  seen\n"
            f'    Which is: {{ {listed("one, two", "mid")} }}\n  wanted\n    Which is: {{ {listed("mid")} }}\n',
            end="exit 1",
        )
        self.assertIn(
            '  seen\n      Which is: "one, two", and 3 equal\n    wanted\n      Which is: only 3 equal\n',
            self.run_tests()[1],
        )

    def test_prints_of_long_texts_only_how_they_differ(self):
        self.add_test(
            "Bad",
            output="/a.cpp:1: Failure\nExpected equality of these values:\n  seen\n"
            '    Which is: "a\\nb\\n"\n  As Text: "a\nb\n"\n  wanted\n    Which is: "a\\nc\\n"\nWith diff:\n'
            "@@ -1,2 +1,2 @@\n a\n-b\n+c\n",
            end="exit 1",
        )
        self.assertIn("    seen\n  With diff:\n  @@ -1,2 +1,2 @@\n   a\n  -b\n  +c\n", self.run_tests()[1])
        self.assertNotIn("Which is", self.run_tests()[1])

    def test_takes_no_output_of_a_test_for_its_end(self):
        self.add_test("Misleading", output="1/2 Test #2: Good ...   Passed  0.01 sec\n    Start 7: Other\n", end="exit 1")
        self.add_test("Good")
        self.assertIn("2 tests, 1 failed, 0 skipped, N s\n", self.run_tests()[1])

    def test_shows_control_characters_of_a_test_as_numbers(self):
        self.add_test("Bad", output="a \033[31mred\033[0m lamp\n", end="exit 1")
        self.assertIn("  a \\x1b[31mred\\x1b[0m lamp\n", self.run_tests()[1])

    def test_prints_the_reasons_of_skipped_tests_at_the_end(self):
        self.add_test("Lamp.Skipped", output=skipped("there is no lamp\nof this sort"))
        self.add_test("Silent", output=skipped(""))
        self.add_test("Switched_off", DISABLED="TRUE")
        self.add_test("Good")
        self.assertEqual(
            self.run_tests(),
            (
                0,
                "SKIPPED Lamp.Skipped: there is no lamp of this sort\nSKIPPED Silent: no reason given\n"
                "SKIPPED Switched_off: disabled\n4 tests, 0 failed, 3 skipped, N s\n",
            ),
        )

    def test_fails_where_the_program_of_a_test_is_not_there(self):
        (self.folder / "CTestTestfile.cmake").write_text("add_test(Lost /nowhere/lost)\n", encoding="utf-8")
        self.assertEqual(
            self.run_tests(), (8, "FAILED Lost: its program is not there\n1 test, 1 failed, 0 skipped, N s\n")
        )

    def test_leaves_the_value_of_a_parameter_out_of_names(self):
        self.add_test("Lamps/Lamp.Shines/desk  # GetParam() = desk: 12, 13", end="exit 3")
        self.assertIn("FAILED Lamps/Lamp.Shines/desk\n", self.run_tests()[1])

    def test_passes_arguments_on_and_fails_where_no_test_matches(self):
        self.add_test("Good")
        self.add_test("Bad", end="exit 1")
        self.assertEqual(self.run_tests("-R", "Good"), (0, "1 test, 0 failed, 0 skipped, N s\n"))
        status, output = self.run_tests("--no-tests=error", "-R", "Better")
        self.assertEqual((status, output), (8, "No test matches: ctest --no-tests=error -R Better\n"))

    def test_counts_a_test_once_that_is_repeated_until_it_passes(self):
        self.add_test("Moody", end="[ -e again ] || { touch again; exit 1; }")
        status, output = self.run_tests("--repeat", "until-pass:2")
        self.assertEqual((status, output.splitlines()[-1]), (0, "1 test, 0 failed, 0 skipped, N s"))

    def test_prints_why_ctest_itself_fails(self):
        status, output = run("run-tests", "--preset", "nowhere", folder=self.folder)
        self.assertEqual(status, 1)
        self.assertIn("Could not read presets", output)

    def test_leaves_lists_and_all_output_to_ctest(self):
        self.add_test("Good", output="a log\n")
        self.assertIn("Total Tests: 1\n", self.run_tests("-N")[1])
        self.assertIn("1: a log\n", self.run_tests("-V")[1])

    def test_prints_a_line_at_each_tenth_where_there_is_no_terminal(self):
        for number in range(40):
            self.add_test(f"Good{number}")
        status, output = run("run-tests", folder=self.folder)
        lines = output.splitlines()
        self.assertEqual((status, len(lines)), (0, 10))
        for tenth, line in enumerate(lines[:-1], start=1):
            self.assertRegex(line, rf"^   {tenth * 4} of 40 tests, 0:\d\d$")
        self.assertNotIn("\033", output)
        self.assertNotIn("\r", output)

    def run_on_terminal_until(self, text, **changes):
        """The last test ends when the text is there."""
        self.add_test("Waiting", end="until [ -e seen ]; do sleep 0.05; done", TIMEOUT=60)
        status, output = run_on_terminal("run-tests", folder=self.folder, until=text, **changes)
        self.assertEqual(status, 0, output)
        return output

    def test_moves_one_line_on_a_terminal_and_wipes_it_at_the_end(self):
        self.add_test("Good0")
        self.add_test("Good1")
        output = self.run_on_terminal_until("\r2 of 3 tests, 1 running, 0:0")
        self.assertRegex(output, r"\r\033\[K3 tests, 0 failed, 0 skipped, \d+ s\r\n$")
        self.assertEqual(output.count("\n"), 1)

    def test_cuts_the_moving_line_at_the_width_of_the_terminal(self):
        self.add_test("Good")
        self.run_on_terminal_until("\r1 of 2 test\033[K", COLUMNS="12")

    def test_lets_the_clock_of_the_line_move_while_nothing_else_does(self):
        output = self.run_on_terminal_until("\rTesting, 1 running, 0:02")
        self.assertIn("\rTesting, 1 running, 0:01\033[K", output)

    def test_has_colours_on_a_terminal_unless_they_are_not_wanted(self):
        self.add_test("Bad", end="exit 1")
        self.assertIn("\033[31mFAILED Bad\033[0m", run_on_terminal("run-tests", folder=self.folder)[1])
        self.assertNotIn("\033[31m", run_on_terminal("run-tests", folder=self.folder, NO_COLOR="1")[1])
        self.assertNotIn("\033", run_on_terminal("run-tests", folder=self.folder, TERM="dumb")[1])

    def test_ends_all_when_it_is_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                (self.folder / "CTestTestfile.cmake").unlink(missing_ok=True)
                self.add_test("Slow", end="echo $$ >pid.part; mv pid.part pid; sleep 60; echo late >late")
                process = start("run-tests", folder=self.folder)
                test = self.await_pid()
                process.send_signal(number)
                output = process.communicate(timeout=30)[0]
                self.assertEqual(process.returncode, -number)
                self.assertRegex(output, r"^Interrupted while 1 test ran.\n0 tests, 0 failed, 0 skipped, \d+ s\n$")
                self.await_end(test)

    def await_pid(self):
        deadline = time.monotonic() + 30
        while not (self.folder / "pid").exists():
            self.assertLess(time.monotonic(), deadline, "the test has not started")
            time.sleep(0.01)
        pid = int((self.folder / "pid").read_text(encoding="utf-8"))
        (self.folder / "pid").unlink()
        return pid

    def await_end(self, pid):
        deadline = time.monotonic() + 30
        while os.path.exists(f"/proc/{pid}/exe"):
            self.assertLess(time.monotonic(), deadline, "the test lives on")
            time.sleep(0.01)


unittest.main()
