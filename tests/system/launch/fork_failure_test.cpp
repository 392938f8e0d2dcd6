// A daemon that may not have any child.

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <tuple>

#include "support/ordinary_user.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/hotplug.h"
#include "system/support/process_state.h"

namespace {

using support::scanner;

namespace debug = contract::debug;

const std::string directory = scanner().directory();

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

class ForkFailure : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::optional<std::string> obstacle = support::obstacleToOrdinaryUser()) {
      GTEST_SKIP() << *obstacle;
    }
  }

  /** Checks a unit as an ordinary user in a process of its own, since root may have any number of processes. */
  static void checkAsOrdinaryUser(const std::function<void(sim::Unit& unit)>& check) {
    EXPECT_EXIT(
        {
          try {
            support::becomeOrdinaryUser();
            sim::Unit unit;
            startWithoutChildren(unit);
            check(unit);
          } catch (const std::exception& e) {
            ADD_FAILURE() << e.what();
          }
          std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
  }
};

TEST_F(ForkFailure, EndsTheEvent) {
  checkAsOrdinaryUser([](sim::Unit& unit) {
    const auto before = static_cast<std::ptrdiff_t>(unit.daemon().lines().size());
    unit.plug(scanner());
    unit.settle();
    support::Lines messages = unit.daemon().messages();
    messages.erase(messages.begin(), messages.begin() + before);
    messages.pop_back();  // the settling event's
    support::Lines expected = support::genericDevice(directory);
    expected.push_back(support::tagged({debug::eventIgnored}).front());
    EXPECT_EQ(messages, expected);
  });
}

TEST_F(ForkFailure, IsNotAnnounced) {
  checkAsOrdinaryUser([](sim::Unit& unit) {
    const sim::LinkManager manager = support::deliver(unit, "transmitter 5000 high eth1");
    unit.plug(scanner());
    unit.settle();
    unit.plug(support::named(support::isochronousDevice(), "1-2", "Speaker"));
    EXPECT_EQ(unit.display.waitForWrite(), contract::display::isochronous("Speaker") + "\n");
  });
}

TEST_F(ForkFailure, LeavesTheDeviceFreeForItsNextEvent) {
  checkAsOrdinaryUser([](sim::Unit& unit) {
    unit.plug(scanner());
    unit.settle();
    allowChildren(unit.daemon().pid());
    unit.uevents.add(support::devpathOf(directory));
    EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
  });
}

/** Blocked, ignored and caught. */
std::tuple<std::set<int>, std::set<int>, std::set<int>> signalsOf(sim::Unit& unit) {
  const support::ProcessState state = support::stateOf(unit.daemon().pid());
  return {state.blockedSignals, state.ignoredSignals, state.caughtSignals};
}

TEST_F(ForkFailure, LeavesTheDaemonsSignalsAsTheyAre) {
  checkAsOrdinaryUser([](sim::Unit& unit) {
    const auto before = signalsOf(unit);
    unit.plug(scanner());
    unit.settle();
    EXPECT_EQ(signalsOf(unit), before);
    unit.daemon().signal(SIGTERM);
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGTERM));
  });
}

}  // namespace
