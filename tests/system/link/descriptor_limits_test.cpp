// A daemon that runs out of descriptors, or has more than it can wait for.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/unit.h"
#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

constexpr rlim_t fewDescriptors = 24;
constexpr std::size_t selectable = 1024;  // numbers that select() can wait for
constexpr rlim_t manyDescriptors = 2 * selectable;

/** Lets this process have many descriptors; false where it may not. */
bool raiseOwnLimit() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::max(limit.rlim_cur, manyDescriptors + selectable);
  return limit.rlim_cur <= limit.rlim_max && ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

/** Clients that ask for link parameters before there are any, and wait. */
class WaitingClients {
 public:
  /** Adds clients until the daemon has this many descriptors. */
  void fill(sim::Unit& unit, std::size_t descriptors) {
    for (std::size_t i = unit.daemon().openDescriptors().size(); i < descriptors; ++i) {
      clients_.emplace_back();
      clients_.back().send("?");
    }
    support::eventually("the accept of all waiting clients",
                        [&] { return unit.daemon().openDescriptors().size() == descriptors; });
  }

  void closeFirst() { clients_.front().close(); }

 private:
  std::vector<sim::LinkManager> clients_;
};

class DescriptorLimits : public testing::Test {
 protected:
  /** Starts a daemon that may have so many descriptors, and gives it clients until it has `used` of them. */
  sim::Daemon& startWith(rlim_t count, std::size_t used) {
    sim::ProcessOptions options;
    options.limits = {{RLIMIT_NOFILE, count}};
    // Without parameters every client that asks for them is kept.
    sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "transmitter", "0", "high"}, options);
    unit.waitUntilServing();
    clients.fill(unit, used);
    return daemon;
  }

  sim::Unit unit;
  WaitingClients clients;
};

/** More than select() can wait for. */
class DescriptorLimitsOfSelect : public DescriptorLimits {
 protected:
  void SetUp() override {
    if (!raiseOwnLimit()) {
      GTEST_SKIP() << "the system does not allow so many descriptors";
    }
  }
};

TEST_F(DescriptorLimits, EndTheDaemonWhenNoFurtherClientCanBeAccepted) {
  sim::Daemon& daemon = startWith(fewDescriptors, fewDescriptors);
  const sim::LinkManager further = unit.connect();  // sends nothing: the daemon may end before
  EXPECT_EQ(support::lastWordsOf(daemon), contract::error::whileCalling("Too many open files", "accept()"));
}

TEST_F(DescriptorLimits, CostOneUeventButNotTheDaemonWhenSysfsCannotBeRead) {
  sim::Daemon& daemon = startWith(fewDescriptors, fewDescriptors);
  unit.plug(support::scanner());
  daemon.waitForLine(contract::debug::eventIgnored);
  unit.settle();
}

TEST_F(DescriptorLimitsOfSelect, DoNotConcernClientsThatAreOnlyKept) {
  sim::Daemon& daemon = startWith(manyDescriptors, selectable + 3);
  EXPECT_GT(daemon.openDescriptors().back(), static_cast<int>(selectable));
  clients.closeFirst();
  support::settleEverySource(unit);
  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(DescriptorLimitsOfSelect, EndTheDaemonWhenItCannotWaitForItsControlConnection) {
  sim::Daemon& daemon = startWith(manyDescriptors, selectable);
  sim::LinkManager client = unit.connect();
  client.configure();
  EXPECT_EQ(support::lastWordsOf(daemon), contract::error::whileCalling("Invalid argument", "select()"));
}

TEST_F(DescriptorLimitsOfSelect, SpareTheLastControlConnectionThatItCanWaitFor) {
  sim::Daemon& daemon = startWith(manyDescriptors, selectable - 1);
  sim::LinkManager last = unit.connect();
  last.configure();
  support::settleEverySource(unit);
  EXPECT_EQ(daemon.openDescriptors().back(), static_cast<int>(selectable - 1));
  last.close();
  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(0));
}

}  // namespace
