// The two machines reach each other only while their wire is whole; the tests reach both at any time.

#include "kernel/pair/wire.h"

#include <gtest/gtest.h>

#include "kernel/guest/desk.h"
#include "kernel/pair/far_machine.h"

namespace pair {
namespace {

class WireOfThePair : public testing::Test {
 protected:
  int ping(const std::string& address) { return far.call("ping -c 3 -W 1 " + address).status; }

  FarMachine far;
  Wire wire;
};

TEST_F(WireOfThePair, JoinsTheMachines) {
  EXPECT_EQ(ping("10.0.0.1"), 0);
  EXPECT_EQ(ping("fd00::1"), 0);
  EXPECT_EQ(far.read("cat /sys/class/net/eth1/carrier"), "1");
}

TEST_F(WireOfThePair, IsCutWithoutACarrierThatGoes) {
  wire.cut();
  EXPECT_NE(ping("10.0.0.1"), 0);
  EXPECT_EQ(far.read("cat /sys/class/net/eth1/carrier"), "1");
  wire.heal();
  EXPECT_EQ(ping("10.0.0.1"), 0);
}

}  // namespace
}  // namespace pair
