#include "examples/usbip/transmitter/port_list.h"

#include <gtest/gtest.h>

#include <string>

#include "sim/files.h"
#include "support/private_world.h"

namespace {

const std::string devices = "/sys/bus/usb/devices/";
const std::string headline = "port  hub  speed        bus id    device\n";

std::string listOf(const std::string& rows) {
  return usbip::listAttached(usbip::parsePorts(rows));
}

using PortList = support::PrivateWorld;

TEST_F(PortList, SaysWhenNothingIsAttached) {
  EXPECT_EQ(listOf(""), "nothing is attached\n");
  EXPECT_EQ(listOf("hs  0000 004 000 00000000 000000 0-0\n"), "nothing is attached\n");
}

TEST_F(PortList, HasALineForEachPortInUse) {
  sim::writeFile(devices + "5-1/idVendor", "0627\n");
  sim::writeFile(devices + "5-1/idProduct", "0001\n");
  sim::writeFile(devices + "5-1/product", "A Tablet\n");
  sim::writeFile(devices + "6-1.4/idVendor", "abcd\n");
  sim::writeFile(devices + "6-1.4/idProduct", "1234\n");
  EXPECT_EQ(listOf("hs  0000 006 002 00010002 000003 5-1\n"
                   "hs  0001 004 000 00000000 000000 0-0\n"
                   "hs  0002 005 000 00000000 000000 0-0\n"
                   "ss  0008 006 005 00010003 000004 6-1.4\n"
                   "ss  0009 007 000 00000000 000000 0-0\n"),
            headline +
                "   0  hs   full speed   5-1       0627:0001 A Tablet\n"
                "   2  hs                          has no address yet\n"
                "   8  ss   super speed  6-1.4     abcd:1234\n"
                "   9  ss                          is being detached\n");
}

TEST_F(PortList, ShowsADeviceThatIsNotInSysfsYet) {
  EXPECT_EQ(listOf("hs  0000 006 003 00010002 000003 5-1\n"), headline + "   0  hs   high speed   5-1\n");
}

TEST_F(PortList, ShowsNothingThatATerminalWouldObey) {
  sim::writeFile(devices + "5-1/idVendor", "0627\n");
  sim::writeFile(devices + "5-1/idProduct", "0001\n");
  sim::writeFile(devices + "5-1/product",
                 "A\x1B[2J\x07\tB\x7F\xC2\x9B"
                 "C\nD\n");
  EXPECT_EQ(listOf("hs  0000 006 001 00010002 000003 5-1\n"),
            headline + "   0  hs   low speed    5-1       0627:0001 A?[2J??B???C\n");
}

}  // namespace
