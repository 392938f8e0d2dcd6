#include "ulx/sleep.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <ctime>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

constexpr double nanosecondsPerSecond = 1e9;

timespec toTimespec(double seconds) {
  double whole = 0;
  const double fraction = std::modf(seconds, &whole);
  return {.tv_sec = static_cast<std::int32_t>(whole),
          .tv_nsec = static_cast<long>(fraction * nanosecondsPerSecond)};
}

}  // namespace

void sleepSeconds(double seconds) {
  timespec request = toTimespec(seconds);
  timespec remaining{};
  while (nanosleep(&request, &remaining) == -1) {
    if (errno != EINTR) {
      throwErrno("nanosleep", errno);
    }
    request = remaining;
  }
}

}  // namespace ulx
