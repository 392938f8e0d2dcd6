#pragma once

#include <chrono>

namespace sim {

/**
 * The moment at which a wait gives up. All durations are multiplied by the environment variable
 * SIM_TIME_FACTOR (a number above 0), for builds and machines that are slow.
 */
class Deadline {
 public:
  /** 10 seconds from now. */
  Deadline();
  explicit Deadline(double seconds);

  [[nodiscard]] bool passed() const { return millisecondsLeft() == 0; }
  /** For poll(): 0 when the deadline has passed. */
  [[nodiscard]] int millisecondsLeft() const;
  /** The earlier of this deadline and the moment `seconds` from now. */
  [[nodiscard]] Deadline atMost(double seconds) const;

 private:
  std::chrono::steady_clock::time_point end_;
};

}  // namespace sim
