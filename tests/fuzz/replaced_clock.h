#pragma once

#include <functional>

namespace fuzz {

/**
 * While it lives, time passes in sleeps only, and these end at once. `clock_gettime`, `gettimeofday`,
 * `nanosleep` and the steady clock of the standard library have to be wrapped.
 */
class ReplacedClock {
 public:
  /** `onSleep` is called in each sleep. */
  explicit ReplacedClock(std::function<void()> onSleep);
  ReplacedClock(const ReplacedClock&) = delete;
  ReplacedClock& operator=(const ReplacedClock&) = delete;
  ~ReplacedClock();
};

}  // namespace fuzz
