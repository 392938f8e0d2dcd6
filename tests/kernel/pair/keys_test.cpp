// Which ends trust each other.

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"

namespace pair {
namespace {

constexpr const char* keyFile = "/tmp/keys";

class Keys : public Travel {
 protected:
  void startWithKeys(const std::string& atFarSide, const std::string& atUnit) {
    far.writeFile(keyFile, atFarSide);
    farProgram.start(std::string("--keys=") + keyFile);
    startUnit({.options = "--debug=ctrl,generic --keys " + atUnit});
  }
  /** Plugs a disk in which then stays with its own driver, for this reason. */
  void expectRefused(const std::string& reason) {
    const guest::PluggedDevice disk = desk.plug(guest::disk(), guest::highSpeedSocket(1));
    farProgram.waitForLine("10.0.0.1: refused: .*" + reason);
    syslog.waitForText(contract::debug::withStatus(1));
    EXPECT_EQ(display.waitForWrite(), contract::display::noTransmitter(disk.device.product) + "\n");
    EXPECT_EQ(driverOf(disk, "1.0"), "usb-storage");
    EXPECT_EQ(farProgram.portsInUse(), 0);
  }
};

TEST_F(Keys, ThatAreTheSameLetADeviceTravel) {
  startWithKeys("tulip lettuce", "tulip lettuce");
  desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
}

TEST_F(Keys, OfTheUnitThatAreOthersAreRefused) {
  startWithKeys("tulip lettuce", "tulip cabbage");
  expectRefused("its keys are different");
}

TEST_F(Keys, OfTheFarSideThatAreOthersAreRefusedByTheWorker) {
  startWithKeys("tulip lettuce", "crocus lettuce");
  const guest::PluggedDevice disk = desk.plug(guest::disk(), guest::highSpeedSocket(1));
  syslog.waitForText(contract::debug::withStatus(1));
  EXPECT_EQ(display.waitForWrite(), contract::display::noTransmitter(disk.device.product) + "\n");
  EXPECT_EQ(driverOf(disk, "1.0"), "usb-storage");
  EXPECT_EQ(farProgram.portsInUse(), 0);
}

TEST_F(Keys, AreNeededWhereTheFarSideHasSome) {
  far.writeFile(keyFile, "tulip lettuce");
  farProgram.start(std::string("--keys=") + keyFile);
  startUnit();
  expectRefused("it has no keys");
}

TEST_F(Keys, AreNeededWhereNotEveryPeerIsAllowed) {
  farProgram.start("");
  startUnit();
  expectRefused("only this machine itself is served");
}

}  // namespace
}  // namespace pair
