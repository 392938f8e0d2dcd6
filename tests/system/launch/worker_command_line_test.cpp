// With which arguments each kind of worker is started.

#include <string>
#include <vector>

#include "support/named_case.h"
#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

using support::Arguments;
using support::deliver;

const Arguments usualPositionals = {"transmitter", "5000", "high"};

/** The arguments of one worker each, without its program and the device at their ends. */
struct CommandLines : support::NamedCase {
  Arguments options;
  Arguments generic;
  Arguments keyboard;
  Arguments scsi;
  Arguments positionals = usualPositionals;
  std::string configuration = {};
};

const Arguments plainGeneric = {"eth1", "transmitter", "5000"};
const Arguments plainKeyboard = {"eth1", "transmitter", "5001"};
const Arguments plainScsi = {"eth1", "transmitter", "5002"};

template <class... Texts>
Arguments given(Texts... texts) {
  return {texts...};
}

Arguments operator+(Arguments some, const Arguments& more) {
  some.insert(some.end(), more.begin(), more.end());
  return some;
}

const Arguments toStderr = {"--debug", "--stderr"};
const Arguments toSyslog = {"--debug", "--syslog"};

const std::vector<CommandLines> commandLines = {
    {"Default", given(), plainGeneric, plainKeyboard, plainScsi},
    {"EveryGroup", given("--intf=w0", "--sock=/var/run/other", "--keys", "IN", "OUT", "--debug=generic"),
     toStderr + given("--keys", "IN", "OUT", "--sock=/var/run/other", "w0", "transmitter", "5000"),
     given("w0", "transmitter", "5001"), given("w0", "transmitter", "5002")},
    {"DebugGeneric", given("--debug=generic"), toStderr + plainGeneric, plainKeyboard, plainScsi},
    {"DebugKeyboard", given("--debug=keyboard"), plainGeneric, toStderr + plainKeyboard, plainScsi},
    {"DebugScsi", given("--debug=scsi"), plainGeneric, plainKeyboard, toStderr + plainScsi},
    {"DebugToStderrByOption", given("--stderr", "--debug=generic,keyboard,scsi"), toStderr + plainGeneric,
     toStderr + plainKeyboard, toStderr + plainScsi},
    {"DebugToSyslog", given("--syslog", "--debug=generic,keyboard,scsi"), toSyslog + plainGeneric,
     toSyslog + plainKeyboard, toSyslog + plainScsi},
    {"DebugToSyslogByConfiguration", given(), toSyslog + plainGeneric, plainKeyboard, plainScsi,
     usualPositionals, "[usb]\nlog_to_syslog = yes\ndebug = generic\n"},
    {"DebugOfTheDaemonAlone", given("--syslog", "--debug=ctrl"), plainGeneric, plainKeyboard, plainScsi},
    {"LogWithoutDebug", given("--syslog"), plainGeneric, plainKeyboard, plainScsi},
    {"KeysWithBlanks", given("--keys", "in key", "out\tkey"),
     given("--keys", "in key", "out\tkey") + plainGeneric, plainKeyboard, plainScsi},
    {"EmptyKeys", given("--keys", "", ""), given("--keys", "", "") + plainGeneric, plainKeyboard, plainScsi},
    {"UsualSocketByOption", given("--sock=/var/run/usb_rx"), plainGeneric, plainKeyboard, plainScsi},
    {"UsualSocketSpeltOtherwise", given("--sock=/var/run//usb_rx"),
     given("--sock=/var/run//usb_rx") + plainGeneric, plainKeyboard, plainScsi},
    {"EmptyInterface", given("--intf="), given("", "transmitter", "5000"), given("", "transmitter", "5001"),
     given("", "transmitter", "5002")},
    {"EmptyHost", given(), given("eth1", "", "5000"), given("eth1", "", "5001"), given("eth1", "", "5002"),
     given("", "5000", "high")},
    {"HighestPort", given(), given("eth1", "transmitter", "65535"), given("eth1", "transmitter", "65536"),
     given("eth1", "transmitter", "65537"), given("transmitter", "65535", "high")},
    {"PortZero", given(), given("eth1", "transmitter", "0"), given("eth1", "transmitter", "1"),
     given("eth1", "transmitter", "2"), given("transmitter", "0", "high")},
};

