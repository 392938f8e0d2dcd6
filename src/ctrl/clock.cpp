#include "ctrl/clock.h"

#include <sys/time.h>

double timestampNow() {
  constexpr double microsecondsPerSecond = 1'000'000;
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / microsecondsPerSecond;
}
