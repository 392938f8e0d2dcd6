#include "ulx/wait.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "tests/ulx/caught.h"
#include "tests/ulx/interrupting_timer.h"
#include "tests/ulx/library_calls.h"
#include "ulx/pipe.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Seconds and microseconds.
using Timeout = std::pair<time_t, suseconds_t>;

// A pipe whose read end is ready.
class ReadyPipe {
 public:
  ReadyPipe() { pipe_.writeEnd.writeByte('x'); }

  [[nodiscard]] const ulx::FileDescriptor& reader() const { return pipe_.readEnd; }
  [[nodiscard]] const ulx::FileDescriptor& writer() const { return pipe_.writeEnd; }
  // It is ready for writing still.
  void empty() const { static_cast<void>(pipe_.readEnd.readSome()); }

 private:
  ulx::Pipe pipe_;
};

// A loopback connection whose receiver has urgent data: an exceptional condition.
class UrgentConnection {
 public:
  UrgentConnection() {
    const ulx::FileDescriptor listener(socket(AF_INET, SOCK_STREAM, 0), true);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    bind(listener.fd(), generic, size);
    listen(listener.fd(), 1);
    getsockname(listener.fd(), generic, &size);
    sender_.emplace(socket(AF_INET, SOCK_STREAM, 0), true);
    connect(sender_->fd(), generic, size);
    receiver_.emplace(accept(listener.fd(), nullptr, nullptr), true);
    send(sender_->fd(), "!", 1, MSG_OOB);
  }

  [[nodiscard]] int receiver() const { return receiver_->fd(); }

 private:
  std::optional<ulx::FileDescriptor> sender_;
  std::optional<ulx::FileDescriptor> receiver_;
};

// A further number for an open descriptor, not below `lowest`.
class Duplicate {
 public:
  Duplicate(int fd, int lowest) : duplicate_(fcntl(fd, F_DUPFD, lowest), true) {}
  [[nodiscard]] int fd() const { return duplicate_.fd(); }

 private:
  ulx::FileDescriptor duplicate_;
};

void add(ulx::FdSetRecord& sets, fd_set& set, int fd) {
  FD_SET(fd, &set);
  sets.maxFd = std::max(sets.maxFd, fd);
}

ulx::FdSetRecord readersOf(std::initializer_list<int> fds) {
  ulx::FdSetRecord sets;
  for (const int fd : fds) {
    sets.addReader(fd);
  }
  return sets;
}

// A wait that goes wrong ends the test instead of hanging it.
int waitUpToAMinute(ulx::FdSetRecord& sets) {
  timeval timeout{.tv_sec = 60, .tv_usec = 0};
  return ulx::waitReady(sets, &timeout);
}

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

TEST(AddReader, WatchesForReadingOnlyAndKeepsTheHighestNumber) {
  ulx::FdSetRecord sets;
  EXPECT_EQ(sets.maxFd, -1);
  sets.addReader(7);
  EXPECT_EQ(sets.maxFd, 7);
  sets.addReader(3);
  EXPECT_EQ(sets.maxFd, 7);
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    EXPECT_EQ(FD_ISSET(fd, &sets.readSet) != 0, fd == 3 || fd == 7) << fd;
    EXPECT_FALSE(FD_ISSET(fd, &sets.writeSet)) << fd;
    EXPECT_FALSE(FD_ISSET(fd, &sets.exceptSet)) << fd;
  }
}

TEST(AddReader, TakesTheHighestNumberThatASetHolds) {
  const ulx::FdSetRecord sets = readersOf({FD_SETSIZE - 1});
  EXPECT_EQ(sets.maxFd, 1023);
  EXPECT_TRUE(FD_ISSET(FD_SETSIZE - 1, &sets.readSet));
}

TEST(AddReader, RefusesANumberThatNoSetHolds) {
  ulx::FdSetRecord sets = readersOf({3});
  const auto e = caught<ulx::InvalidArgument>([&] {
    errno = ENOENT;
    sets.addReader(FD_SETSIZE);
  });
  EXPECT_EQ(e.text(), "Invalid argument while select()\n");
  EXPECT_EQ(sets.maxFd, 3);
}

TEST(WaitReady, GivesTheLowestOfSeveralReaders) {
  const ReadyPipe first;
  const ReadyPipe second;
  const ReadyPipe third;
  ulx::FdSetRecord sets = readersOf({third.reader().fd(), first.reader().fd(), second.reader().fd()});
  EXPECT_EQ(waitUpToAMinute(sets), first.reader().fd());
}

TEST(WaitReady, GivesTheReadyOneAmongOthers) {
  const ulx::Pipe idle;
  const ReadyPipe ready;
  ulx::FdSetRecord sets = readersOf({idle.readEnd.fd(), ready.reader().fd()});
  EXPECT_EQ(waitUpToAMinute(sets), ready.reader().fd());
}