class WorkerCommandLine : public support::WorkerLaunch {
 protected:
  void expectCommandLines(const Arguments& genericLine, const Arguments& keyboardLine,
                          const Arguments& scsiLine, const std::string& genericProgram = "usb_rx_generic") {
    EXPECT_EQ(genericWorker().start.arguments,
              Arguments{genericProgram} + genericLine + Arguments{genericDirectory});
    EXPECT_EQ(keyboardWorker().start.arguments,
              Arguments{"usb_rx_keyboard"} + keyboardLine + (Arguments{"13", "65"}));
    EXPECT_EQ(scsiWorker().start.arguments, Arguments{"usb_rx_scsi"} + scsiLine + Arguments{scsiDirectory});
  }
};

class WorkerCommandLineOf : public WorkerCommandLine, public testing::WithParamInterface<CommandLines> {};

INSTANTIATE_TEST_SUITE_P(Options, WorkerCommandLineOf, testing::ValuesIn(commandLines),
                         testing::PrintToStringParamName());

TEST_P(WorkerCommandLineOf, FollowsTheDaemonsOwn) {
  sim::Unit::writeConfig(GetParam().configuration);
  startFor(GetParam().positionals, GetParam().options);
  expectCommandLines(GetParam().generic, GetParam().keyboard, GetParam().scsi);
}

TEST_F(WorkerCommandLine, FollowsTheLatestLinkParameters) {
  startWith({"--keys", "OLDIN", "OLDOUT"});
  const sim::LinkManager manager = deliver(unit, "otherhost 7000 low wlan0 IN OUT");
  expectCommandLines({"--keys", "IN", "OUT", "wlan0", "otherhost", "7000"}, {"wlan0", "otherhost", "7001"},
                     {"wlan0", "otherhost", "7002"});
}

TEST_F(WorkerCommandLine, HoldsBothKeysOrNone) {
  startWith({});
  const sim::LinkManager first = deliver(unit, "transmitter 5000 high eth1  OUT");
  EXPECT_EQ(genericWorker("1-9").start.arguments.size(), 2 + plainGeneric.size());
  const sim::LinkManager second = deliver(unit, "transmitter 5000 high eth1 IN ");
  expectCommandLines(Arguments{"--keys", "IN", "OUT"} + plainGeneric, plainKeyboard, plainScsi);
}

TEST_F(WorkerCommandLine, HoldsNoKeyWhenOnlyTheFirstIsKnown) {
  startWith({});
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1 IN ");
  expectCommandLines(plainGeneric, plainKeyboard, plainScsi);
}

TEST_F(WorkerCommandLine, BeginsWithTheConfiguredProgramOfGenericWorkersOnly) {
  unit.installWorker("/opt/x/gen");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/x/gen\n");
  startWith({});
  expectCommandLines(plainGeneric, plainKeyboard, plainScsi, "/opt/x/gen");
}

TEST_F(WorkerCommandLine, BeginsWithTheConfiguredNameOfAProgramOnThePath) {
  unit.installWorker("/opt/x/another_worker");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = another_worker\n");
  sim::ProcessOptions world;
  world.environment = {"PATH=/nowhere:/opt/x"};
  startWith({}, world);
  EXPECT_EQ(genericWorker().program(), "another_worker");
}

TEST_F(WorkerCommandLine, DividesTheDeviceNumberOfAKeyboardAtItsFirstColon) {
  startWith({});
  unit.plug(sim::HiddevNode{.usbDevice = unit.sysfs.add(support::keyboard()), .dev = "180:0:96"});
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            Arguments{"usb_rx_keyboard"} + plainKeyboard + (Arguments{"180", "0:96"}));
}

}  // namespace
