// Finding a device's physical directory takes the daemon there for a moment: it comes back to where it was.

#include <sys/syscall.h>

#include <filesystem>
#include <string>

#include "support/held_attribute.h"
#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"
#include "system/support/process_state.h"

namespace {

using support::devpathOf;
using support::genericDevice;
using support::scanner;

namespace fs = std::filesystem;

constexpr const char* home = "/sim/home";

class WorkingDirectory : public support::Hotplug {
 protected:
  WorkingDirectory() { fs::create_directories(home); }

  void startAtHome() {
    sim::ProcessOptions options;
    options.workingDirectory = home;
    unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"}, options);
    unit.waitUntilServing();
  }
  std::string current() { return support::stateOf(unit.daemon().pid()).workingDirectory; }
};

TEST_F(WorkingDirectory, IsTheFormerOneAgainAfterADevice) {
  startAtHome();
  EXPECT_EQ(saidOfPlugging(scanner()), genericDevice(scanner().directory()));
  EXPECT_EQ(current(), home);
}

TEST_F(WorkingDirectory, IsTheFormerOneAgainBeforeTheDeviceIsLookedAt) {
  startAtHome();
  const std::string directory = unit.sysfs.add(scanner());
  support::HeldAttribute uevent(directory + "/uevent");
  unit.uevents.add(devpathOf(directory));
  uevent.waitForReader();
  EXPECT_EQ(current(), home);
  uevent.release("");
  unit.settle();
}

TEST_F(WorkingDirectory, IsUnchangedByADeviceThatHasGoneOrIsHandledAlready) {
  startAtHome();
  saidOfAdding("/sys/devices/gone");
  EXPECT_EQ(current(), home);
  saidOfPlugging(scanner());
  saidOfAdding(scanner().directory());
  EXPECT_EQ(current(), home);
}

TEST_F(WorkingDirectory, MayBeMoved) {
  startAtHome();
  fs::rename(home, "/sim/elsewhere");
  EXPECT_EQ(saidOfPlugging(scanner()), genericDevice(scanner().directory()));
  EXPECT_EQ(current(), "/sim/elsewhere");
}

TEST_F(WorkingDirectory, MayHaveALongPath) {
  startAtHome();
  std::string deep = "/sim/deep";
  for (int level = 0; level < 10; ++level) {
    deep += "/" + std::string(100, 'd');
  }
  fs::create_directories(deep);
  fs::rename(home, deep + "/home");
  EXPECT_EQ(saidOfPlugging(scanner()), genericDevice(scanner().directory()));
  EXPECT_EQ(current(), deep + "/home");
}

TEST_F(WorkingDirectory, ThatIsRemovedEndsEveryEventOfADevice) {
  startAtHome();
  fs::remove(home);
  for (const std::string port : {"1-1", "1-2"}) {
    EXPECT_EQ(saidOfPlugging(scanner(port)), support::ignoredEvent(devpathOf(scanner(port).directory())));
  }
  EXPECT_EQ(during([&] { unit.unplug(scanner("1-1").directory()); }),
            support::tagged({contract::debug::event("remove", devpathOf(scanner("1-1").directory()))}));
  EXPECT_TRUE(hasNoWorker());
}

TEST_F(WorkingDirectory, IsTheDevicesWhenThereIsNoWayBack) {
  if (const auto obstacle = support::SystemCallTrace::obstacle()) {
    GTEST_SKIP() << *obstacle;
  }
  startAtHome();
  const std::string directory = unit.sysfs.add(scanner());
  const support::Lines said = during([&] {
    support::SystemCallTrace trace(unit.daemon().pid());
    unit.uevents.add(devpathOf(directory));
    while (trace.next().number != SYS_chdir) {
    }
    while (trace.next().number != SYS_chdir) {  // that back home
    }
    fs::rename(home, "/sim/elsewhere");
  });
  EXPECT_EQ(said, support::ignoredEvent(devpathOf(directory)));
  EXPECT_EQ(current(), directory);
  EXPECT_EQ(saidOfPlugging(scanner("1-2")), genericDevice(scanner("1-2").directory()));
  EXPECT_EQ(current(), directory);
}

}  // namespace
