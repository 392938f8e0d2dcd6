// Every text of a running daemon's frame, byte for byte: all that it says in one run each.

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

using Lines = std::vector<std::string>;

const std::string directory = "/sys/devices/platform/usb-host.0/usb1/1-1";
const std::string node = directory + "/1-1:1.0/usb/hiddev0";
const std::string cannotOpenConfiguration = "Config failed to open file '/vel/quor.conf\n";

const Lines debugging = {"--debug=ctrl", "transmitter", "5000", "high"};
const Lines started = {"[rx_ctrl] setup signal hansler", "[rx_ctrl] coldplugging existing devices",
                       "[rx_ctrl] hotplugging new devices"};
const Lines attached = {"[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1", "[rx_ctrl] subsystem is 'usb'",
                        "[rx_ctrl]   no iso endpoints found, this is supported.",
                        "[rx_ctrl] this is a generic USB device",
                        "[rx_ctrl] starting usb_rx_generic for " + directory};

Lines joined(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

struct Run {
  std::string name;
  Lines arguments;
  std::function<void(sim::Unit&)> events;
  Lines standardError;  ///< its lines, without the time where there is one
  Lines display;
  std::string standardOutput = cannotOpenConfiguration;
};

std::ostream& operator<<(std::ostream& out, const Run& run) {
  return out << run.name;
}

sim::LinkManager configured(sim::Unit& unit, const std::string& speed = "high") {
  sim::LinkParameters parameters;
  parameters.speed = speed;
  sim::LinkManager client = unit.connect();
  client.configure(parameters);
  return client;
}

void endByControlConnection(sim::Unit& unit) {
  configured(unit).close();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

void attachThenEnd(sim::Unit& unit, const sim::UsbDevice& device) {
  unit.plug(device);
  unit.workers.waitForWorker();
  endByControlConnection(unit);
}

void failToExecute(sim::Unit& unit) {
  unit.plug(scanner());
  unit.workers.waitForWorker().exitWith(42);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

void reloadThenEnd(sim::Unit& unit) {
  unit.daemon().signal(SIGHUP);
  attachThenEnd(unit, scanner());
}

/** The class nodes have no speed of their own. */
void dropTheSpeedUnderAKeyboard(sim::Unit& unit) {
  unit.sysfs.add(keyboard("1-1"));
  unit.plug(sim::HiddevNode{.usbDevice = directory});
  unit.workers.waitForWorker();
  const sim::LinkManager client = configured(unit, "full");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

void sendABadPort(sim::Unit& unit) {
  sim::LinkManager client = unit.connect();
  client.send("host port high eth1  ");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

sim::UsbDevice unnamed() {
  sim::UsbDevice device = scanner();
  device.product.reset();
  return device;
}

const std::vector<Run> runs = {
    {"StartAndEnd", debugging, endByControlConnection, started, {}},
    {"StartAndEndWithoutDebugging", {"transmitter", "5000", "high"}, endByControlConnection, {}, {}},
    {"NamedDevice",
     debugging,
     [](sim::Unit& unit) { attachThenEnd(unit, scanner()); },
     joined(started, attached),
     {"Scanner attached\n"}},
    {"UnnamedDevice",
     debugging,
     [](sim::Unit& unit) { attachThenEnd(unit, unnamed()); },
     joined(started, attached),
     {"un-named device attached\n"}},
    {"NamedDeviceWithoutDebugging",
     {"transmitter", "5000", "high"},
     [](sim::Unit& unit) { attachThenEnd(unit, scanner()); },
     {},
     {"Scanner attached\n"}},
    {"ConfigurationReadAgain",
     debugging,
     reloadThenEnd,
     joined(started, attached),
     {"Scanner attached\n"},
     cannotOpenConfiguration + cannotOpenConfiguration},
    {"WorkerThatCannotBeExecuted",
     debugging,
     failToExecute,
     joined(joined(started, attached), {"[RxCtrl] *** subprocess exec() failed; maybe not found? ***"}),
     {}},
    {"NodeWithoutASpeed",
     {"--debug=ctrl", "--class=keyboard", "transmitter", "5000", "high"},
     dropTheSpeedUnderAKeyboard,
     joined(started,
            {"[rx_ctrl] add " + node.substr(sizeof("/sys") - 1), "[rx_ctrl] subsystem is 'usb'",
             "[rx_ctrl] this is HID device", "[rx_ctrl] starting usb_rx_keyboard for " + node + " (180:0)",
             "No such file or directory while open(\"" + node + "/speed\")", ""}),
     {"Keyboard attached\n"}},
    {"ParametersWithABadPort",
     debugging,
     sendABadPort,
     joined(started, {"bad lexical cast: source type value could not be interpreted as target", ""}),
     {}},
};

class Runs : public testing::TestWithParam<Run> {};

TEST_P(Runs, SayExactlyThis) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(GetParam().arguments);
  unit.waitUntilServing();

  GetParam().events(unit);

  EXPECT_EQ(daemon.messages(), GetParam().standardError);
  EXPECT_EQ(daemon.standardOutput(), GetParam().standardOutput);
  EXPECT_EQ(unit.display.takeWrites(), GetParam().display);
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

std::string nameOf(const testing::TestParamInfo<Run>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Texts, Runs, testing::ValuesIn(runs), nameOf);

}  // namespace
