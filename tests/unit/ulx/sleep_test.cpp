#include "ulx/sleep.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <limits>
#include <utility>
#include <vector>

#include "support/thrown.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"

namespace {

// Seconds and nanoseconds.
using Request = std::pair<time_t, long>;

// The requests of a sleep. A request of whole seconds is interrupted with one second and 7 ns less to go.
std::vector<Request> requestsOf(double seconds, bool interrupted = false) {
  std::vector<Request> requests;
  const support::Replaced sleeping(library::nanosleep, [&](const timespec* request, timespec* remaining) {
    requests.emplace_back(request->tv_sec, request->tv_nsec);
    if (!interrupted || request->tv_sec == 0) {
      return 0;
    }
    *remaining = {.tv_sec = request->tv_sec - 1, .tv_nsec = request->tv_nsec + 7};
    errno = EINTR;
    return -1;
  });
  ulx::sleepSeconds(seconds);
  return requests;
}

TEST(Sleep, AsksForWholeSecondsAndWholeNanoseconds) {
  EXPECT_EQ(requestsOf(0.05), (std::vector<Request>{{0, 50'000'000}}));
  EXPECT_EQ(requestsOf(2.5), (std::vector<Request>{{2, 500'000'000}}));
  EXPECT_EQ(requestsOf(0), (std::vector<Request>{{0, 0}}));
  EXPECT_EQ(requestsOf(1'000'000), (std::vector<Request>{{1'000'000, 0}}));
  EXPECT_EQ(requestsOf(1.9e-9), (std::vector<Request>{{0, 1}}));
  EXPECT_EQ(requestsOf(0.9e-9), (std::vector<Request>{{0, 0}}));
}

TEST(Sleep, AsksForTheRestAfterEachSignal) {
  EXPECT_EQ(requestsOf(2, true), (std::vector<Request>{{2, 0}, {1, 7}, {0, 14}}));
}

TEST(Sleep, LastsItsWholeTimeThroughSignals) {
  const InterruptingTimer timer;
  const auto start = std::chrono::steady_clock::now();
  ulx::sleepSeconds(0.05);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
  EXPECT_GE(InterruptingTimer::count(), 1);
}

// Signals that come faster than the kernel's timers are precise leave as much to sleep as before.
TEST(Sleep, EndsInTimeWhenEachSignalLeavesTheWholeRest) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto tooLate = start + std::chrono::seconds(2);
  const support::Replaced sleeping(library::nanosleep, [&](const timespec* request, timespec* remaining) {
    if (Clock::now() > tooLate) {
      return 0;
    }
    *remaining = *request;
    errno = EINTR;
    return -1;
  });
  ulx::sleepSeconds(0.05);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
  EXPECT_LT(Clock::now(), tooLate);
}

TEST(Sleep, ThatFailsIsThrown) {
  EXPECT_EQ(support::caught<ulx::InvalidArgument>([] { ulx::sleepSeconds(-0.5); }).text(),
            "Invalid argument while nanosleep\n");
}

TEST(Sleep, TakesNoTimeThat32BitsOfSecondsCannotHold) {
  using Seconds = std::numeric_limits<double>;
  for (const double seconds : {2147483648.0, 1e300, Seconds::infinity(), -2147483649.0, -1e300,
                               -Seconds::infinity(), Seconds::quiet_NaN()}) {
    EXPECT_EQ(support::caught<ulx::InvalidArgument>([=] {
                errno = ENOENT;
                requestsOf(seconds);
              }).text(),
              "Invalid argument while nanosleep\n")
        << seconds;
  }
  EXPECT_EQ(requestsOf(2147483647.5), (std::vector<Request>{{2147483647, 500'000'000}}));
  EXPECT_EQ(requestsOf(-2147483648.0), (std::vector<Request>{{-2147483648LL, 0}}));
}

}  // namespace
