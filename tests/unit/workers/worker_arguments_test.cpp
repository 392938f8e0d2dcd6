#include "workers/worker_arguments.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* devicePath = "/sys/devices/usb1/1-5";

TransmitterLink link() {
  return {.interface = "eth1", .hostname = "host", .port = 5000};
}

GenericOptions noOptions() {
  return {.program = "usb_rx_generic",
          .inkey = {},
          .outkey = {},
          .socketPath = "/var/run/usb_rx",
          .timeoutText = {}};
}

WorkerArguments generic(const GenericOptions& options) {
  return genericArguments(WorkerLog::quiet, options, link(), devicePath);
}

TEST(DeviceNumber, IsSplitAtTheFirstColon) {
  EXPECT_EQ(parseDeviceNumber("13:65").major, "13");
  EXPECT_EQ(parseDeviceNumber("13:65").minor, "65");
  EXPECT_EQ(parseDeviceNumber("13:65:7").major, "13");
  EXPECT_EQ(parseDeviceNumber("13:65:7").minor, "65:7");
}

TEST(DeviceNumber, MayHaveEmptyHalves) {
  EXPECT_EQ(parseDeviceNumber(":65").major, "");
  EXPECT_EQ(parseDeviceNumber(":65").minor, "65");
  EXPECT_EQ(parseDeviceNumber("13:").major, "13");
  EXPECT_EQ(parseDeviceNumber("13:").minor, "");
}

TEST(DeviceNumber, HasNoMinorWithoutAColon) {
  EXPECT_EQ(parseDeviceNumber("13").major, "13");
  EXPECT_EQ(parseDeviceNumber("13").minor, "");
  EXPECT_EQ(parseDeviceNumber("").major, "");
}

TEST(ScsiArguments, AreTheLinkWithItsSecondNextPortAndTheDevice) {
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, link(), devicePath),
            (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", devicePath}));
}

TEST(ScsiArguments, WithDebuggingSayWhereMessagesGo) {
  EXPECT_EQ(scsiArguments(WorkerLog::debugToStderr, link(), devicePath),
            (WorkerArguments{"usb_rx_scsi", "--debug", "--stderr", "eth1", "host", "5002", devicePath}));
  EXPECT_EQ(scsiArguments(WorkerLog::debugToSyslog, link(), devicePath),
            (WorkerArguments{"usb_rx_scsi", "--debug", "--syslog", "eth1", "host", "5002", devicePath}));
}

TEST(KeyboardArguments, AreTheLinkWithItsNextPortAndTheDeviceNumber) {
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, link(), {.major = "13", .minor = "65"}),
            (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "13", "65"}));
}

TEST(KeyboardArguments, WithDebuggingSayWhereMessagesGo) {
  const DeviceNumber number{.major = "13", .minor = "65"};
  EXPECT_EQ(keyboardArguments(WorkerLog::debugToStderr, link(), number),
            (WorkerArguments{"usb_rx_keyboard", "--debug", "--stderr", "eth1", "host", "5001", "13", "65"}));
  EXPECT_EQ(keyboardArguments(WorkerLog::debugToSyslog, link(), number),
            (WorkerArguments{"usb_rx_keyboard", "--debug", "--syslog", "eth1", "host", "5001", "13", "65"}));
}

