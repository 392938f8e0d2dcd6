// What usb_rx_explain says of every recorded device is what the daemon does with it.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "sim/recording_views.h"
#include "sim/unit.h"
#include "support/temporary_directory.h"
#include "system/explain/comparison.h"
#include "system/explain/explanation.h"
#include "system/explain/recorded_devices.h"

namespace {

using support::Circumstances;

class ExplainRecordedDevices : public testing::TestWithParam<std::string> {
 protected:
  const std::string folder = support::folderOf(GetParam());
  sim::Unit unit;
};

INSTANTIATE_TEST_SUITE_P(Devices, ExplainRecordedDevices, testing::ValuesIn(sim::recordingNames()),
                         support::testNameOf);

TEST_P(ExplainRecordedDevices, AreExplainedAsTheDaemonDecides) {
  support::expectExplainedAsDecided(unit, sim::loadRecording(GetParam()), folder,
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
    for (const Circumstances& circumstances : {support::mildest(classList), support::strictest(classList)}) {
      sim::Unit::writeConfig(support::configurationWith(circumstances.settings));
      EXPECT_EQ(support::explainedAnswers(circumstances, names),
                support::explainedAnswers(circumstances, {folder}))
          << circumstances.text();
    }
  }
}

/** The same devices as the unit's older kernel shows them: their hiddev nodes belong to the subsystem "usb". */
class ExplainRecordedDevicesOfOlderKernels : public ExplainRecordedDevices {};

/** Only the names are looked at, since every test of the program does this. */
std::vector<std::string> devicesWithHiddev() {
  std::vector<std::string> names = sim::recordingNames();
  std::erase_if(names, [](const std::string& name) { return !name.ends_with("-hiddev"); });
  return names;
}

INSTANTIATE_TEST_SUITE_P(Devices, ExplainRecordedDevicesOfOlderKernels,
                         testing::ValuesIn(devicesWithHiddev()), support::testNameOf);

TEST_P(ExplainRecordedDevicesOfOlderKernels, AreExplainedAsTheDaemonDecides) {
  const sim::DeviceRecording recording = sim::withClassUsbHiddev(sim::loadRecording(GetParam()));
  const support::TemporaryDirectory parent;
  support::expectExplainedAsDecided(unit, recording, support::writeFolder(recording, parent.path()),
                                    support::circumstancesOfOlderKernels());
}

}  // namespace
