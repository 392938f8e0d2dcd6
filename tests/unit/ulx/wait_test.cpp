#include "ulx/wait.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "unit/ulx/caught.h"
#include "unit/ulx/library_calls.h"
#include "unit/ulx/ready_descriptors.h"

namespace {

void add(ulx::FdSetRecord& sets, fd_set& set, int fd) {
  FD_SET(fd, &set);
  sets.maxFd = std::max(sets.maxFd, fd);
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

}  // namespace
