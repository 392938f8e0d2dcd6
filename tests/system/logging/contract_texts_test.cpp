// Whole runs print and show exactly the texts of the contract, and nothing else.

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/hotplug.h"

namespace {

namespace debug = contract::debug;
namespace display = contract::display;
namespace error = contract::error;

using support::commandLine;
using support::joined;
using support::Lines;
using support::scanner;
using support::tagged;

const std::string node = scanner().directory() + "/1-1:1.0/usb/hiddev0";
const std::string cannotOpenConfiguration = error::cannotOpenConfig(contract::configurationPath);

const Lines started = tagged({debug::hangupHandler, debug::coldplugging, debug::hotplugging});
const Lines startedAndAttached = joined(started, support::genericDevice(scanner().directory()));
const Lines scannerShown = {display::attached("Scanner")};

/** A text with a newline at its end as a line. */
std::string lineOf(const std::string& text) {
  return text.substr(0, text.size() - 1);
}

struct Run : support::NamedCase {
  Lines arguments;
  std::function<void(sim::Unit&)> events;
  Lines standardError;  ///< its lines, without the time where there is one
  Lines display;
  std::string standardOutput = cannotOpenConfiguration;
};

void endByControlConnection(sim::Unit& unit) {
  unit.connect().configure();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

void attachThenEnd(sim::Unit& unit, const sim::UsbDevice& device) {
  unit.plug(device);
  unit.workers.waitForWorker();
  endByControlConnection(unit);
}

void attachScannerThenEnd(sim::Unit& unit) {
  attachThenEnd(unit, scanner());
}

void attachUnnamedDeviceThenEnd(sim::Unit& unit) {
  sim::UsbDevice device = scanner();
  device.product.reset();
  attachThenEnd(unit, device);
}

void reloadThenEnd(sim::Unit& unit) {
  unit.daemon().signal(SIGHUP);
  attachThenEnd(unit, scanner());
}

void failToExecute(sim::Unit& unit) {
  unit.plug(scanner());
  unit.workers.waitForWorker().exitWith(42);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

/** The class nodes have no speed of their own. */
void dropTheSpeedUnderAKeyboard(sim::Unit& unit) {
  unit.sysfs.add(support::keyboard("1-1"));
  unit.plug(sim::HiddevNode{.usbDevice = scanner().directory()});
  unit.workers.waitForWorker();
  sim::LinkManager client = unit.connect();
  client.send(support::linkLine("full"));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

void sendABadPort(sim::Unit& unit) {
  sim::LinkManager client = unit.connect();
  client.send("host port high eth1  ");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

const std::vector<Run> runs = {
    {"StartAndEnd", commandLine(), endByControlConnection, started, {}},
    {"StartAndEndWithoutDebugging", commandLine({}), endByControlConnection, {}, {}},
    {"StartAndEndWithSyslogButWithoutDebugging", commandLine({"--syslog"}), endByControlConnection, {}, {}},
    {"NamedDevice", commandLine(), attachScannerThenEnd, startedAndAttached, scannerShown},
    {"NamedDeviceWithoutDebugging", commandLine({}), attachScannerThenEnd, {}, scannerShown},
    {"UnnamedDevice",
     commandLine(),
     attachUnnamedDeviceThenEnd,
     startedAndAttached,
     {display::attached(display::unnamedDevice)}},
    {"ConfigurationReadAgain", commandLine(), reloadThenEnd, startedAndAttached, scannerShown,
     cannotOpenConfiguration + cannotOpenConfiguration},
    {"WorkerThatCannotBeExecuted",
     commandLine(),
     failToExecute,
     joined(startedAndAttached, {lineOf(error::execFailed)}),
     {}},
    {"NodeWithoutASpeed",
     commandLine({"--debug=ctrl", "--class=keyboard"}),
     dropTheSpeedUnderAKeyboard,
     joined(joined(started, support::usbDevice(node, {debug::hid, debug::startingKeyboard(node, "180:0")})),
            {error::openFailed(contract::reason::noSuchFile, node + "/speed"), ""}),
     {display::attached("Keyboard")}},
    {"ParametersWithABadPort", commandLine(), sendABadPort, joined(started, {error::badNumber, ""}), {}},
};

class ContractTexts : public support::DaemonFixture, public testing::WithParamInterface<Run> {};

TEST_P(ContractTexts, AreAllThatARunPrintsAndShows) {
  sim::Daemon& daemon = start(GetParam().arguments);

  GetParam().events(unit);

  EXPECT_EQ(daemon.messages(), GetParam().standardError);
  EXPECT_EQ(daemon.standardOutput(), GetParam().standardOutput);
  EXPECT_EQ(unit.display.takeWrites(), support::writes(GetParam().display));
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

INSTANTIATE_TEST_SUITE_P(Of, ContractTexts, testing::ValuesIn(runs), testing::PrintToStringParamName());

}  // namespace
