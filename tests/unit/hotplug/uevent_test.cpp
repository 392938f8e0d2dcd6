#include "hotplug/uevent.h"

#include <gtest/gtest.h>

#include <string_view>

#include "support/named_case.h"

namespace {

using namespace std::string_view_literals;

struct DatagramCase : support::NamedCase {
  std::string_view datagram;
  UEvent event;
};

class UeventOf : public testing::TestWithParam<DatagramCase> {};

INSTANTIATE_TEST_SUITE_P(
    A, UeventOf,
    testing::Values(
        DatagramCase{{"HeaderAndPairs"},
                     "add@/devices/x\0ACTION=add\0DEVPATH=/devices/x\0SUBSYSTEM=usb\0"sv,
                     {{"ACTION", "add"}, {"DEVPATH", "/devices/x"}, {"SUBSYSTEM", "usb"}}},
        DatagramCase{{"SecondEqualsSign"}, "A=b=c\0"sv, {{"A", "b=c"}}},
        DatagramCase{{"PairOfEqualsSigns"}, "A==\0"sv, {{"A", "="}}},
        DatagramCase{{"EmptyKeyAndEmptyValue"}, "=x\0KEY=\0"sv, {{"", "x"}, {"KEY", ""}}},
        DatagramCase{{"LoneEqualsSign"}, "=\0"sv, {{"", ""}}},
        DatagramCase{{"RepeatedKey"}, "A=1\0A=2\0B=3\0A=4\0"sv, {{"A", "1"}, {"B", "3"}}},
        DatagramCase{{"RepeatedKeyFirstEmpty"}, "A=\0A=2\0"sv, {{"A", ""}}},
        DatagramCase{{"ItemWithoutAnEqualsSign"}, "A=1\0junk\0\0\0B=2\0"sv, {{"A", "1"}, {"B", "2"}}},
        DatagramCase{{"LastItemThatNothingEnds"}, "A=1\0B=2"sv, {{"A", "1"}, {"B", "2"}}},
        DatagramCase{{"OnlyItemThatNothingEnds"}, "A=1"sv, {{"A", "1"}}},
        // Memory goes on behind the text; the scan does not.
        DatagramCase{{"TextWithinALongerOne"}, "A=1\0B=2"sv.substr(0, 6), {{"A", "1"}, {"B", ""}}},
        DatagramCase{
            {"AnyByte"}, " Key = value \n\0k\xff=\x80\0"sv, {{" Key ", " value \n"}, {"k\xff", "\x80"}}},
        DatagramCase{{"KeysOfEitherCase"}, "A=1\0a=2\0"sv, {{"A", "1"}, {"a", "2"}}},
        DatagramCase{{"HeaderWithAnEqualsSign"},
                     "add@/devices/a=b\0ACTION=add\0"sv,
                     {{"ACTION", "add"}, {"add@/devices/a", "b"}}},
        DatagramCase{{"Repetition"},
                     "libudev\0\xfe\xed\xca\xfe\x28\0\0\0ACTION=add\0DEVPATH=/devices/x\0SUBSYSTEM=usb\0"sv,
                     {}},
        DatagramCase{{"RepetitionAfterTheHeader"}, "add@/x\0libudev\0ACTION=add\0"sv, {{"ACTION", "add"}}},
        DatagramCase{{"AlmostARepetition"}, "libude\0ACTION=add\0"sv, {{"ACTION", "add"}}},
        DatagramCase{{"Nothing"}, ""sv, {}}, DatagramCase{{"Nul"}, "\0"sv, {}},
        DatagramCase{{"Nuls"}, "\0\0\0"sv, {}}, DatagramCase{{"HeaderAlone"}, "add@/devices/x"sv, {}},
        DatagramCase{{"HeaderAndNul"}, "add@/devices/x\0"sv, {}}));

TEST_P(UeventOf, HasItsPairs) {
  EXPECT_EQ(parseUEvent(GetParam().datagram), GetParam().event);
}

TEST(Uevent, OfAnAddedDeviceHasAnActionAndThePathWithoutTheMountPoint) {
  EXPECT_EQ(makeAddEvent("/sys/bus/usb/devices/1-1"),
            (UEvent{{"ACTION", "add"}, {"DEVPATH", "/bus/usb/devices/1-1"}}));
}

}  // namespace
