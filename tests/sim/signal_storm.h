#pragma once

#include <sys/types.h>

#include <atomic>
#include <vector>

namespace sim {

/** Signals one process about a thousand times a second while it lives, from a process of its own. */
class SignalStorm {
 public:
  /** Each of these signals is sent in turn; `pause` lies between two. */
  SignalStorm(pid_t target, const std::vector<int>& signals, double pauseSeconds = 0.001);
  ~SignalStorm();
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;

  /** How many have been sent so far. */
  [[nodiscard]] long sent() const { return *sent_; }

 private:
  std::atomic<long>* sent_;  ///< in memory that both processes share
  pid_t sender_;
};

}  // namespace sim
