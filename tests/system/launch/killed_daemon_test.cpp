// The daemon is killed at some instant of a launch: nothing half-started is left, and no generic worker.

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <tuple>

#include "system/support/killed_launch.h"

namespace {

using support::LaunchedKind;

/** Fewer where a daemon takes longer to start: with sanitizers, or under an emulator. */
int launches() {
#ifdef __SANITIZE_ADDRESS__
  return 20;
#else
  return std::getenv("SIM_PROGRAM_PREFIX") == nullptr ? 100 : 10;
#endif
}

/** That of --gtest_random_seed, else another one each time. */
unsigned seed() {
  const int given = testing::GTEST_FLAG(random_seed);
  return given != 0 ? static_cast<unsigned>(given) : std::random_device()() % 100'000;
}

class KilledDaemon : public support::KilledLaunch,
                     public testing::WithParamInterface<std::tuple<LaunchedKind, int>> {
 protected:
  KilledDaemon() { ::prctl(PR_SET_TIMERSLACK, 1UL); }  // sleeps end when they are to, to the nanosecond

  static const LaunchedKind& kind() { return std::get<LaunchedKind>(GetParam()); }

  Clock::duration usualLength() {
    std::array<Clock::duration, 5> lengths{};
    std::generate(lengths.begin(), lengths.end(), [this] { return lengthOfLaunch(kind()); });
    std::sort(lengths.begin(), lengths.end());
    return lengths.at(lengths.size() / 2);
  }

  /** Kills a daemon so long after a device was announced to it. */
  Outcome outcomeOfKillAfter(Clock::duration delay) {
    startDaemon();
    std::this_thread::sleep_until(beginLaunch(kind()) + delay);
    killDaemon();
    return clear(kind());
  }

  std::map<Outcome, int> outcomes;
};

std::string nameOf(const testing::TestParamInfo<std::tuple<LaunchedKind, int>>& test) {
  return std::string(std::get<LaunchedKind>(test.param).name) + std::to_string(std::get<int>(test.param));
}

// The parts of the first come to 1,000 launches.
INSTANTIATE_TEST_SUITE_P(OfGenericWorkers, KilledDaemon,
                         testing::Combine(testing::Values(support::genericKind()), testing::Range(1, 11)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(OfLastingWorkers, KilledDaemon,
                         testing::Combine(testing::Values(support::keyboardKind(), support::scsiKind()),
                                          testing::Range(1, 3)),
                         nameOf);

TEST_P(KilledDaemon, LeavesNothingHalfStarted) {
  const unsigned seedOfInstants = seed();
  std::mt19937 generator(seedOfInstants);
  const Clock::duration length = usualLength();
  std::uniform_int_distribution<Clock::rep> delays(0, length.count() * 5 / 4);
  for (int launch = 0; launch < launches() && !HasFailure(); ++launch) {
    ++outcomes[outcomeOfKillAfter(Clock::duration(delays(generator)))];
  }
  std::cout << "seed " << seedOfInstants << "; a launch took "
            << std::chrono::duration_cast<std::chrono::microseconds>(length).count() << " us; of "
            << launches() << " daemons " << outcomes[Outcome::noProcess] << " had created no process, "
            << outcomes[Outcome::endedByItself] << " one that ended by itself, "
            << outcomes[Outcome::endedBySignal] << " one that SIGTERM ended, " << outcomes[Outcome::served]
            << " a worker that served\n";
}

}  // namespace
