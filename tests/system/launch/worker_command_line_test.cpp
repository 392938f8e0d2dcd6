// With which arguments each kind of worker is started.

#include <ostream>
#include <string>
#include <vector>

#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

using namespace support;

/** The arguments of one worker each, without its program and the device at their ends. */
struct CommandLines {
  std::string name;
  Arguments options;
  Arguments generic;
  Arguments keyboard;
  Arguments scsi;
  Arguments positionals = {"transmitter", "5000", "high"};
  std::string configuration = {};
};

std::ostream& operator<<(std::ostream& out, const CommandLines& lines) {
  return out << lines.name;
}

const Arguments plainGeneric = {"eth1", "transmitter", "5000"};
const Arguments plainKeyboard = {"eth1", "transmitter", "5001"};
const Arguments plainScsi = {"eth1", "transmitter", "5002"};

Arguments operator+(Arguments some, const Arguments& more) {
  some.insert(some.end(), more.begin(), more.end());
  return some;
}

const Arguments toStderr = {"--debug", "--stderr"};
const Arguments toSyslog = {"--debug", "--syslog"};

const std::vector<CommandLines> commandLines = {
    {"Default", {}, plainGeneric, plainKeyboard, plainScsi},
    {"EveryGroup",
     {"--intf=wlan0", "--sock=/var/run/other", "--keys", "IN", "OUT", "--debug=generic"},
     toStderr + Arguments{"--keys", "IN", "OUT", "--sock=/var/run/other", "wlan0", "transmitter", "5000"},
     {"wlan0", "transmitter", "5001"},
     {"wlan0", "transmitter", "5002"}},
    {"DebugGeneric", {"--debug=generic"}, toStderr + plainGeneric, plainKeyboard, plainScsi},
    {"DebugKeyboard", {"--debug=keyboard"}, plainGeneric, toStderr + plainKeyboard, plainScsi},
    {"DebugScsi", {"--debug=scsi"}, plainGeneric, plainKeyboard, toStderr + plainScsi},
    {"DebugToStderrByOption",
     {"--stderr", "--debug=generic,keyboard,scsi"},
     toStderr + plainGeneric,
     toStderr + plainKeyboard,
     toStderr + plainScsi},
    {"DebugToSyslog",
     {"--syslog", "--debug=generic,keyboard,scsi"},
     toSyslog + plainGeneric,
     toSyslog + plainKeyboard,
     toSyslog + plainScsi},
    {"DebugToSyslogByConfiguration",
     {},
     toSyslog + plainGeneric,
     plainKeyboard,
     plainScsi,
     {"transmitter", "5000", "high"},
     "[usb]\nlog_to_syslog = yes\ndebug = generic\n"},
    {"DebugOfTheDaemonAlone", {"--syslog", "--debug=ctrl"}, plainGeneric, plainKeyboard, plainScsi},
    {"LogWithoutDebug", {"--syslog"}, plainGeneric, plainKeyboard, plainScsi},
    {"KeysWithBlanks",
     {"--keys", "in key", "out\tkey"},
     Arguments{"--keys", "in key", "out\tkey"} + plainGeneric,
     plainKeyboard,
     plainScsi},
    {"EmptyKeys", {"--keys", "", ""}, Arguments{"--keys", "", ""} + plainGeneric, plainKeyboard, plainScsi},
    {"UsualSocketByOption", {"--sock=/var/run/usb_rx"}, plainGeneric, plainKeyboard, plainScsi},
    {"UsualSocketSpeltOtherwise",
     {"--sock=/var/run//usb_rx"},
     Arguments{"--sock=/var/run//usb_rx"} + plainGeneric,
     plainKeyboard,
     plainScsi},
    {"EmptyInterface",
     {"--intf="},
     {"", "transmitter", "5000"},
     {"", "transmitter", "5001"},
     {"", "transmitter", "5002"}},
    {"EmptyHost", {}, {"eth1", "", "5000"}, {"eth1", "", "5001"}, {"eth1", "", "5002"}, {"", "5000", "high"}},
    {"HighestPort",
     {},
     {"eth1", "transmitter", "65535"},
     {"eth1", "transmitter", "65536"},
     {"eth1", "transmitter", "65537"},
     {"transmitter", "65535", "high"}},
    {"PortZero",
     {},
     {"eth1", "transmitter", "0"},
     {"eth1", "transmitter", "1"},
     {"eth1", "transmitter", "2"},
     {"transmitter", "0", "high"}},
};

class WorkerCommandLine : public WorkerLaunch {
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
                         [](const auto& instance) { return instance.param.name; });

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
  unit.plug(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard()), .dev = "180:0:96"});
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            Arguments{"usb_rx_keyboard"} + plainKeyboard + (Arguments{"180", "0:96"}));
}

}  // namespace
