// What usb_rx_explain says of every recorded device is what the daemon does with it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "sim/recording_views.h"
#include "sim/unit.h"
#include "support/temporary_directory.h"
#include "system/explain/daemon_answers.h"
#include "system/explain/explanation.h"
#include "system/explain/recorded_devices.h"

namespace {

using support::Answer;
using support::Circumstances;

std::string nameOf(const testing::TestParamInfo<std::string>& instance) {
  std::string name = instance.param;
  std::ranges::replace(name, '-', '_');
  return name;
}

/** One failure for each field that differs. */
void expectSame(const std::string& where, const std::vector<Answer>& daemon,
                const std::vector<Answer>& explained) {
  for (const std::string& difference : support::differences(daemon, explained)) {
    ADD_FAILURE() << where << ": " << difference;
  }
}

class ExplainRecordedDevices : public testing::TestWithParam<std::string> {
 protected:
  /** Plugs the recording into the daemon in all these circumstances, and explains `device` in the same. */
  void compare(const sim::DeviceRecording& recording, const std::string& device,
               const std::vector<Circumstances>& all) {
    support::AskedDaemon daemon(unit);
    for (const Circumstances& circumstances : all) {
      daemon.put(circumstances);
      expectSame(circumstances.text(), daemon.plug(recording),
                 support::explainedAnswers(circumstances, {device}));
      daemon.clear(recording);
    }
    EXPECT_TRUE(unit.display.keepsBoundaries());
  }

  sim::Unit unit;
};

INSTANTIATE_TEST_SUITE_P(Devices, ExplainRecordedDevices, testing::ValuesIn(sim::recordingNames()), nameOf);

TEST_P(ExplainRecordedDevices, AreExplainedAsTheDaemonDecides) {
  compare(sim::loadRecording(GetParam()), sim::recordingsFolder() + "/" + GetParam(),
          support::everyCircumstance());
}

TEST_P(ExplainRecordedDevices, AreExplainedAlikeWhenPluggedIn) {
  const sim::DeviceRecording recording = sim::loadRecording(GetParam());
  unit.sysfs.layOut(recording);
  std::vector<std::string> names;
  for (const std::string& device : support::devicesIn(recording)) {
    names.push_back(std::filesystem::path(device).filename());
  }
  for (const char* classList : {"none", "keyboard", "scsi", "all"}) {
    for (const std::string& settings : support::outermostPolicies()) {
      const Circumstances circumstances{.classList = classList, .linkSpeed = "full", .settings = settings};
      sim::Unit::writeConfig(support::configurationWith(settings));
      const auto inFolder =
          support::explainedAnswers(circumstances, {sim::recordingsFolder() + "/" + GetParam()});
      expectSame(circumstances.text() + ", by name (which comes second)", inFolder,
                 support::explainedAnswers(circumstances, names));
    }
  }
}

/** The same devices as the unit's older kernel shows them: their hiddev nodes belong to the subsystem "usb". */
class ExplainRecordedDevicesOfOlderKernels : public ExplainRecordedDevices {
 protected:
  const sim::DeviceRecording recording = sim::withClassUsbHiddev(sim::loadRecording(GetParam()));
};

std::vector<std::string> devicesWithHiddev() {
  std::vector<std::string> names = sim::recordingNames();
  std::erase_if(names,
                [](const std::string& name) { return sim::loadRecording(name).nodes("hiddev").empty(); });
  return names;
}

INSTANTIATE_TEST_SUITE_P(Devices, ExplainRecordedDevicesOfOlderKernels,
                         testing::ValuesIn(devicesWithHiddev()), nameOf);

TEST_P(ExplainRecordedDevicesOfOlderKernels, AreExplainedAsTheDaemonDecides) {
  const support::TemporaryDirectory parent;
  compare(recording, support::writeFolder(recording, parent.path()), support::circumstancesOfOlderKernels());
}

}  // namespace
