#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "ulx/wait.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"
#include "unit/ulx/ready_descriptors.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Seconds and microseconds.
using Timeout = std::pair<time_t, suseconds_t>;

// The time-outs that `wait` gives to select, which finds nothing.
std::vector<Timeout> timeoutsOf(const std::function<void()>& wait) {
  std::vector<Timeout> timeouts;
  const support::Replaced selecting(library::select, [&](int, fd_set*, fd_set*, fd_set*, timeval* timeout) {
    timeouts.emplace_back(timeout->tv_sec, timeout->tv_usec);
    return 0;
  });
  wait();
  return timeouts;
}

std::vector<Timeout> timeoutsOfWaitFor(float seconds) {
  return timeoutsOf([seconds] { ulx::waitForFd(ulx::FdSetRecord(), seconds); });
}

TEST(WaitReady, WaitsWithoutLimitWhereNoTimeoutIsGiven) {
  const ulx::Pipe pipe;
  const InterruptingTimer timer(pipe.writeEnd.fd());
  ulx::FdSetRecord sets = readersOf({pipe.readEnd.fd()});
  EXPECT_EQ(ulx::waitReady(sets, nullptr), pipe.readEnd.fd());
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST(WaitReady, WaitsItsWholeTimeThroughSignals) {
  const InterruptingTimer timer;
  ulx::FdSetRecord none;
  timeval timeout{.tv_sec = 0, .tv_usec = 50'000};
  const auto start = Clock::now();
  EXPECT_EQ(ulx::waitReady(none, &timeout), -1);
  EXPECT_GE(Clock::now() - start, milliseconds(50));
  EXPECT_GE(InterruptingTimer::count(), 1);
}

TEST(WaitReady, WaitsOnWithTheSameTimeoutAfterASignal) {
  std::vector<Timeout> timeouts;
  timeval timeout{.tv_sec = 2, .tv_usec = 0};
  {
    const support::Replaced selecting(library::select, [&](int, fd_set*, fd_set*, fd_set*, timeval* given) {
      timeouts.emplace_back(given->tv_sec, given->tv_usec);
      given->tv_sec = 1;
      errno = EINTR;
      return timeouts.size() < 2 ? -1 : 0;
    });
    ulx::FdSetRecord none;
    ulx::waitReady(none, &timeout);
  }
  EXPECT_EQ(timeouts, (std::vector<Timeout>{{2, 0}, {1, 0}}));
  EXPECT_EQ(timeout.tv_sec, 1);
}

TEST(WaitForFd, SplitsSecondsIntoWholeOnesAndMicroseconds) {
  EXPECT_EQ(timeoutsOfWaitFor(2.5F), (std::vector<Timeout>{{2, 500'000}}));
  EXPECT_EQ(timeoutsOfWaitFor(3), (std::vector<Timeout>{{3, 0}}));
  EXPECT_EQ(timeoutsOfWaitFor(1'000'000), (std::vector<Timeout>{{1'000'000, 0}}));
}

TEST(WaitForFd, DropsWhatIsLessThanAMicrosecond) {
  EXPECT_EQ(timeoutsOfWaitFor(2.3F), (std::vector<Timeout>{{2, 299'999}}));
}

TEST(WaitForFd, GivesTheReadyDescriptorAndKeepsTheSets) {
  const ReadyPipe first;
  const ReadyPipe second;
  const ulx::FdSetRecord sets = readersOf({first.reader().fd(), second.reader().fd()});
  EXPECT_EQ(ulx::waitForFd(sets, 60), first.reader().fd());
  first.empty();
  EXPECT_EQ(ulx::waitForFd(sets, 60), second.reader().fd());
}

TEST(WaitForFd, GivesNoneAfterItsTime) {
  const ulx::Pipe idle;
  const auto start = Clock::now();
  EXPECT_EQ(ulx::waitForFd(readersOf({idle.readEnd.fd()}), 0.03F), -1);
  EXPECT_GE(Clock::now() - start, milliseconds(29));
}

TEST(WaitForFd, NamesTheCallThatFailed) {
  const auto e = caught<ulx::InvalidArgument>([] { ulx::waitForFd(ulx::FdSetRecord(), -1); });
  EXPECT_EQ(e.text(), "Invalid argument while select()\n");
}

TEST(PollFd, TellsWhetherAnyIsReadyAndKeepsTheSets) {
  const ulx::Pipe idle;
  const ReadyPipe ready;
  const ulx::FdSetRecord sets = readersOf({idle.readEnd.fd(), ready.reader().fd()});
  EXPECT_TRUE(ulx::pollFd(sets));
  EXPECT_TRUE(ulx::pollFd(sets));
  ready.empty();
  EXPECT_FALSE(ulx::pollFd(sets));
}

TEST(PollFd, DoesNotWait) {
  EXPECT_EQ(timeoutsOf([] { ulx::pollFd(ulx::FdSetRecord()); }), (std::vector<Timeout>{{0, 0}}));
}

TEST(PollFd, NamesTheCallThatFailed) {
  std::optional<ulx::Pipe> pipe(std::in_place);
  const ulx::FdSetRecord closed = readersOf({pipe->readEnd.fd()});
  pipe.reset();
  EXPECT_EQ(textCaught([&] { ulx::pollFd(closed); }), "Bad file descriptor while select()");
}

}  // namespace
