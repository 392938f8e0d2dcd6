// Which devices the class list gives to workers of their own.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

using Arguments = std::vector<std::string>;

struct ClassChoice {
  std::string name;
  Arguments options;
  std::string configuration;
  bool keyboards;
  bool storage;
};

std::ostream& operator<<(std::ostream& out, const ClassChoice& choice) {
  return out << choice.name;
}

const std::vector<ClassChoice> choices = {
    {"NothingGiven", {}, "", false, false},
    {"None", {"--class=none"}, "", false, false},
    {"Keyboard", {"--class=keyboard"}, "", true, false},
    {"Scsi", {"--class=scsi"}, "", false, true},
    {"Both", {"--class=keyboard,scsi"}, "", true, true},
    {"BothTheOtherWayRound", {"--class=scsi,keyboard"}, "", true, true},
    {"TheSameTwice", {"--class=scsi,scsi"}, "", false, true},
    {"All", {"--class=all"}, "", true, true},
    {"EmptyList", {"--class="}, "", false, false},
    {"TrailingComma", {"--class=keyboard,"}, "", true, false},
    {"NoneClearsOneItem", {"--class=keyboard,none"}, "", false, false},
    {"NoneClearsTheOtherItem", {"--class=scsi,none"}, "", false, false},
    {"NoneClearsAll", {"--class=all,none"}, "", false, false},
    {"NoneClearsNothingBehindIt", {"--class=keyboard,none,scsi"}, "", false, true},
    {"AllBehindNone", {"--class=none,all"}, "", true, true},
    {"LaterOptionReplaces", {"--class=keyboard", "--class=scsi"}, "", false, true},
    {"LaterEmptyOptionReplaces", {"--class=all", "--class="}, "", false, false},
    {"ConfiguredListSetsNothing", {}, "[usb]\nclasses = all\n", false, false},
    {"ConfiguredEmptyListSetsNothing", {}, "[usb]\nclasses =\n", false, false},
    {"OptionKeepsItsListBesideAConfiguredOne", {"--class=scsi"}, "[usb]\nclasses = keyboard\n", false, true},
    {"OptionHidesABadConfiguredList", {"--class=keyboard"}, "[usb]\nclasses = bogus\n", true, false},
    {"EmptyOptionHidesABadConfiguredList", {"--class="}, "[usb]\nclasses = bogus\n", false, false},
};

Arguments debugging(Arguments options) {
  options.insert(options.end(), {"--debug=ctrl", "transmitter", "5000", "high"});
  return options;
}

Arguments verdictsOf(sim::Daemon& daemon) {
  Arguments messages = daemon.messages();
  std::erase_if(messages,
                [](const std::string& message) { return !message.starts_with("[rx_ctrl] this is"); });
  return messages;
}

class ClassChoices : public testing::TestWithParam<ClassChoice> {};

TEST_P(ClassChoices, DecideWhichDevicesAreLeftToTheGenericWorker) {
  const ClassChoice& choice = GetParam();
  sim::Unit unit;
  unit.writeConfig(choice.configuration);
  sim::Daemon& daemon = unit.startDaemon(debugging(choice.options));
  unit.waitUntilServing();

  unit.plug(keyboard());
  unit.plug(disk());
  unit.settle();

  const std::string generic = "[rx_ctrl] this is a generic USB device";
  EXPECT_EQ(verdictsOf(daemon), (Arguments{choice.keyboards ? "[rx_ctrl] this is a keyboard device" : generic,
                                           choice.storage ? "[rx_ctrl] this is a storage device" : generic}));
}

std::string nameOf(const testing::TestParamInfo<ClassChoice>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Lists, ClassChoices, testing::ValuesIn(choices), nameOf);

/** The arguments of the keyboard worker and of the storage worker. */
std::vector<Arguments> ownWorkersWith(const Arguments& options) {
  sim::Unit unit;
  unit.startDaemon(debugging(options));
  unit.waitUntilServing();
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  const Arguments keyboardWorker = unit.workers.waitForWorker().start.arguments;
  return {keyboardWorker, unit.workers.waitForWorker().start.arguments};
}

const Arguments plainKeyboard = {"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "0"};
const std::string scsiNode =
    "/sys/devices/platform/usb-host.0/usb1/1-3/1-3:1.0/host0/target0:0:0/0:0:0:0/scsi_generic/sg0";
const Arguments plainScsi = {"usb_rx_scsi", "eth1", "transmitter", "5002", scsiNode};

Arguments withDebug(Arguments worker, const std::string& destination) {
  worker.insert(worker.begin() + 1, {"--debug", destination});
  return worker;
}

TEST(DebugList, LeavesTheWorkersThatItDoesNotNameQuiet) {
  EXPECT_EQ(ownWorkersWith({"--class=all", "--debug=generic"}),
            (std::vector<Arguments>{plainKeyboard, plainScsi}));
}

TEST(DebugList, SwitchesOnTheKeyboardWorkersDebugging) {
  EXPECT_EQ(ownWorkersWith({"--class=all", "--debug=keyboard"}),
            (std::vector<Arguments>{withDebug(plainKeyboard, "--stderr"), plainScsi}));
}

TEST(DebugList, SwitchesOnTheStorageWorkersDebugging) {
  EXPECT_EQ(ownWorkersWith({"--class=all", "--debug=scsi"}),
            (std::vector<Arguments>{plainKeyboard, withDebug(plainScsi, "--stderr")}));
}

}  // namespace