TEST(GenericArguments, AreTheLinkWithItsPortAndTheDevice) {
  EXPECT_EQ(generic(noOptions()), (WorkerArguments{"usb_rx_generic", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, WithDebuggingSayWhereMessagesGo) {
  EXPECT_EQ(genericArguments(WorkerLog::debugToStderr, noOptions(), link(), devicePath),
            (WorkerArguments{"usb_rx_generic", "--debug", "--stderr", "eth1", "host", "5000", devicePath}));
  EXPECT_EQ(genericArguments(WorkerLog::debugToSyslog, noOptions(), link(), devicePath),
            (WorkerArguments{"usb_rx_generic", "--debug", "--syslog", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, BeginWithTheConfiguredProgram) {
  GenericOptions options = noOptions();
  options.program = "/opt/x/gen";
  EXPECT_EQ(generic(options), (WorkerArguments{"/opt/x/gen", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, HoldBothKeysWhereBothAreSet) {
  GenericOptions options = noOptions();
  options.inkey = "in";
  options.outkey = "out";
  EXPECT_EQ(generic(options),
            (WorkerArguments{"usb_rx_generic", "--keys", "in", "out", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, HoldKeysThatAreEmptyTexts) {
  GenericOptions options = noOptions();
  options.inkey = "";
  options.outkey = "";
  EXPECT_EQ(generic(options),
            (WorkerArguments{"usb_rx_generic", "--keys", "", "", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, HoldNoKeysWhereOnlyOneIsSet) {
  GenericOptions onlyIn = noOptions();
  onlyIn.inkey = "in";
  EXPECT_EQ(generic(onlyIn), generic(noOptions()));
  GenericOptions onlyOut = noOptions();
  onlyOut.outkey = "out";
  EXPECT_EQ(generic(onlyOut), generic(noOptions()));
}

TEST(GenericArguments, HoldAnyControlSocketButTheUsualOneInOneArgument) {
  for (const std::string path : {"/tmp/socket", "", "/var/run/usb_rx2", "/var/run/usb_r", "a b"}) {
    GenericOptions options = noOptions();
    options.socketPath = path;
    EXPECT_EQ(generic(options),
              (WorkerArguments{"usb_rx_generic", "--sock=" + path, "eth1", "host", "5000", devicePath}));
  }
}

TEST(GenericArguments, HoldTheTimeoutOfAWaitingWorker) {
  GenericOptions options = noOptions();
  options.timeoutText = "7s";
  EXPECT_EQ(generic(options),
            (WorkerArguments{"usb_rx_generic", "--timeout", "7s", "eth1", "host", "5000", devicePath}));
  options.timeoutText = "";
  EXPECT_EQ(generic(options),
            (WorkerArguments{"usb_rx_generic", "--timeout", "", "eth1", "host", "5000", devicePath}));
}

TEST(GenericArguments, HoldEverythingInAFixedOrder) {
  const GenericOptions options{
      .program = "gen", .inkey = "in", .outkey = "out", .socketPath = "/s", .timeoutText = "10"};
  EXPECT_EQ(genericArguments(WorkerLog::debugToSyslog, options, link(), devicePath),
            (WorkerArguments{"gen", "--debug", "--syslog", "--keys", "in", "out", "--sock=/s", "--timeout",
                             "10", "eth1", "host", "5000", devicePath}));
}

TEST(WorkerArguments, KeepThePlaceOfAnEmptyText) {
  const TransmitterLink unnamed{.interface = "", .hostname = "", .port = 5000};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, unnamed, ""),
            (WorkerArguments{"usb_rx_scsi", "", "", "5002", ""}));
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, unnamed, {.major = "", .minor = ""}),
            (WorkerArguments{"usb_rx_keyboard", "", "", "5001", "", ""}));
  EXPECT_EQ(genericArguments(WorkerLog::quiet, noOptions(), unnamed, ""),
            (WorkerArguments{"usb_rx_generic", "", "", "5000", ""}));
}

TEST(WorkerArguments, CountPortsBeyondTheHighest) {
  const TransmitterLink highest{.interface = "eth1", .hostname = "host", .port = 65535};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, highest, devicePath)[3], "65537");
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, highest, {.major = "13", .minor = "65"})[3], "65536");
  EXPECT_EQ(genericArguments(WorkerLog::quiet, noOptions(), highest, devicePath)[3], "65535");
}

TEST(WorkerArguments, CountPortsFromZero) {
  const TransmitterLink unknown{.interface = "eth1", .hostname = "host", .port = 0};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, unknown, devicePath)[3], "2");
  EXPECT_EQ(genericArguments(WorkerLog::quiet, noOptions(), unknown, devicePath)[3], "0");
}

}  // namespace
