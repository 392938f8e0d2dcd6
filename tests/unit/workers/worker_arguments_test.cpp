#include "workers/worker_arguments.h"

#include <gtest/gtest.h>

#include <string>

#include "support/named_case.h"

namespace {

const std::string device = "/sys/devices/usb1/1-5";
const TransmitterLink transmitter{.interface = "eth1", .hostname = "host", .port = 5000};
const DeviceNumber number{.major = "13", .minor = "65"};
const GenericOptions standard{.program = "usb_rx_generic",
                              .inkey = {},
                              .outkey = {},
                              .socketPath = "/var/run/usb_rx",
                              .timeoutText = {}};

GenericOptions with(LinkKey inkey, LinkKey outkey) {
  GenericOptions options = standard;
  options.inkey = std::move(inkey);
  options.outkey = std::move(outkey);
  return options;
}
GenericOptions withProgram(const char* program) {
  GenericOptions options = standard;
  options.program = program;
  return options;
}
GenericOptions withSocket(const char* path) {
  GenericOptions options = standard;
  options.socketPath = path;
  return options;
}
GenericOptions withTimeout(const char* text) {
  GenericOptions options = standard;
  options.timeoutText = text;
  return options;
}

struct NumberCase : support::NamedCase {
  const char* text;
  const char* major;
  const char* minor;
};

class WorkerArgumentsNumber : public testing::TestWithParam<NumberCase> {};

INSTANTIATE_TEST_SUITE_P(With, WorkerArgumentsNumber,
                         testing::Values(NumberCase{{"AColon"}, "13:65", "13", "65"},
                                         NumberCase{{"TwoColons"}, "13:65:7", "13", "65:7"},
                                         NumberCase{{"NoMajor"}, ":65", "", "65"},
                                         NumberCase{{"NoMinor"}, "13:", "13", ""},
                                         NumberCase{{"NoColon"}, "13", "13", ""},
                                         NumberCase{{"Nothing"}, "", "", ""}));

TEST_P(WorkerArgumentsNumber, IsSplitAtItsFirstColon) {
  EXPECT_EQ(parseDeviceNumber(GetParam().text).major, GetParam().major);
  EXPECT_EQ(parseDeviceNumber(GetParam().text).minor, GetParam().minor);
}

TEST(WorkerArgumentsTest, OfADiskAreTheLinkWithItsSecondNextPortAndTheDevice) {
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, transmitter, device),
            (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", device}));
  EXPECT_EQ(scsiArguments(WorkerLog::debugToStderr, transmitter, device),
            (WorkerArguments{"usb_rx_scsi", "--debug", "--stderr", "eth1", "host", "5002", device}));
  EXPECT_EQ(scsiArguments(WorkerLog::debugToSyslog, transmitter, device),
            (WorkerArguments{"usb_rx_scsi", "--debug", "--syslog", "eth1", "host", "5002", device}));
}

TEST(WorkerArgumentsTest, OfAKeyboardAreTheLinkWithItsNextPortAndTheDeviceNumber) {
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, transmitter, number),
            (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "13", "65"}));
  EXPECT_EQ(keyboardArguments(WorkerLog::debugToStderr, transmitter, number),
            (WorkerArguments{"usb_rx_keyboard", "--debug", "--stderr", "eth1", "host", "5001", "13", "65"}));
  EXPECT_EQ(keyboardArguments(WorkerLog::debugToSyslog, transmitter, number),
            (WorkerArguments{"usb_rx_keyboard", "--debug", "--syslog", "eth1", "host", "5001", "13", "65"}));
}

struct GenericCase : support::NamedCase {
  GenericOptions options;
  WorkerArguments start;  // what comes before the link and the device
  WorkerLog log = WorkerLog::quiet;
};

class WorkerArgumentsGeneric : public testing::TestWithParam<GenericCase> {};

