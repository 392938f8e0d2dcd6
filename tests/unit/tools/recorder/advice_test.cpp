#include "tools/recorder/advice.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "sim/namespaces.h"

namespace {

namespace fs = std::filesystem;

using recorder::Delay;

bool isIn(const std::string& advice, const std::string& text) {
  return advice.find(text) != std::string::npos;
}

/** With a /sys of its own, which is empty at first. */
class Advice : public testing::Test {
 protected:
  sim::Namespaces world_;
};

TEST_F(Advice, OnHearingNothingIsToPlugAnewElsewhereAndOnTheHost) {
  fs::create_directories("/sys/bus/usb");
  const std::string advice = recorder::adviceOn(Delay::nothingHeard);
  EXPECT_TRUE(isIn(advice, "take it out, and plug it in again"));
  EXPECT_TRUE(isIn(advice, "another port"));
  EXPECT_TRUE(isIn(advice, "in a container, no uevents arrive"));
  EXPECT_TRUE(isIn(advice, "needs no root, but the network of the host"));
  EXPECT_FALSE(isIn(advice, "usbcore"));
}

TEST_F(Advice, OnHearingNothingIsToLoadUsbWhereThereIsNone) {
  EXPECT_TRUE(isIn(recorder::adviceOn(Delay::nothingHeard), "modprobe usbcore"));
}

TEST_F(Advice, OnNoNewDeviceIsToPlugAnewElsewhereButNotToHearEvents) {
  const std::string advice = recorder::adviceOn(Delay::noNewDevice);
  EXPECT_TRUE(isIn(advice, "plug it in again"));
  EXPECT_TRUE(isIn(advice, "another port"));
  EXPECT_FALSE(isIn(advice, "container"));
  EXPECT_FALSE(isIn(advice, "usbcore"));
}

TEST_F(Advice, OnADeviceThatStaysIsToTakeItOut) {
  EXPECT_TRUE(isIn(recorder::adviceOn(Delay::notTakenOut), "Take out the one that you plugged in"));
}

TEST_F(Advice, OnRestlessEventsIsToStopThem) {
  EXPECT_TRUE(isIn(recorder::adviceOn(Delay::neverQuiet), "Leave other devices alone"));
}

TEST_F(Advice, FitsATerminal) {
  for (const Delay delay : {Delay::nothingHeard, Delay::noNewDevice, Delay::notTakenOut, Delay::neverQuiet}) {
    std::istringstream lines(recorder::adviceOn(delay));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_TRUE(recorder::adviceOn(delay).ends_with('\n'));
  }
}

}  // namespace
