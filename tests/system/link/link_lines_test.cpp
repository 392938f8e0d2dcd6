#include <gtest/gtest.h>

#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

class ControlLines : public WorkerLaunch {
 protected:
  /** What the generic worker of a device is started with after this line. */
  Arguments workerAfter(const std::string& line) {
    startWith({"--keys", "OLDIN", "OLDOUT"});
    const sim::LinkManager manager = deliver(unit, line);
    return genericWorker().start.arguments;
  }

  static Arguments generic(const std::string& inkey, const std::string& outkey, const std::string& interface,
                           const std::string& host, const std::string& port) {
    return {"usb_rx_generic", "--keys", inkey, outkey, interface, host, port, genericDirectory};
  }
};

}  // namespace

TEST_F(ControlLines, OfSixFieldsTellHostPortSpeedInterfaceAndKeys) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0 KEYIN KEYOUT"),
            generic("KEYIN", "KEYOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, OfFourFieldsKeepTheKeys) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0"), generic("OLDIN", "OLDOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, WithEmptyKeysKeepTheKeys) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0  "), generic("OLDIN", "OLDOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, WithOneKeyKeepTheOther) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0 KEYIN "), generic("KEYIN", "OLDOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, WithFiveFieldsKeepTheSecondKey) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0 KEYIN"), generic("KEYIN", "OLDOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, WithTheSecondKeyOnlyKeepTheFirst) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0  KEYOUT"), generic("OLDIN", "KEYOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, OfThreeFieldsEmptyTheInterface) {
  EXPECT_EQ(workerAfter("host 7000 full"), generic("OLDIN", "OLDOUT", "", "host", "7000"));
}

TEST_F(ControlLines, OfTwoFieldsEmptyTheInterface) {
  EXPECT_EQ(workerAfter("host 7000"), generic("OLDIN", "OLDOUT", "", "host", "7000"));
}

TEST_F(ControlLines, MayHaveAnEmptyHost) {
  EXPECT_EQ(workerAfter(" 7000 full wlan0"), generic("OLDIN", "OLDOUT", "wlan0", "", "7000"));
}

TEST_F(ControlLines, DivideTheirFieldsAtEverySingleBlank) {
  EXPECT_EQ(workerAfter("host 7000  wlan0 KEYIN"), generic("KEYIN", "OLDOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, EndTheSecondKeyAtABlank) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0 KEYIN KEYOUT more and more"),
            generic("KEYIN", "KEYOUT", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, AreNotDividedAtTabs) {
  EXPECT_EQ(workerAfter("host 7000 full wl\tan0 KEY\tIN KEYOUT"),
            generic("KEY\tIN", "KEYOUT", "wl\tan0", "host", "7000"));
}

TEST_F(ControlLines, KeepANewlineInTheirLastField) {
  EXPECT_EQ(workerAfter("host 7000 full wlan0 KEYIN KEYOUT\n"),
            generic("KEYIN", "KEYOUT\n", "wlan0", "host", "7000"));
}

TEST_F(ControlLines, TakeMinusOneForTheHighestPort) {
  EXPECT_EQ(workerAfter("host -1 full wlan0"), generic("OLDIN", "OLDOUT", "wlan0", "host", "65535"));
}

TEST_F(ControlLines, TakeTheHighestPort) {
  EXPECT_EQ(workerAfter("host 65535 full wlan0"), generic("OLDIN", "OLDOUT", "wlan0", "host", "65535"));
}

TEST_F(ControlLines, ReplaceEachOther) {
  startWith({"--keys", "OLDIN", "OLDOUT"});
  const sim::LinkManager first = deliver(unit, "first 1 full eth1 IN1 OUT1");
  EXPECT_EQ(genericWorker("1-1").start.arguments, generic("IN1", "OUT1", "eth1", "first", "1"));
  const sim::LinkManager second = deliver(unit, "second 2 full eth2  OUT2");
  sim::Worker& worker = genericWorker("1-5");
  EXPECT_EQ(worker.start.arguments, (Arguments{"usb_rx_generic", "--keys", "IN1", "OUT2", "eth2", "second",
                                               "2", "/sys/devices/platform/usb-host.0/usb1/1-5"}));
}

TEST_F(ControlLines, DoNotTouchWorkersThatRun) {
  startWith({});
  sim::Worker& worker = genericWorker();
  const sim::LinkManager manager = deliver(unit, "host 7000 high wlan0 KEYIN KEYOUT");
  EXPECT_TRUE(worker.isRunning());
  EXPECT_EQ(unit.workers.count(), 1U);
}

TEST_F(ControlLines, WithoutASpeedEmptyIt) {
  startFor({"transmitter", "5000", "full"});
  const sim::LinkManager manager = deliver(unit, "host 7000");
  unit.plug(highSpeedDevice());
  EXPECT_EQ(unit.display.waitForWrite(), "Synthetic Device attached\n");
}
