#pragma once

#include <deque>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "soak/devices.h"
#include "soak/life.h"
#include "soak/random.h"

namespace soak {

/** Decides what happens next to a unit, one random step after the other, and keeps the daemon alive. */
class Steps {
 public:
  explicit Steps(std::uint64_t seed);

  /** Some steps, then a comparison. */
  void takeSome();

  [[nodiscard]] const Life& life() const { return *life_; }
  struct Counts {
    long steps = 0;
    long daemons = 0;
    Life::Counts ended;  ///< of daemons that have ended
  };
  [[nodiscard]] const Counts& counts() const { return counts_; }
  /** What was done last, one line each. */
  [[nodiscard]] std::string lastSteps() const;

 private:
  void note(const std::string& step);
  void begin();
  void endLife();

  // Things that happen one after the other without a pause, each to another device.
  void takeMixedStep();
  void plug();
  void unplug();
  void announceAgain();
  void rename();
  void sendOddDatagram();
  void endSomeWorker();

  // Things that the daemon handles alone.
  void takeLoneStep();
  void ask();
  void changeLink();
  void letClientLeave();
  void changePolicy();
  void stormOfHangUps();
  void endAllWorkers();
  void failAgainAndAgain();
  void endInQuickSuccession();
  void waitInVain();
  void rest();
  void endOrphan();

  [[nodiscard]] std::string randomLine();
  [[nodiscard]] std::vector<pid_t> workersOf(int port) const;
  [[nodiscard]] std::vector<int> untouched(std::vector<int> ports) const;
  void endWorker(pid_t worker, const sim::ProcessEnd& end);
  [[nodiscard]] sim::ProcessEnd randomEnd();
  /** A random device that nothing has happened to yet, now touched; 0 where there is none. */
  int touchOne();

  Random random_;
  sim::Unit unit_;
  Devices devices_;
  Configuration onDisk_;
  std::string timeout_;
  std::unique_ptr<Life> life_;
  std::vector<sim::Worker*> orphans_;
  std::set<int> touched_;  ///< ports, since the last comparison
  std::deque<std::string> notes_;
  Counts counts_;
};

}  // namespace soak
