#include "ulx/sleep.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

constexpr double nanosecondsPerSecond = 1e9;

// The seconds of a request have 32 bits on the unit. What is not a number is in no range.
bool isHoldable(double wholeSeconds) {
  using Limits = std::numeric_limits<std::int32_t>;
  return wholeSeconds >= Limits::min() && wholeSeconds <= Limits::max();
}

timespec toTimespec(double seconds) {
  double whole = 0;
  const double fraction = std::modf(seconds, &whole);
  if (!isHoldable(whole)) {
    errno = EINVAL;
    throwErrno("nanosleep", EINVAL);
  }
  return {.tv_sec = static_cast<std::int32_t>(whole),
          .tv_nsec = static_cast<long>(fraction * nanosecondsPerSecond)};
}

double monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / nanosecondsPerSecond;
}

}  // namespace

// The kernel adds its tolerance of up to 50 us to what it reports as the rest. Signals that come faster than that
// would make the rest grow, so the clock ends the sleep, too.
void sleepSeconds(double seconds) {
  const double end = monotonicNow() + seconds;
  timespec request = toTimespec(seconds);
  timespec remaining{};
  while (nanosleep(&request, &remaining) == -1) {
    if (errno != EINTR) {
      throwErrno("nanosleep", errno);
    }
    if (monotonicNow() >= end) {
      return;
    }
    request = remaining;
  }
}

}  // namespace ulx
