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
const std::string reportingText = "/sim/text/reporter \"$@\"\nexit $?\n";

const Arguments lineOfMouse = {"--keys", "in key", "", "eth1", "transmitter", "5000"};

class ProgramText : public support::WorkerLaunch {
 protected:
  ProgramText() { support::placeProgram("/sim/text/reporter"); }

  void startWithPath(const std::string& path) {
    sim::ProcessOptions world;
    world.workingDirectory = "/sim/text";
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
  placeText("/sim/text/first/usb_rx_generic", reportingText);
  startWithPath("/sim/text/first");
  const sim::WorkerStart& reporter = genericWorker().start;
  EXPECT_EQ(support::argumentsOf(reporter.parent), commandOf({"/bin/sh", "/sim/text/first/usb_rx_generic"}));
  EXPECT_EQ(reporter.arguments, commandOf({"/sim/text/reporter"}));
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>{reporter.parent});
}

TEST_F(ProgramText, IsExecutedByTheShellFromTheWorkingDirectory) {
  placeText("/sim/text/usb_rx_generic", reportingText);
  startWithPath("/sim/text/nothing:");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "usb_rx_generic"}));
}

TEST_F(ProgramText, IsExecutedByTheShellUnderTheNameOfTheConfiguration) {
  placeText("/sim/text/below/worker", reportingText);
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = below/worker\n");
  startWithPath("/sim/text/nothing");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "below/worker"}));
}

TEST_F(ProgramText, IsExecutedByTheInterpreterThatItNames) {
  placeText("/sim/text/first/usb_rx_generic", "#!/bin/sh -e\n" + reportingText);
  startWithPath("/sim/text/first");
  EXPECT_EQ(commandOfWorker(), commandOf({"/bin/sh", "-e", "/sim/text/first/usb_rx_generic"}));
}

TEST_F(ProgramText, MayBeAKeyboardsWorker) {
  placeText("/sim/text/first/usb_rx_keyboard", reportingText);
  startWithPath("/sim/text/first");
  EXPECT_EQ(
      support::argumentsOf(keyboardWorker().start.parent),
      (Arguments{"/bin/sh", "/sim/text/first/usb_rx_keyboard", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(ProgramText, MayBeEmpty) {
  placeText("/sim/text/first/usb_rx_generic", "");
  sim::ProcessOptions world;
  world.environment = {"PATH=/sim/text/first"};
  startWith({"--debug=ctrl"}, world);
  unit.plug(support::mouse());
  unit.daemon().waitForLine(contract::debug::withStatus(0));
}

TEST_F(ProgramText, EndsWithTheDaemon) {
  placeText("/sim/text/first/usb_rx_generic", reportingText);
  startWithPath("/sim/text/first");
  const pid_t shell = genericWorker().start.parent;
  unit.daemon().signal(SIGKILL);
  unit.daemon().waitForExit();
  support::eventually("the end of the shell", [&] { return !sim::isRunning(shell); });
}

/** In a unit without the link that leads to the directory of the shell. */
class ProgramTextWithoutShell : public ProgramText {
 protected:
  void SetUp() override {
    if (!fs::is_symlink("/bin")) {
      GTEST_SKIP() << "the shell cannot be taken away here";
    }
    target_ = fs::read_symlink("/bin");
    fs::remove("/bin");
    placeText("/sim/text/first/usb_rx_generic", reportingText);
  }

  // A later unit of this process begins with this one's directories.
  void TearDown() override {
    if (!target_.empty()) {
      fs::create_symlink(target_, "/bin");
    }
  }

 private:
  fs::path target_;
};

TEST_F(ProgramTextWithoutShell, IsPassedOver) {
  support::placeProgram("/sim/text/second/usb_rx_generic");
  startWithPath("/sim/text/first:/sim/text/second");
  const sim::WorkerStart& worker = genericWorker().start;
  EXPECT_EQ(support::executedFileOf(worker.pid), "/sim/text/second/usb_rx_generic");
  EXPECT_EQ(worker.arguments, commandOf({"usb_rx_generic"}));
}

TEST_F(ProgramTextWithoutShell, EndsTheDaemonWhereNoOtherProgramIsFound) {
  startWithPath("/sim/text/first:/sim/text/second");
  unit.plug(support::mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

}  // namespace
