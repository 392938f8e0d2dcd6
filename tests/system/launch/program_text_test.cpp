// Programs that are texts. One that names no interpreter is the shell's, as it is for execvp.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "sim/contract.h"
#include "support/eventually.h"
#include "support/named_case.h"
#include "system/support/placed_programs.h"
#include "system/support/process_state.h"
#include "system/support/worker_launch.h"

namespace {

namespace fs = std::filesystem;

using support::Arguments;
using support::placeText;

/** Runs a worker that reports for it: while that one runs, its parent shows how the text was executed. */
const std::string reportingText = "/text/reporter \"$@\"\nexit $?\n";

const Arguments lineOfMouse = {"--keys", "in key", "", "eth1", "transmitter", "5000"};

class ProgramText : public support::WorkerLaunch {
 protected:
  ProgramText() { support::placeProgram("/text/reporter"); }

  void startWithPath(const std::string& path) {
    sim::ProcessOptions world;
    world.workingDirectory = "/text";
    world.environment = {"PATH=" + path};
    startWith({"--keys", "in key", ""}, world);
  }

  /** What the process was started with that became the daemon's worker. */
  Arguments commandOfWorker() { return support::argumentsOf(genericWorker().start.parent); }

  static Arguments commandOf(Arguments interpreter) {
    interpreter.insert(interpreter.end(), lineOfMouse.begin(), lineOfMouse.end());
    interpreter.emplace_back(genericDirectory);
    return interpreter;
  }
};

TEST_F(ProgramText, IsExecutedByTheShellWithAllArguments) {
  placeText("/text/first/usb_rx_generic", reportingText);
  startWithPath("/text/first");
  const sim::WorkerStart& reporter = genericWorker().start;
  EXPECT_EQ(support::argumentsOf(reporter.parent), commandOf({"/bin/sh", "/text/first/usb_rx_generic"}));
  EXPECT_EQ(reporter.arguments, commandOf({"/text/reporter"}));
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>{reporter.parent});
}

TEST_F(ProgramText, IsExecutedByTheShellFromTheWorkingDirectory) {
  placeText("/text/usb_rx_generic", reportingText);
  startWithPath("/text/nothing:");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "usb_rx_generic"}));
}

TEST_F(ProgramText, IsExecutedByTheShellUnderTheNameOfTheConfiguration) {
  placeText("/text/below/worker", reportingText);
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = below/worker\n");
  startWithPath("/text/nothing");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "below/worker"}));
}

TEST_F(ProgramText, IsExecutedByTheInterpreterThatItNames) {
  placeText("/text/first/usb_rx_generic", "#!/bin/sh -e\n" + reportingText);
  startWithPath("/text/first");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "-e", "/text/first/usb_rx_generic"}));
}

TEST_F(ProgramText, MayBeAKeyboardsWorker) {
  placeText("/text/first/usb_rx_keyboard", reportingText);
  startWithPath("/text/first");
  EXPECT_EQ(support::argumentsOf(keyboardWorker().start.parent),
            (Arguments{"/bin/sh", "/text/first/usb_rx_keyboard", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(ProgramText, MayBeEmpty) {
  placeText("/text/first/usb_rx_generic", "");
  sim::ProcessOptions world;
  world.environment = {"PATH=/text/first"};
  startWith({"--debug=ctrl"}, world);
  unit.plug(support::mouse());
  unit.daemon().waitForLine(contract::debug::withStatus(0));
}

TEST_F(ProgramText, EndsWithTheDaemon) {
  placeText("/text/first/usb_rx_generic", reportingText);
  startWithPath("/text/first");
  const pid_t shell = genericWorker().start.parent;
  unit.daemon().signal(SIGKILL);
  unit.daemon().waitForExit();
  support::eventually("the end of the shell", [&] { return !sim::isRunning(shell); });
}

/** The shell's directory is a link; without it there is no shell. */
class ProgramTextWithoutShell : public ProgramText {
 protected:
  void SetUp() override {
    if (!fs::is_symlink("/bin")) {
      GTEST_SKIP() << "the shell cannot be taken away here";
    }
    fs::remove("/bin");
    placeText("/text/first/usb_rx_generic", reportingText);
  }
};

TEST_F(ProgramTextWithoutShell, IsPassedOver) {
  support::placeProgram("/text/second/usb_rx_generic");
  startWithPath("/text/first:/text/second");
  EXPECT_EQ(support::executedFileOf(genericWorker().start.pid), "/text/second/usb_rx_generic");
}

TEST_F(ProgramTextWithoutShell, EndsTheDaemonWhereNoOtherProgramIsFound) {
  startWithPath("/text/first:/text/second");
  unit.plug(support::mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

}  // namespace
