// Names of the program of generic workers, as the configuration may give them.

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <string>
#include <vector>

#include "support/named_case.h"
#include "system/support/placed_programs.h"
#include "system/support/worker_launch.h"

namespace {

using support::placeProgram;

/** The longest that a file can have. */
const std::string longestName(NAME_MAX, 'w');

/** The file that a name leads to, and another that the same name leads to elsewhere. */
struct Name : support::NamedCase {
  std::string configured;
  std::string leadsTo;
  std::string passedOver;
};

class ProgramName : public support::WorkerLaunch {
 protected:
  void startWithName(const std::string& name) {
    sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = " + name + "\n");
    std::filesystem::create_directories("/sim/name/here");
    sim::ProcessOptions world;
    world.workingDirectory = "/sim/name/here";
    world.environment = {"PATH=/sim/name/path:"};
    startWith({}, world);
  }

  void expectThatTheDaemonEnds() {
    unit.plug(support::mouse());
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
    EXPECT_EQ(unit.workers.count(), 0U);
  }
};

class ProgramNameOf : public ProgramName, public testing::WithParamInterface<Name> {};

INSTANTIATE_TEST_SUITE_P(
    Kind, ProgramNameOf,
    testing::Values(
        Name{{"NoSlash"}, "worker", "/sim/name/path/worker", "/sim/name/here/worker"},
        Name{{"Blanks"}, "a  worker", "/sim/name/path/a  worker", "/sim/name/path/a"},
        Name{{"TheLongestThereIs"},
             longestName,
             "/sim/name/path/" + longestName,
             "/sim/name/here/" + longestName},
        Name{{"ASlash"}, "below/worker", "/sim/name/here/below/worker", "/sim/name/path/below/worker"},
        Name{{"TheWorkingDirectory"}, "./worker", "/sim/name/here/worker", "/sim/name/path/worker"},
        Name{{"TheDirectoryAbove"}, "../worker", "/sim/name/worker", "/sim/name/path/worker"},
        Name{{"AWholePath"}, "/sim/name/worker", "/sim/name/worker", "/sim/name/path/worker"}),
    testing::PrintToStringParamName());

TEST_P(ProgramNameOf, LeadsToTheProgramAndIsItsFirstArgument) {
  placeProgram(GetParam().leadsTo);
  placeProgram(GetParam().passedOver);
  startWithName(GetParam().configured);
  const sim::WorkerStart& worker = genericWorker().start;
  EXPECT_EQ(support::executedFileOf(worker.pid), GetParam().leadsTo);
  EXPECT_EQ(worker.arguments.front(), GetParam().configured);
}

TEST_F(ProgramName, WithASlashIsLookedForNowhereElse) {
  placeProgram("/sim/name/path/below/worker");
  placeProgram("/sim/name/here/worker");
  startWithName("below/worker");
  expectThatTheDaemonEnds();
}

TEST_F(ProgramName, OfAFileButWithASlashBehindItLeadsNowhere) {
  placeProgram("/sim/name/here/worker");
  startWithName("worker/");
  expectThatTheDaemonEnds();
}

TEST_F(ProgramName, ThatIsEmptyLeadsNowhere) {
  placeProgram("/sim/name/here/usb_rx_generic");
  startWithName("");
  expectThatTheDaemonEnds();
}

TEST_F(ProgramName, ThatIsTooLongLeadsNowhere) {
  placeProgram("/sim/name/path/" + longestName);
  startWithName(longestName + "w");
  expectThatTheDaemonEnds();
}

}  // namespace
