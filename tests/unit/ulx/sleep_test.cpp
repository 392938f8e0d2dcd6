#include "ulx/sleep.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include "unit/ulx/caught.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Seconds and nanoseconds.
using Request = std::pair<time_t, long>;

std::vector<Request> requestsOf(double seconds) {
  std::vector<Request> requests;
  const support::Replaced sleeping(library::nanosleep, [&](const timespec* request, timespec*) {
    requests.emplace_back(request->tv_sec, request->tv_nsec);
    return 0;
  });
  ulx::sleepSeconds(seconds);
  return requests;
}

TEST(SleepSeconds, AsksForWholeSecondsAndNanoseconds) {
  EXPECT_EQ(requestsOf(0.05), (std::vector<Request>{{0, 50'000'000}}));
  EXPECT_EQ(requestsOf(2.5), (std::vector<Request>{{2, 500'000'000}}));
  EXPECT_EQ(requestsOf(0), (std::vector<Request>{{0, 0}}));
  EXPECT_EQ(requestsOf(1'000'000), (std::vector<Request>{{1'000'000, 0}}));
}

TEST(SleepSeconds, DropsWhatIsLessThanANanosecond) {
  EXPECT_EQ(requestsOf(1.9e-9), (std::vector<Request>{{0, 1}}));
  EXPECT_EQ(requestsOf(0.9e-9), (std::vector<Request>{{0, 0}}));
}

TEST(SleepSeconds, SleepsWhatRemainsAfterEachSignal) {
  std::vector<Request> requests;
  {
    const support::Replaced sleeping(library::nanosleep, [&](const timespec* request, timespec* remaining) {
      requests.emplace_back(request->tv_sec, request->tv_nsec);
      if (request->tv_sec == 0) {
        return 0;
      }
      *remaining = {.tv_sec = request->tv_sec - 1, .tv_nsec = request->tv_nsec + 7};
      errno = EINTR;
      return -1;
    });
    ulx::sleepSeconds(2);
  }
  EXPECT_EQ(requests, (std::vector<Request>{{2, 0}, {1, 7}, {0, 14}}));
}

TEST(SleepSeconds, SleepsItsWholeTimeThroughSignals) {
  const InterruptingTimer timer;
  const auto start = Clock::now();
  ulx::sleepSeconds(0.05);
  EXPECT_GE(Clock::now() - start, milliseconds(50));
  EXPECT_GE(InterruptingTimer::count(), 1);
}

TEST(SleepSeconds, NamesTheCallThatFailed) {
  const auto e = caught<ulx::InvalidArgument>([] { ulx::sleepSeconds(-0.5); });
  EXPECT_EQ(e.errorNumber, EINVAL);
  EXPECT_EQ(e.text(), "Invalid argument while nanosleep\n");
}

}  // namespace
