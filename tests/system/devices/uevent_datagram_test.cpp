// What the daemon takes from the datagrams of the kernel's uevents.

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "sim/error.h"
#include "system/support/hotplug.h"

using namespace std::string_literals;

namespace {

class UeventDatagram : public Hotplug {
 protected:
  UeventDatagram() { start(); }
};

TEST_F(UeventDatagram, IsReadByItsItemsNotByItsHeader) {
  EXPECT_EQ(saidOf("add@/header\0ACTION=change\0DEVPATH=/items\0SUBSYSTEM=usb\0"s),
            rxCtrl({"change /items"}));
}

TEST_F(UeventDatagram, NeedsNoHeader) {
  EXPECT_EQ(saidOf("ACTION=change\0DEVPATH=/x\0"s), rxCtrl({"change /x"}));
}

TEST_F(UeventDatagram, MayHaveItsItemsInAnyOrder) {
  EXPECT_EQ(saidOf("SEQNUM=7\0DEVPATH=/x\0SUBSYSTEM=usb\0ACTION=change\0"s), rxCtrl({"change /x"}));
}

TEST_F(UeventDatagram, KeepsFurtherEqualSignsInTheValue) {
  EXPECT_EQ(saidOf("ACTION=a=b\0DEVPATH==/x=y==\0"s), rxCtrl({"a=b =/x=y=="}));
}

TEST_F(UeventDatagram, MayHaveEmptyValues) {
  EXPECT_EQ(saidOf("ACTION=\0DEVPATH=\0"s), rxCtrl({" "}));
}

TEST_F(UeventDatagram, GivesTheFirstOfEqualKeys) {
  EXPECT_EQ(saidOf("ACTION=change\0DEVPATH=/first\0DEVPATH=/second\0ACTION=add\0"s),
            rxCtrl({"change /first"}));
}

TEST_F(UeventDatagram, GivesAnEmptyFirstValueBeforeALaterOne) {
  EXPECT_EQ(saidOf("ACTION=change\0DEVPATH=\0DEVPATH=/second\0"s), rxCtrl({"change "}));
}

TEST_F(UeventDatagram, KnowsKeysByTheirExactSpelling) {
  EXPECT_EQ(saidOf("action=a\0ACTION =b\0 ACTION=c\0ACTION=change\0DEVPATH2=/y\0DEVPATH=/x\0"s),
            rxCtrl({"change /x"}));
}

TEST_F(UeventDatagram, MayHoldItemsWithoutAnEqualSignOrWithoutAKey) {
  EXPECT_EQ(saidOf("junk\0\0=ACTION\0\0=\0ACTION=change\0ACTION\0DEVPATH=/x\0\0\0"s), rxCtrl({"change /x"}));
}

TEST_F(UeventDatagram, MayLackTheNulAtItsEnd) {
  EXPECT_EQ(saidOf("change@/x\0ACTION=change\0DEVPATH=/x"s), rxCtrl({"change /x"}));
}

TEST_F(UeventDatagram, IsShownWithAllItsBytes) {
  EXPECT_EQ(saidOf("ACTION=\x01\xff\x80\0DEVPATH=/\xc3\xa4 b\t%s%n\0"s),
            rxCtrl({"\x01\xff\x80 /\xc3\xa4 b\t%s%n"}));
}

TEST_F(UeventDatagram, WithoutActionIsIgnored) {
  EXPECT_EQ(saidOf("add@/x\0DEVPATH=/x\0SUBSYSTEM=usb\0"s), Messages{});
}

TEST_F(UeventDatagram, WithoutDevpathIsIgnored) {
  EXPECT_EQ(saidOf("add@/x\0ACTION=add\0SUBSYSTEM=usb\0"s), Messages{});
}

TEST_F(UeventDatagram, WithoutAnyItemIsIgnored) {
  EXPECT_EQ(saidOf("add@/x\0"s), Messages{});
  EXPECT_EQ(saidOf("x"s), Messages{});
  EXPECT_EQ(saidOf("\0"s), Messages{});
  EXPECT_EQ(saidOf("\0\0\0\0"s), Messages{});
  EXPECT_EQ(saidOf("="s), Messages{});
}

TEST_F(UeventDatagram, OfNoBytesIsIgnored) {
  std::optional<std::string> refusal;
  const Messages said = during([&] {
    try {
      unit.uevents.send("");
    } catch (const sim::Error& error) {
      refusal = error.what();
    }
  });
  if (refusal) {
    GTEST_SKIP() << "this kernel sends no empty datagram: " << *refusal;
  }
  EXPECT_EQ(said, Messages{});
}

TEST_F(UeventDatagram, InAnotherFormatIsIgnored) {
  std::string datagram = "\xfe\xed\xca\xfe"s + std::string(28, '\x28');
  EXPECT_EQ(saidOf(datagram + "VERSION=1\0"s), Messages{});
}

TEST_F(UeventDatagram, Of64KibibytesIsReadWhole) {
  constexpr std::size_t size = 65536;
  const std::string end = "\0DEVPATH=/at the end\0"s;
  std::string datagram = "ACTION=change\0FILLER="s;
  datagram.append(size - datagram.size() - end.size(), 'x').append(end);
  ASSERT_EQ(datagram.size(), size);
  EXPECT_EQ(saidOf(datagram), rxCtrl({"change /at the end"}));
}

TEST_F(UeventDatagram, MayHoldAValueOf64Kibibytes) {
  const std::string devpath = "/" + std::string(65535, 'd');
  EXPECT_EQ(saidOf(sim::uevent("change", devpath)), rxCtrl({"change " + devpath}));
}

TEST_F(UeventDatagram, MayHoldThousandsOfItems) {
  std::string datagram;
  for (int i = 0; i < 5000; ++i) {
    datagram += "K" + std::to_string(i) + "=" + std::to_string(i) + '\0';
  }
  EXPECT_EQ(saidOf(datagram + "ACTION=change\0DEVPATH=/x\0"s), rxCtrl({"change /x"}));
}

}  // namespace
