// A unit with more devices than any has: what is plugged in is explained at once.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/recording_views.h"
#include "sim/unit.h"
#include "system/explain/explanation.h"

namespace {

constexpr int deviceCount = 200;

// Of the processor's time, which other programs do not take away. As it is shipped the program stays below a tenth
// of a second. One that is not optimised takes three times as long, and ten times as long under a sanitizer.
#if defined(__SANITIZE_ADDRESS__)
constexpr double patienceInSeconds = 2.0;
#elif defined(__OPTIMIZE__)
constexpr double patienceInSeconds = 0.1;
#else
constexpr double patienceInSeconds = 0.5;
#endif

/** Devices of all kinds, each in a port of its own; hubs excepted, since others are behind them. */
std::vector<sim::DeviceRecording> singleDevices() {
  std::vector<sim::DeviceRecording> recordings;
  for (const std::string& name : sim::recordingNames()) {
    sim::DeviceRecording recording = sim::loadRecording(name);
    if (!recording.directory.empty() && name.find("hub") == std::string::npos) {
      recordings.push_back(std::move(recording));
    }
  }
  return recordings;
}

class ExplainManyDevices : public testing::Test {
 protected:
  void SetUp() override {
    const std::vector<sim::DeviceRecording> recordings = singleDevices();
    for (int number = 0; number < deviceCount; ++number) {
      const sim::DeviceRecording& recording =
          recordings[static_cast<std::size_t>(number) % recordings.size()];
      unit.sysfs.layOut(sim::atPort(recording, "8-" + std::to_string(number + 1), 4 * number));
    }
    sim::Unit::writeConfig("[usb]\nhid_only = yes\nsmartcard = yes\nblock_mass_storage = yes\n");
  }

  sim::Unit unit;
};

TEST_F(ExplainManyDevices, AreAnsweredAtOnceInText) {
  const support::ExplainRun run = support::runExplain({"--class=all", "--speed", "full"});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(1)) << run.errors;
  EXPECT_LT(run.processorSeconds, patienceInSeconds);
  EXPECT_GT(run.output.size(), deviceCount * 100U);
}

TEST_F(ExplainManyDevices, AreAnsweredAtOnceForPrograms) {
  const support::ExplainRun run = support::runExplain({"--class=all", "--speed", "full", "--json"});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(1)) << run.errors;
  EXPECT_LT(run.processorSeconds, patienceInSeconds);
  std::size_t devices = 0;
  for (const support::Answer& answer : support::answersIn(support::parseExplanations(run.output))) {
    devices += answer.device.find("/8-") == std::string::npos ? 0U : 1U;
  }
  EXPECT_EQ(devices, static_cast<std::size_t>(deviceCount));
}

}  // namespace