TEST(WaitReady, GivesALowExceptionalConditionBeforeAHighReader) {
  const UrgentConnection urgent;
  const ReadyPipe ready;
  const Duplicate reader(ready.reader().fd(), urgent.receiver() + 1);
  ulx::FdSetRecord sets = readersOf({reader.fd()});
  add(sets, sets.exceptSet, urgent.receiver());
  EXPECT_EQ(waitUpToAMinute(sets), urgent.receiver());
}

TEST(WaitReady, GivesALowReaderBeforeAHighExceptionalCondition) {
  const UrgentConnection urgent;
  const ReadyPipe ready;
  const Duplicate receiver(urgent.receiver(), ready.reader().fd() + 1);
  ulx::FdSetRecord sets = readersOf({ready.reader().fd()});
  add(sets, sets.exceptSet, receiver.fd());
  EXPECT_EQ(waitUpToAMinute(sets), ready.reader().fd());
}

TEST(WaitReady, GivesALowWriterBeforeAHighReader) {
  const ReadyPipe ready;
  const Duplicate reader(ready.reader().fd(), ready.writer().fd() + 1);
  ulx::FdSetRecord sets = readersOf({reader.fd()});
  add(sets, sets.writeSet, ready.writer().fd());
  EXPECT_EQ(waitUpToAMinute(sets), ready.writer().fd());
}

TEST(WaitReady, GivesAnExceptionalConditionAlone) {
  const UrgentConnection urgent;
  ulx::FdSetRecord sets;
  add(sets, sets.exceptSet, urgent.receiver());
  EXPECT_EQ(waitUpToAMinute(sets), urgent.receiver());
}

TEST(WaitReady, GivesTheOthersInLaterCalls) {
  const ReadyPipe first;
  const ReadyPipe second;
  ulx::FdSetRecord sets = readersOf({first.reader().fd(), second.reader().fd()});
  ASSERT_EQ(waitUpToAMinute(sets), first.reader().fd());
  first.empty();
  sets = readersOf({first.reader().fd(), second.reader().fd()});
  EXPECT_EQ(waitUpToAMinute(sets), second.reader().fd());
}

TEST(WaitReady, LeavesWhatIsReadyInTheSets) {
  const ulx::Pipe idle;
  const ReadyPipe ready;
  ulx::FdSetRecord sets = readersOf({idle.readEnd.fd(), ready.reader().fd()});
  waitUpToAMinute(sets);
  EXPECT_FALSE(FD_ISSET(idle.readEnd.fd(), &sets.readSet));
  EXPECT_TRUE(FD_ISSET(ready.reader().fd(), &sets.readSet));
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

TEST(WaitReady, AsksForNumbersUpToTheHighest) {
  int asked = 0;
  {
    const support::Replaced selecting(library::select, [&](int count, fd_set*, fd_set*, fd_set*, timeval*) {
      asked = count;
      return 0;
    });
    ulx::FdSetRecord sets = readersOf({3, 41});
    ulx::waitReady(sets, nullptr);
  }
  EXPECT_EQ(asked, 42);
}

TEST(WaitReady, GivesTheHighestNumberThatASetHolds) {
  rlimit old{};
  getrlimit(RLIMIT_NOFILE, &old);
  const rlimit enough{.rlim_cur = std::max<rlim_t>(FD_SETSIZE, old.rlim_cur), .rlim_max = old.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &enough), 0);
  const ReadyPipe ready;
  const Duplicate reader(ready.reader().fd(), FD_SETSIZE - 1);
  ASSERT_EQ(reader.fd(), FD_SETSIZE - 1);
  ulx::FdSetRecord sets = readersOf({reader.fd()});
  EXPECT_EQ(waitUpToAMinute(sets), FD_SETSIZE - 1);
}

TEST(WaitReady, RefusesAHighestNumberThatNoSetHolds) {
  ulx::FdSetRecord sets;
  sets.maxFd = FD_SETSIZE;
  timeval timeout{};
  const auto e = caught<ulx::InvalidArgument>([&] {
    errno = ENOENT;
    ulx::waitReady(sets, &timeout);
  });
  EXPECT_EQ(e.text(), "Invalid argument while select()\n");
}

TEST(WaitReady, NamesTheCallThatFailed) {
  std::optional<ulx::Pipe> pipe(std::in_place);
  ulx::FdSetRecord closed = readersOf({pipe->readEnd.fd()});
  pipe.reset();
  const auto e = caught<ulx::ErrnoException>([&] { waitUpToAMinute(closed); });
  EXPECT_EQ(e.errorNumber, EBADF);
  EXPECT_EQ(e.text(), "Bad file descriptor while select()\n");
}

TEST(WaitReady, ThrowsABareTextWhenSelectCountsWhatIsNotThere) {
  ulx::FdSetRecord sets = readersOf({3});
  const support::Replaced selecting(library::select, [&](int, fd_set* reads, fd_set*, fd_set*, timeval*) {
    FD_ZERO(reads);
    return 1;
  });
  try {
    FAIL() << "gave " << waitUpToAMinute(sets);
  } catch (const char* text) {
    EXPECT_STREQ(text, "not reached");
  }
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