INSTANTIATE_TEST_SUITE_P(
    With, WorkerArgumentsGeneric,
    testing::Values(
        GenericCase{{"Nothing"}, standard, {"usb_rx_generic"}},
        GenericCase{{"DebuggingToStandardError"},
                    standard,
                    {"usb_rx_generic", "--debug", "--stderr"},
                    WorkerLog::debugToStderr},
        GenericCase{{"DebuggingToSyslog"},
                    standard,
                    {"usb_rx_generic", "--debug", "--syslog"},
                    WorkerLog::debugToSyslog},
        GenericCase{{"AProgram"}, withProgram("/opt/x/gen"), {"/opt/x/gen"}},
        GenericCase{{"BothKeys"}, with("in", "out"), {"usb_rx_generic", "--keys", "in", "out"}},
        GenericCase{{"EmptyKeys"}, with("", ""), {"usb_rx_generic", "--keys", "", ""}},
        GenericCase{{"OnlyTheKeyIn"}, with("in", {}), {"usb_rx_generic"}},
        GenericCase{{"OnlyTheKeyOut"}, with({}, "out"), {"usb_rx_generic"}},
        GenericCase{{"ASocket"}, withSocket("/tmp/socket"), {"usb_rx_generic", "--sock=/tmp/socket"}},
        GenericCase{{"AnEmptySocket"}, withSocket(""), {"usb_rx_generic", "--sock="}},
        GenericCase{
            {"ALongerSocket"}, withSocket("/var/run/usb_rx2"), {"usb_rx_generic", "--sock=/var/run/usb_rx2"}},
        GenericCase{
            {"AShorterSocket"}, withSocket("/var/run/usb_r"), {"usb_rx_generic", "--sock=/var/run/usb_r"}},
        GenericCase{{"ASocketWithABlank"}, withSocket("a b"), {"usb_rx_generic", "--sock=a b"}},
        GenericCase{{"ATimeout"}, withTimeout("7s"), {"usb_rx_generic", "--timeout", "7s"}},
        GenericCase{{"AnEmptyTimeout"}, withTimeout(""), {"usb_rx_generic", "--timeout", ""}},
        GenericCase{
            {"Everything"},
            {.program = "gen", .inkey = "in", .outkey = "out", .socketPath = "/s", .timeoutText = "10"},
            {"gen", "--debug", "--syslog", "--keys", "in", "out", "--sock=/s", "--timeout", "10"},
            WorkerLog::debugToSyslog}));

TEST_P(WorkerArgumentsGeneric, AreThoseThenTheLinkWithItsPortAndTheDevice) {
  WorkerArguments expected = GetParam().start;
  expected.insert(expected.end(), {"eth1", "host", "5000", device});
  EXPECT_EQ(genericArguments(GetParam().log, GetParam().options, transmitter, device), expected);
}

TEST(WorkerArgumentsTest, KeepThePlaceOfAnEmptyText) {
  const TransmitterLink unnamed{.interface = "", .hostname = "", .port = 5000};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, unnamed, ""),
            (WorkerArguments{"usb_rx_scsi", "", "", "5002", ""}));
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, unnamed, {.major = "", .minor = ""}),
            (WorkerArguments{"usb_rx_keyboard", "", "", "5001", "", ""}));
  EXPECT_EQ(genericArguments(WorkerLog::quiet, standard, unnamed, ""),
            (WorkerArguments{"usb_rx_generic", "", "", "5000", ""}));
}

TEST(WorkerArgumentsTest, CountPortsFromZeroAndBeyondTheHighest) {
  const TransmitterLink highest{.interface = "eth1", .hostname = "host", .port = 65535};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, highest, device)[3], "65537");
  EXPECT_EQ(keyboardArguments(WorkerLog::quiet, highest, number)[3], "65536");
  EXPECT_EQ(genericArguments(WorkerLog::quiet, standard, highest, device)[3], "65535");
  const TransmitterLink unknown{.interface = "eth1", .hostname = "host", .port = 0};
  EXPECT_EQ(scsiArguments(WorkerLog::quiet, unknown, device)[3], "2");
  EXPECT_EQ(genericArguments(WorkerLog::quiet, standard, unknown, device)[3], "0");
}

}  // namespace
