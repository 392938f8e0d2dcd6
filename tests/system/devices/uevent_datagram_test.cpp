// What the daemon takes from the datagrams of the kernel's uevents.

#include <csignal>
#include <optional>
#include <string>

#include "sim/error.h"
#include "sim/usb_descriptors.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/hotplug.h"

namespace {

using namespace std::string_literals;
using support::Lines;

/** Before and behind the last item, so that the whole has 64 KiB. */
std::string longDatagram() {
  constexpr std::size_t size = 65536;
  const std::string end = "\0DEVPATH=/at the end\0"s;
  std::string datagram = "ACTION=change\0FILLER="s;
  datagram.append(size - datagram.size() - end.size(), 'x').append(end);
  return datagram;
}

std::string thousandsOfItems() {
  std::string datagram;
  for (int i = 0; i < 5000; ++i) {
    const std::string number = std::to_string(i);
    datagram.append("K").append(number).append("=").append(number).push_back('\0');
  }
  return datagram;
}

/** An "add" event of the kernel as udevd repeats it: a header of 40 bytes, then the properties. */
std::string repetition(const std::string& devpath) {
  const std::string properties = "ACTION=add\0DEVPATH="s + devpath + "\0SUBSYSTEM=usb\0DEVTYPE=usb_device\0"s;
  const auto length = static_cast<unsigned>(properties.size());
  constexpr unsigned byte = 256;
  return "libudev\0\xfe\xed\xca\xfe"s +
         sim::bytes({40, 0, 0, 0, 40, 0, 0, 0, length % byte, length / byte, 0, 0}) + std::string(8, '\x17') +
         std::string(8, '\0') + properties;
}

const std::string longValue = "/" + std::string(65535, 'd');

struct Datagram : support::NamedCase {
  std::string bytes;
  std::optional<std::string> event;  ///< as the daemon logs it; nothing is logged without
};

class UeventDatagram : public support::Hotplug {
 protected:
  UeventDatagram() { start(); }
};

class UeventDatagramOf : public UeventDatagram, public testing::WithParamInterface<Datagram> {};

INSTANTIATE_TEST_SUITE_P(
    Bytes, UeventDatagramOf,
    testing::Values(
        Datagram{"ItemsThatContradictTheHeader",
                 "add@/header\0ACTION=change\0DEVPATH=/items\0SUBSYSTEM=usb\0"s, "change /items"},
        Datagram{"ItemsInAnotherOrder", "SEQNUM=7\0DEVPATH=/x\0SUBSYSTEM=usb\0ACTION=change\0"s, "change /x"},
        Datagram{"FurtherEqualSigns", "ACTION=a=b\0DEVPATH==/x=y==\0"s, "a=b =/x=y=="},
        Datagram{"EmptyValues", "ACTION=\0DEVPATH=\0"s, " "},
        Datagram{"EqualKeys", "ACTION=change\0DEVPATH=\0DEVPATH=/second\0ACTION=add\0"s, "change "},
        Datagram{"NoNulAtItsEnd", "change@/x\0ACTION=change\0DEVPATH=/x"s, "change /x"},
        Datagram{"AnyBytes", "ACTION=\x01\xff\x80\0DEVPATH=/\xc3\xa4 b\t%s%n\0"s,
                 "\x01\xff\x80 /\xc3\xa4 b\t%s%n"},
        Datagram{"SixtyFourKibibytes", longDatagram(), "change /at the end"},
        Datagram{"AValueOfSixtyFourKibibytes", sim::uevent("change", longValue), "change " + longValue},
        Datagram{"ThousandsOfItems", thousandsOfItems() + "ACTION=change\0DEVPATH=/x\0"s, "change /x"},
        Datagram{"RepetitionByUdevd", repetition("/x"), {}},
        Datagram{"NoAction", "add@/x\0DEVPATH=/x\0SUBSYSTEM=usb\0"s, {}},
        Datagram{"NoDevpath", "add@/x\0ACTION=add\0SUBSYSTEM=usb\0"s, {}},
        Datagram{"OtherSpellings", "action=a\0ACTION =b\0 ACTION=c\0DEVPATH2=/y\0DEVPATH=/x\0"s, {}},
        Datagram{"HeaderAlone", "add@/x\0"s, {}}, Datagram{"OneByte", "\0"s, {}},
        Datagram{"AnotherFormat", "\xfe\xed\xca\xfe"s + std::string(28, '\x28') + "VERSION=1\0"s, {}}),
    testing::PrintToStringParamName());

TEST_P(UeventDatagramOf, IsReadByItsItems) {
  const std::optional<std::string>& event = GetParam().event;
  EXPECT_EQ(saidOf(GetParam().bytes), event ? support::tagged({*event}) : Lines{});
}

TEST_F(UeventDatagram, OfNoBytesIsIgnored) {
  std::optional<std::string> refusal;
  const Lines said = during([&] {
    try {
      unit.uevents.send("");
    } catch (const sim::Error& error) {
      refusal = error.what();
    }
  });
  if (refusal) {
    GTEST_SKIP() << "this kernel sends no empty datagram: " << *refusal;
  }
  EXPECT_EQ(said, Lines{});
}

/** The kernel announces a device, and then udevd repeats it. */
TEST_F(UeventDatagram, ThatIsARepetitionLeavesTheRefusalOfADeviceOnTheDisplayOnce) {
  sim::Unit::writeConfig("[usb]\nhid_only = 1\n");
  unit.daemon().signal(SIGHUP);
  const std::string directory = support::scanner().directory();

  EXPECT_EQ(during([&] {
              unit.plug(support::scanner());
              unit.uevents.send(repetition(support::devpathOf(directory)));
            }),
            support::usbDevice(directory, {contract::debug::unsupported}));
  EXPECT_EQ(unit.display.takeWrites(), support::writes({contract::display::nonHid("Scanner")}));
}

}  // namespace
