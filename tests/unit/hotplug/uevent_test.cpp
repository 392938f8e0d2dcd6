#include "hotplug/uevent.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;

TEST(UEventParser, KeepsThePairsAndDropsTheHeader) {
  EXPECT_EQ(parseUEvent("add@/devices/x\0ACTION=add\0DEVPATH=/devices/x\0SUBSYSTEM=usb\0"sv),
            (UEvent{{"ACTION", "add"}, {"DEVPATH", "/devices/x"}, {"SUBSYSTEM", "usb"}}));
}

TEST(UEventParser, SplitsAtTheFirstEqualsSign) {
  EXPECT_EQ(parseUEvent("A=b=c\0"sv), (UEvent{{"A", "b=c"}}));
  EXPECT_EQ(parseUEvent("A==\0"sv), (UEvent{{"A", "="}}));
}

TEST(UEventParser, TakesEmptyKeysAndEmptyValues) {
  EXPECT_EQ(parseUEvent("=x\0KEY=\0"sv), (UEvent{{"", "x"}, {"KEY", ""}}));
  EXPECT_EQ(parseUEvent("=\0"sv), (UEvent{{"", ""}}));
}

TEST(UEventParser, KeepsTheFirstValueOfAKey) {
  EXPECT_EQ(parseUEvent("A=1\0A=2\0B=3\0A=4\0"sv), (UEvent{{"A", "1"}, {"B", "3"}}));
  EXPECT_EQ(parseUEvent("A=\0A=2\0"sv), (UEvent{{"A", ""}}));
}

TEST(UEventParser, DropsItemsWithoutAnEqualsSign) {
  EXPECT_EQ(parseUEvent("A=1\0junk\0\0\0B=2\0"sv), (UEvent{{"A", "1"}, {"B", "2"}}));
}

TEST(UEventParser, TakesALastItemThatNothingEnds) {
  EXPECT_EQ(parseUEvent("A=1\0B=2"sv), (UEvent{{"A", "1"}, {"B", "2"}}));
  EXPECT_EQ(parseUEvent("A=1"sv), (UEvent{{"A", "1"}}));
  // Memory goes on behind the text; the scan does not.
  EXPECT_EQ(parseUEvent("A=1\0B=2"sv.substr(0, 6)), (UEvent{{"A", "1"}, {"B", ""}}));
}

TEST(UEventParser, FindsNothingInADatagramWithoutPairs) {
  for (const std::string_view datagram :
       {""sv, "\0"sv, "\0\0\0"sv, "add@/devices/x"sv, "add@/devices/x\0"sv}) {
    EXPECT_EQ(parseUEvent(datagram), UEvent{});
  }
}

TEST(UEventParser, KeepsKeysAndValuesByteForByte) {
  EXPECT_EQ(parseUEvent(" Key = value \n\0k\xff=\x80\0"sv),
            (UEvent{{" Key ", " value \n"}, {"k\xff", "\x80"}}));
}

TEST(UEventParser, TellsKeysApartByCase) {
  EXPECT_EQ(parseUEvent("A=1\0a=2\0"sv), (UEvent{{"A", "1"}, {"a", "2"}}));
}

TEST(UEventParser, TakesAHeaderWhosePathHasAnEqualsSignForAPair) {
  EXPECT_EQ(parseUEvent("add@/devices/a=b\0ACTION=add\0"sv),
            (UEvent{{"ACTION", "add"}, {"add@/devices/a", "b"}}));
}

}  // namespace
