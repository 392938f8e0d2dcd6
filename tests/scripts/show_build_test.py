"""What scripts/show-build shows of a build that goes well, and of one that does not."""

import re
import shutil
import tempfile
import unittest
from pathlib import Path

from started_script import run, run_on_terminal

RULES = """rule sh
  command = sh -c '$do'
  description = Making $out
"""


class ShowBuild(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "CMakeCache.txt").write_text(
            "CMAKE_GENERATOR:INTERNAL=Ninja\n"
            f"CMAKE_MAKE_PROGRAM:FILEPATH={shutil.which('ninja')}\n"
            "CMAKE_PROJECT_NAME:STATIC=lamp\n",
            encoding="utf-8",
        )
        (self.folder / "build.ninja").write_text(RULES, encoding="utf-8")

    def add_step(self, name, command):
        with open(self.folder / "build.ninja", "a", encoding="utf-8") as file:
            file.write(f"build {name}: sh\n  do = {command}\n")

    def show_build(self, *arguments):
        status, output = run("show-build", self.folder, *arguments, folder=self.folder)
        return status, re.sub(r"\d+ s\.$", "N s.", output, flags=re.MULTILINE)

    def test_prints_nothing_while_all_is_well(self):
        self.add_step("lamp", "touch lamp")
        self.assertEqual(self.show_build(), (0, ""))
        self.assertTrue((self.folder / "lamp").exists())
        self.assertEqual(self.show_build(), (0, ""))

    def test_prints_what_a_command_says_that_fails_and_not_the_command(self):
        self.add_step("lamp", "echo lamp.cpp:1: error: no bulb; echo; echo of this lamp; exit 7")
        status, output = self.show_build()
        self.assertNotEqual(status, 0)
        self.assertEqual(output, "lamp.cpp:1: error: no bulb\n\nof this lamp\nThe build failed in N s.\n")

    def test_leaves_out_what_cmake_says_while_all_is_well(self):
        self.add_step("lamp", "echo -- Configuring done; touch lamp")
        self.assertEqual(self.show_build(), (0, ""))

    def test_prints_warnings(self):
        self.add_step("lamp", "touch lamp; echo lamp.cpp:1: warning: dim")
        self.assertEqual(self.show_build(), (0, "lamp.cpp:1: warning: dim\n"))

    def test_names_what_a_command_did_not_make_that_fails_silently(self):
        self.add_step("lamp", "exit 1")
        self.assertEqual(self.show_build()[1], "Not built: lamp\nThe build failed in N s.\n")

    def test_prints_why_nothing_can_be_built(self):
        status, output = self.show_build("--target", "cellar")
        self.assertNotEqual(status, 0)
        self.assertIn("cellar", output)

    def test_prints_a_line_at_each_tenth_where_there_is_no_terminal(self):
        for number in range(20):
            self.add_step(f"lamp{number}", f"touch lamp{number}")
        status, output = self.show_build("--parallel", "1")
        lines = output.splitlines()
        self.assertEqual((status, len(lines)), (0, 9))
        for tenth, line in enumerate(lines, start=1):
            self.assertRegex(line, rf"^   {tenth * 2} of 20 steps built, 0:\d\d$")

    def run_on_terminal_until(self, text, **changes):
        arguments = ("show-build", self.folder, "--parallel", "2")
        status, output = run_on_terminal(*arguments, folder=self.folder, until=text, **changes)
        self.assertEqual(status, 0, output)
        return output

    def test_moves_one_line_on_a_terminal_and_wipes_it_at_the_end(self):
        self.add_step("bulb", "touch bulb")
        self.add_step("lamp", "until [ -e seen ]; do sleep 0.05; done; touch lamp")
        output = self.run_on_terminal_until("\r1 of 2 steps built, 0:0")
        self.assertTrue(output.endswith("\r\033[K"))
        self.assertNotIn("\n", output)

    def test_counts_whatever_ninja_is_told_to_print(self):
        self.add_step("bulb", "touch bulb")
        self.add_step("lamp", "until [ -e seen ]; do sleep 0.05; done; touch lamp")
        self.run_on_terminal_until("\r1 of 2 steps built", NINJA_STATUS="%p ")


unittest.main()
