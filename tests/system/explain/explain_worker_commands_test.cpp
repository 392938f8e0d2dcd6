// The command lines of workers, where the configuration says how they log and which program serves a device.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "sim/recording_views.h"
#include "sim/unit.h"
#include "support/named_case.h"
#include "system/explain/explanation.h"
#include "system/explain/link_of_unit.h"
#include "system/support/control_messages.h"

namespace {

using Arguments = std::vector<std::string>;

struct Configured : support::NamedCase {
  const char* text;
};

class ExplainWorkerCommands : public testing::TestWithParam<Configured> {
 protected:
  /** The arguments of all three workers, as the daemon starts them for these devices. */
  std::vector<Arguments> startedFor(const std::vector<sim::DeviceRecording>& devices) {
    unit.startDaemon({"--class=all", "nowhere", "1", "none"});
    const sim::LinkManager link = support::deliver(unit, support::linkOfUnit("high").line());
    std::vector<Arguments> started;
    for (const sim::DeviceRecording& device : devices) {
      unit.plug(device);
      started.push_back(unit.workers.waitForWorker().start.arguments);
    }
    return started;
  }

  sim::Unit unit;
};

INSTANTIATE_TEST_SUITE_P(
    Configuration, ExplainWorkerCommands,
    testing::Values(Configured{{"Quiet"}, "[usb]\n"},
                    Configured{{"GenericDebugs"}, "[usb]\ndebug = ctrl,generic\n"},
                    Configured{{"OthersDebug"}, "[usb]\ndebug = keyboard,scsi\n"},
                    Configured{{"AllDebugToSyslog"},
                               "[usb]\ndebug = ctrl,generic,keyboard,scsi\nlog_to_syslog = 0\n"},
                    Configured{{"OnlySyslog"}, "[usb]\nlog_to_syslog = 1\n"},
                    Configured{{"AnotherProgram"}, "[apps]\nquor_usb_rx_generic = /opt/other/worker\n"},
                    Configured{{"ClassesOfTheConfiguration"}, "[usb]\nclasses = none\n"}),
    testing::PrintToStringParamName());

TEST_P(ExplainWorkerCommands, AreThoseOfTheDaemon) {
  sim::Unit::writeConfig(GetParam().text);
  unit.installWorker("/opt/other/worker");
  const std::vector<sim::DeviceRecording> devices = {
      sim::loadRecording("mtp-hs"),
      sim::atPort(sim::withClassUsbHiddev(sim::loadRecording("kbd-fs-hiddev")), "1-7", 4),
      sim::atPort(sim::loadRecording("storage-hs"), "1-8", 8)};
  const std::vector<Arguments> started = startedFor(devices);
  Arguments directories;
  std::ranges::transform(devices, std::back_inserter(directories), &sim::DeviceRecording::directory);
  const auto explained = support::explainedAnswers({.classList = "all"}, directories);
  ASSERT_EQ(explained.size(), started.size());
  for (std::size_t i = 0; i < started.size(); ++i) {
    EXPECT_EQ(explained[i].worker, started[i]);
  }
}

/** Where nothing is known of the Transmitter, its places are named. */
TEST(ExplainWorkerCommandsOfNoTransmitter, HaveWordsInItsPlace) {
  sim::Unit unit;
  const sim::DeviceRecording disk = sim::loadRecording("storage-hs");
  unit.sysfs.layOut(disk);
  const support::ExplainRun run = support::runExplain({"--class=scsi", "--json", disk.directory});
  const auto explained = support::answersIn(support::parseExplanations(run.output));
  ASSERT_EQ(explained.size(), 1U);
  EXPECT_EQ(explained[0].worker,
            (Arguments{"usb_rx_scsi", "eth1", "<hostname>", "<port>+2", disk.nodes("sg").at(0)}));
}

}  // namespace
