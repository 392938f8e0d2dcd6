// Workers that cannot be started.

#include <functional>
#include <string>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/worker_launch.h"

namespace {

using support::scanner;

struct Missing : support::NamedCase {
  std::function<void(sim::Unit& unit)> plug;
  std::string configuration;
};

void plugScanner(sim::Unit& unit) {
  unit.plug(scanner());
}

/** A world in which no worker program can be found. */
sim::ProcessOptions withoutWorkers() {
  sim::ProcessOptions world;
  world.environment = {"PATH=/nowhere"};
  return world;
}

class LaunchFailure : public support::WorkerLaunch {};
class LaunchFailureOf : public support::WorkerLaunch, public testing::WithParamInterface<Missing> {};

INSTANTIATE_TEST_SUITE_P(
    Programs, LaunchFailureOf,
    testing::Values(Missing{"GenericWorker", plugScanner, ""},
                    Missing{"KeyboardWorker",
                            [](sim::Unit& unit) {
                              unit.plug(sim::HiddevNode{.usbDevice = unit.sysfs.add(support::keyboard())});
                            },
                            ""},
                    Missing{"ScsiWorker",
                            [](sim::Unit& unit) {
                              unit.plug(sim::ScsiGenericNode{.usbDevice = unit.sysfs.add(support::disk())});
                            },
                            ""},
                    Missing{"ConfiguredProgram", plugScanner,
                            "[apps]\nquor_usb_rx_generic = /opt/x/missing\n"},
                    Missing{"ConfiguredDirectory", plugScanner, "[apps]\nquor_usb_rx_generic = /sys\n"}),
    testing::PrintToStringParamName());

TEST_P(LaunchFailureOf, EndsTheDaemon) {
  sim::Unit::writeConfig(GetParam().configuration);
  startWith({}, withoutWorkers());
  GetParam().plug(unit);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().standardError(), "");
}

TEST_F(LaunchFailure, IsReportedWhenTheDaemonDebugs) {
  startWith({"--debug=ctrl"}, withoutWorkers());
  const std::size_t before = unit.daemon().lines().size();
  unit.plug(scanner());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  const support::Arguments lines = unit.daemon().lines();  // not messages(): the last one has no time
  ASSERT_EQ(lines.size(), before + 6);
  EXPECT_EQ(lines.back() + "\n", contract::error::execFailed);
}

TEST_F(LaunchFailure, IsReportedOnStandardErrorThoughTheDaemonLogsToSyslog) {
  startWith({"--debug=ctrl", "--syslog"}, withoutWorkers());
  unit.plug(scanner());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().standardError(), contract::error::execFailed);
}

TEST_F(LaunchFailure, OfAnotherKindDoesNoHarm) {
  unit.installWorker("/opt/only/usb_rx_generic");
  sim::ProcessOptions world;
  world.environment = {"PATH=/opt/only"};
  startWith({}, world);
  EXPECT_EQ(genericWorker().program(), "usb_rx_generic");
  EXPECT_TRUE(unit.daemon().isRunning());
}

}  // namespace
