#include "ulx/wait.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A pipe whose read end is ready.
class ReadyPipe {
 public:
  ReadyPipe() { pipe_.writeEnd.writeByte('x'); }
  [[nodiscard]] int reader() const { return pipe_.readEnd.fd(); }
  [[nodiscard]] int writer() const { return pipe_.writeEnd.fd(); }
  // The read end is no longer ready.
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
    connect(sender_.fd(), generic, size);
    receiver_.emplace(accept(listener.fd(), nullptr, nullptr), true);
    send(sender_.fd(), "!", 1, MSG_OOB);
  }
  [[nodiscard]] int receiver() const { return receiver_->fd(); }

 private:
  ulx::FileDescriptor sender_{socket(AF_INET, SOCK_STREAM, 0), true};
  std::optional<ulx::FileDescriptor> receiver_;
};

// A further number for an open descriptor, not below `lowest`.
ulx::FileDescriptor duplicate(int fd, int lowest) {
  return {fcntl(fd, F_DUPFD, lowest), true};
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

int waitWith(ulx::FdSetRecord sets, fd_set ulx::FdSetRecord::*set, int fd) {
  FD_SET(fd, &(sets.*set));
  sets.maxFd = std::max(sets.maxFd, fd);
  return waitUpToAMinute(sets);
}

// What `wait` gives to select, which then finds nothing.
struct Selection {
  int count;
  time_t seconds;
  decltype(timeval::tv_usec) microseconds;
  bool operator==(const Selection&) const = default;
};

Selection selectionOf(const std::function<void()>& wait) {
  Selection selection{};
  const support::Replaced selecting(library::select,
                                    [&](int count, fd_set*, fd_set*, fd_set*, timeval* timeout) {
                                      selection = {count, timeout->tv_sec, timeout->tv_usec};
                                      return 0;
                                    });
  wait();
  return selection;
}

TEST(WaitSets, WatchForReadingOnlyAndKeepTheHighestNumber) {
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

TEST(WaitSets, HoldNumbersUpTo1023) {
  ulx::FdSetRecord sets = readersOf({1023});
  EXPECT_TRUE(FD_ISSET(1023, &sets.readSet));
  EXPECT_EQ(support::caught<ulx::InvalidArgument>([&] {
              errno = ENOENT;
              sets.addReader(1024);
            }).text(),
            "Invalid argument while select()\n");
  EXPECT_EQ(sets.maxFd, 1023);
  for (const int negative : {-1, -64, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(support::caught<ulx::InvalidArgument>([&] {
                errno = ENOENT;
                sets.addReader(negative);
              }).text(),
              "Invalid argument while select()\n");
  }
  sets.maxFd = 1024;
  EXPECT_EQ(support::caught<ulx::InvalidArgument>([&] {
              errno = ENOENT;
              waitUpToAMinute(sets);
            }).text(),
            "Invalid argument while select()\n");
}

TEST(Wait, ReturnsTheLowestReadyReaderAndLeavesWhatIsReady) {
  const ulx::Pipe idle;
  const ReadyPipe first;
  const ReadyPipe second;
  const auto all = readersOf({second.reader(), idle.readEnd.fd(), first.reader()});
  auto sets = all;
  EXPECT_EQ(waitUpToAMinute(sets), first.reader());
  EXPECT_FALSE(FD_ISSET(idle.readEnd.fd(), &sets.readSet));
  EXPECT_TRUE(FD_ISSET(first.reader(), &sets.readSet));
  EXPECT_TRUE(FD_ISSET(second.reader(), &sets.readSet));
  first.empty();
  sets = all;
  EXPECT_EQ(waitUpToAMinute(sets), second.reader());
}

TEST(Wait, ReturnsTheLowestDescriptorOfAllSets) {
  const UrgentConnection urgent;
  const ReadyPipe ready;
  const ulx::FileDescriptor highReader = duplicate(ready.reader(), 100);
  const ulx::FileDescriptor highUrgent = duplicate(urgent.receiver(), 100);
  const auto excepts = &ulx::FdSetRecord::exceptSet;
  const auto writes = &ulx::FdSetRecord::writeSet;
  EXPECT_EQ(waitWith({}, excepts, urgent.receiver()), urgent.receiver());
  EXPECT_EQ(waitWith(readersOf({highReader.fd()}), excepts, urgent.receiver()), urgent.receiver());
  EXPECT_EQ(waitWith(readersOf({ready.reader()}), excepts, highUrgent.fd()), ready.reader());
  EXPECT_EQ(waitWith(readersOf({highReader.fd()}), writes, ready.writer()), ready.writer());
}

TEST(Wait, ReturnsTheHighestNumberOfASet) {
  rlimit old{};
  getrlimit(RLIMIT_NOFILE, &old);
  const rlimit enough{.rlim_cur = std::max<rlim_t>(FD_SETSIZE, old.rlim_cur), .rlim_max = old.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &enough), 0);
  const ReadyPipe ready;
  const ulx::FileDescriptor reader = duplicate(ready.reader(), 1023);
  ASSERT_EQ(reader.fd(), 1023);
  EXPECT_EQ(ulx::waitForFd(readersOf({1023}), 60), 1023);
}

TEST(Wait, WithoutATimeoutGoesOnThroughSignals) {
  const ulx::Pipe pipe;
  const InterruptingTimer timer(pipe.writeEnd.fd());
  ulx::FdSetRecord sets = readersOf({pipe.readEnd.fd()});
  EXPECT_EQ(ulx::waitReady(sets, nullptr), pipe.readEnd.fd());
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST(Wait, LastsItsWholeTimeThroughSignals) {
  const InterruptingTimer timer;
  ulx::FdSetRecord none;
  timeval timeout{.tv_sec = 0, .tv_usec = 50'000};
  const auto start = Clock::now();
  EXPECT_EQ(ulx::waitReady(none, &timeout), -1);
  EXPECT_GE(Clock::now() - start, milliseconds(50));
  EXPECT_GE(InterruptingTimer::count(), 1);
}

TEST(Wait, GoesOnWithTheRestOfItsTimeoutAfterASignal) {
  std::vector<time_t> seconds;
  timeval timeout{.tv_sec = 2, .tv_usec = 0};
  const support::Replaced selecting(library::select, [&](int, fd_set*, fd_set*, fd_set*, timeval* given) {
    seconds.push_back(given->tv_sec);
    given->tv_sec = 1;
    errno = EINTR;
    return seconds.size() < 2 ? -1 : 0;
  });
  ulx::FdSetRecord none;
  ulx::waitReady(none, &timeout);
  EXPECT_EQ(seconds, (std::vector<time_t>{2, 1}));
  EXPECT_EQ(timeout.tv_sec, 1);
}

TEST(Wait, ThrowsABareTextWhenSelectCountsWhatIsNotThere) {
  ulx::FdSetRecord sets = readersOf({3});
  const support::Replaced selecting(library::select, [&](int, fd_set* reads, fd_set*, fd_set*, timeval*) {
    FD_ZERO(reads);
    return 1;
  });
  EXPECT_EQ(support::bareTextThrownBy([&] { waitUpToAMinute(sets); }), "not reached");
}

TEST(Wait, ForSecondsAsksForWholeOnesAndWholeMicroseconds) {
  const auto selectionFor = [](float seconds) {
    return selectionOf([=] { ulx::waitForFd(readersOf({3, 41}), seconds); });
  };
  EXPECT_EQ(selectionFor(2.5F), (Selection{42, 2, 500'000}));
  EXPECT_EQ(selectionFor(3), (Selection{42, 3, 0}));
  EXPECT_EQ(selectionFor(1'000'000), (Selection{42, 1'000'000, 0}));
  EXPECT_EQ(selectionFor(2.3F), (Selection{42, 2, 299'999}));  // 2.3F is a little less than 2.3
}

TEST(Wait, ForSecondsEndsAfterThem) {
  const ulx::Pipe idle;
  const auto start = Clock::now();
  EXPECT_EQ(ulx::waitForFd(readersOf({idle.readEnd.fd()}), 0.03F), -1);
  EXPECT_GE(Clock::now() - start, milliseconds(29));
}

TEST(Wait, ForSecondsAndPollingKeepTheSets) {
  const ReadyPipe first;
  const ReadyPipe second;
  const ulx::FdSetRecord sets = readersOf({first.reader(), second.reader()});
  EXPECT_EQ(ulx::waitForFd(ulx::FdSetRecord(sets), 60), first.reader());
  first.empty();
  EXPECT_EQ(ulx::waitForFd(ulx::FdSetRecord(sets), 60), second.reader());
  EXPECT_TRUE(ulx::pollFd(ulx::FdSetRecord(sets)));
  EXPECT_TRUE(ulx::pollFd(ulx::FdSetRecord(sets)));
  second.empty();
  EXPECT_FALSE(ulx::pollFd(ulx::FdSetRecord(sets)));
}

TEST(Wait, IsNoneForPolling) {
  EXPECT_EQ(selectionOf([] { ulx::pollFd(readersOf({3})); }), (Selection{4, 0, 0}));
}

TEST(Wait, ThatFailsIsThrown) {
  std::optional<ulx::Pipe> pipe(std::in_place);
  const ulx::FdSetRecord closed = readersOf({pipe->readEnd.fd()});
  pipe.reset();
  EXPECT_EQ(
      support::caught<ulx::ErrnoException>([&] { ulx::waitForFd(ulx::FdSetRecord(closed), 60); }).text(),
      "Bad file descriptor while select()\n");
  EXPECT_EQ(support::caught<ulx::ErrnoException>([&] { ulx::pollFd(ulx::FdSetRecord(closed)); }).text(),
            "Bad file descriptor while select()\n");
  EXPECT_EQ(support::caught<ulx::InvalidArgument>([] { ulx::waitForFd(ulx::FdSetRecord(), -1); }).text(),
            "Invalid argument while select()\n");
}

}  // namespace
