#include <gtest/gtest.h>

#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

using GenericWorkerArguments = WorkerLaunch;

}  // namespace

TEST_F(GenericWorkerArguments, AreFewByDefault) {
  startWith({});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldEveryGroupInItsOrder) {
  unit.installWorker("/opt/x/gen");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/x/gen\n");
  startWith({"--intf=wlan0", "--sock=/var/run/other", "--keys", "IN", "OUT", "--debug=generic"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"/opt/x/gen", "--debug", "--stderr", "--keys", "IN", "OUT", "--sock=/var/run/other",
                       "wlan0", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, AskForDebuggingToStandardErrorByDefault) {
  startWith({"--debug=generic"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--debug", "--stderr", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, AskForDebuggingToStandardErrorWhenToldTo) {
  startWith({"--stderr", "--debug=generic"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--debug", "--stderr", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, AskForDebuggingToSyslogWhenTheDaemonLogsThere) {
  startWith({"--syslog", "--debug=generic"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--debug", "--syslog", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, AskForDebuggingToSyslogWhenTheConfigurationSendsTheDaemonThere) {
  sim::Unit::writeConfig("[usb]\nlog_to_syslog = yes\ndebug = generic\n");
  startWith({});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--debug", "--syslog", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, DoNotAskForTheDebuggingOfOthers) {
  startWith({"--syslog", "--debug=ctrl,keyboard,scsi"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, TellTheLogOnlyTogetherWithDebugging) {
  startWith({"--syslog"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldBothKeys) {
  startWith({"--keys", "in key", "out\tkey"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--keys", "in key", "out\tkey",
                                                        "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldEmptyKeysThatWereGiven) {
  startWith({"--keys", "", ""});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "--keys", "", "", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldNoKeyWhenOnlyTheFirstIsKnown) {
  startWith({});
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1 IN ");
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldNoKeyWhenOnlyTheSecondIsKnown) {
  startWith({});
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1  OUT");
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldKeysThatCameOneByOne) {
  startWith({});
  const sim::LinkManager first = deliver(unit, "transmitter 5000 high eth1  OUT");
  const sim::LinkManager second = deliver(unit, "transmitter 5000 high eth1 IN ");
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--keys", "IN", "OUT", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, TellTheControlSocketWhenItIsNotTheUsualOne) {
  startWith({"--sock=/var/run/usb_rx2"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--sock=/var/run/usb_rx2", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, DoNotTellTheUsualControlSocketThoughItWasGiven) {
  startWith({"--sock=/var/run/usb_rx"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, TellTheUsualControlSocketWhenItIsSpeltOtherwise) {
  startWith({"--sock=/var/run//usb_rx"});
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--sock=/var/run//usb_rx", "eth1",
                                                        "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldAnEmptyInterfaceInItsPlace) {
  startWith({"--intf="});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldAnEmptyHostInItsPlace) {
  startFor({"", "5000", "high"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldThePortItself) {
  startFor({"transmitter", "65535", "high"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "65535", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldPortZero) {
  startFor({"transmitter", "0", "high"});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "0", genericDirectory}));
}

TEST_F(GenericWorkerArguments, HoldThePhysicalDirectoryOfADeviceAnnouncedByALink) {
  startWith({});
  unit.sysfs.add(mouse());
  unit.uevents.add("/bus/usb/devices/1-1");
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Arguments{"usb_rx_generic", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, BeginWithTheConfiguredProgram) {
  unit.installWorker("/opt/x/gen");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/x/gen\n");
  startWith({});
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"/opt/x/gen", "eth1", "transmitter", "5000", genericDirectory}));
}

TEST_F(GenericWorkerArguments, BeginWithTheConfiguredNameOfAProgramOnThePath) {
  unit.installWorker("/opt/x/another_worker");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = another_worker\n");
  sim::ProcessOptions world;
  world.environment = {"PATH=/nowhere:/opt/x"};
  startWith({}, world);
  EXPECT_EQ(genericWorker().start.arguments,
            (Arguments{"another_worker", "eth1", "transmitter", "5000", genericDirectory}));
}
