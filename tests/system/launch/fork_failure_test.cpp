#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>

#include "sim/unit.h"
#include "system/support/control_messages.h"
#include "system/support/made_up_devices.h"
#include "system/support/ordinary_user.h"

namespace {

using Lines = std::vector<std::string>;

const std::string directory = "/sys/devices/platform/usb-host.0/usb1/1-1";

/** Starts a daemon that may not have any child. */
void startWithoutChildren(sim::Unit& unit) {
  sim::ProcessOptions world;
  world.limits = {{RLIMIT_NPROC, 1}};
  unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"}, world);
  unit.waitUntilServing();
}

void allowChildren(pid_t process) {
  rlimit limit{};
  ASSERT_EQ(::prlimit(process, RLIMIT_NPROC, nullptr, &limit), 0);
  limit.rlim_cur = limit.rlim_max;
  ASSERT_EQ(::prlimit(process, RLIMIT_NPROC, &limit, nullptr), 0);
}

void checkThatTheEventIsIgnored() {
  sim::Unit unit;
  startWithoutChildren(unit);
  const auto before = static_cast<std::ptrdiff_t>(unit.daemon().lines().size());
  unit.plug(mouse());
  unit.settle();
  Lines messages = unit.daemon().messages();
  messages.erase(messages.begin(), messages.begin() + before);
  messages.pop_back();  // the settling event's
  EXPECT_EQ(
      messages,
      Lines({"[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1", "[rx_ctrl] subsystem is 'usb'",
             "[rx_ctrl]   no iso endpoints found, this is supported.",
             "[rx_ctrl] this is a generic USB device", "[rx_ctrl] starting usb_rx_generic for " + directory,
             "[rx_ctrl] Exception while processing uevent; ignored."}));
}

void checkThatNobodyIsTold() {
  sim::Unit unit;
  startWithoutChildren(unit);
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  unit.plug(mouse());
  unit.settle();
  unit.plug(named(isochronousDevice(), "1-2", "Speaker"));
  EXPECT_EQ(unit.display.waitForWrite(), "Speaker is not supported because it has isochronous endpoints\n");
}

void checkThatNothingIsRecorded() {
  sim::Unit unit;
  startWithoutChildren(unit);
  unit.plug(mouse());
  unit.settle();
  allowChildren(unit.daemon().pid());
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

/** Goes through a check as an ordinary user, since root may have any number of processes; ends the process.
 */
void goThroughAsOrdinaryUser(void (*check)()) {
  try {
    becomeOrdinaryUser();
    check();
  } catch (const std::exception& e) {
    ADD_FAILURE() << e.what();
  }
  std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
}

class ForkFailure : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::optional<std::string> obstacle = obstacleToOrdinaryUser()) {
      GTEST_SKIP() << *obstacle;
    }
  }
};

}  // namespace

TEST_F(ForkFailure, EndsTheEvent) {
  EXPECT_EXIT(goThroughAsOrdinaryUser(checkThatTheEventIsIgnored), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(ForkFailure, IsNotAnnounced) {
  EXPECT_EXIT(goThroughAsOrdinaryUser(checkThatNobodyIsTold), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(ForkFailure, LeavesTheDeviceFreeForItsNextEvent) {
  EXPECT_EXIT(goThroughAsOrdinaryUser(checkThatNothingIsRecorded), testing::ExitedWithCode(EXIT_SUCCESS), "");
}
