// What each rule makes of every recorded device.

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>
#include <string>

#include "sim/recording_views.h"
#include "support/named_case.h"
#include "system/support/admission_check.h"
#include "system/support/same_lines.h"

namespace {

namespace display = contract::display;

using Names = std::set<std::string>;

Names operator+(Names some, const Names& more) {
  some.insert(more.begin(), more.end());
  return some;
}

Names operator-(Names all, const Names& some) {
  std::erase_if(all, [&](const std::string& name) { return some.contains(name); });
  return all;
}

const Names hubs = {"hub", "hub-hub-kbd", "hub-mouse", "root-hubs"};
const Names hidDevices = {"kbd-fs",
                          "kbd-fs-hiddev",
                          "kbd-hs",
                          "kbd-hs-hiddev",
                          "made-kbd-iad",
                          "made-kbd-low",
                          "made-kbd-mouse-hiddev",
                          "mouse-fs",
                          "mouse-fs-hiddev",
                          "made-kbd-noboot-hiddev",
                          "tablet-hs",
                          "made-kbd-unnamed",
                          "made-two-kbd-hiddev"};
const Names disks = {"made-card-disk", "made-disk-8070",       "made-disk-alt", "made-disk-atapi",
                     "storage-2lun",   "storage-fs",           "storage-hs",    "storage-ss",
                     "uas-hs",         "made-disk-two-configs"};
const Names smartCardReaders = {"ccid", "made-card-disk"};
const Names isochronousDevices = {"audio", "made-camera-hs"};
const Names highSpeedDevices = {
    "kbd-hs", "kbd-hs-hiddev", "made-camera-hs", "made-disk-alt", "made-vendor-hs", "made-disk-two-configs",
    "mtp-hs", "storage-2lun",  "storage-hs",     "tablet-hs",     "uas-hs"};

/** A hub is subject to no rule, and what is behind one as any other device. */
Names everyDevice() {
  const std::vector<std::string> names = sim::recordingNames();
  return Names(names.begin(), names.end()) - hubs;
}

std::string verdict(const std::string& device, const support::Decision& decision) {
  return device + ": " + testing::PrintToString(decision);
}

struct Rule : support::NamedCase {
  std::string settings;
  std::string link;
  std::string (*line)(const std::string& device);  ///< on the display
  std::function<Names()> refused;                  ///< all others are admitted
};

const std::vector<Rule> rules = {
    {"Default", "", "high", display::isochronous, [] { return isochronousDevices; }},
    {"IsochronousEnabled", "isochronous_enabled = true\n", "high", display::isochronous,
     [] { return Names(); }},
    {"Smartcard", "smartcard = true\nisochronous_enabled = true\n", "high", display::smartcard,
     [] { return smartCardReaders; }},
    {"HidOnly", "hid_only = true\n", "high", display::nonHid,
     [] { return everyDevice() - (hidDevices + Names{"made-no-interfaces"}); }},
    {"BlockMassStorage", "block_mass_storage = true\nisochronous_enabled = true\n", "high",
     display::massStorage, [] { return disks; }},
    {"FullSpeedLink", "isochronous_enabled = true\n", "full", display::highSpeed,
     [] { return highSpeedDevices; }},
};

class AdmissionRecordedDevices : public support::AdmissionCheck, public testing::WithParamInterface<Rule> {};

INSTANTIATE_TEST_SUITE_P(Rules, AdmissionRecordedDevices, testing::ValuesIn(rules),
                         testing::PrintToStringParamName());

TEST_P(AdmissionRecordedDevices, AreRefusedByTheirRuleOnly) {
  startWith(GetParam().settings, GetParam().link);
  const Names refused = GetParam().refused();
  support::Lines decided;
  support::Lines expected;
  int port = 0;
  for (const std::string& name : everyDevice()) {
    ++port;
    const sim::DeviceRecording recording =
        sim::atPort(sim::loadRecording(name), "8-" + std::to_string(port), 4 * port);
    const std::string shownName = recording.product.empty() ? display::unnamedDevice : recording.product;
    decided.push_back(verdict(name, decide(recording)));
    expected.push_back(verdict(name, refused.contains(name) ? support::refusedWith(GetParam().line(shownName))
                                                            : support::admittedSilently));
  }
  EXPECT_PRED_FORMAT2(support::sameLines, decided, expected);
}

}  // namespace
