#include "examples/usbip/transmitter/poll_set.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>

#include "sim/descriptor.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/thrown.h"
#include "ulx/pipe.h"
#include "unit/ulx/interrupting_timer.h"

namespace {

constexpr int longTime = 60'000;

TEST(PollSet, EndsItsWaitWhenSomethingCanBeRead) {
  ulx::Pipe idle;
  ulx::Pipe written;
  written.writeEnd.writeByte('x');
  usbip::PollSet set;
  set.add(idle.readEnd.fd(), POLLIN);
  set.add(written.readEnd.fd(), POLLIN);
  set.wait(longTime);
  EXPECT_TRUE(set.hasEvent(written.readEnd.fd()));
  EXPECT_FALSE(set.hasEvent(idle.readEnd.fd()));
}

TEST(PollSet, EndsItsWaitAfterTheTime) {
  const ulx::Pipe idle;
  usbip::PollSet set;
  set.add(idle.readEnd.fd(), POLLIN);
  set.wait(1);
  EXPECT_FALSE(set.hasEvent(idle.readEnd.fd()));
}

TEST(PollSet, HasNoEventWhenASignalEndsItsWait) {
  const ulx::Pipe idle;
  const InterruptingTimer timer;
  usbip::PollSet set;
  set.add(idle.readEnd.fd(), POLLIN);
  set.wait(longTime);
  EXPECT_FALSE(set.hasEvent(idle.readEnd.fd()));
}

TEST(PollSet, HasNoEventOfADescriptorThatIsNotInIt) {
  ulx::Pipe written;
  written.writeEnd.writeByte('x');
  usbip::PollSet set;
  set.wait(0);
  EXPECT_FALSE(set.hasEvent(written.readEnd.fd()));
}

TEST(PollSet, NoticesAHangUpAndNotWhatArrivesWhereOnlyThatIsAskedFor) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const sim::Descriptor own(ends[0]);
  sim::Descriptor theirs(ends[1]);
  ASSERT_EQ(::send(theirs.get(), "x", 1, 0), 1);
  usbip::PollSet before;
  before.add(own.get(), POLLRDHUP);
  before.wait(0);
  EXPECT_FALSE(before.hasEvent(own.get()));
  theirs.close();
  usbip::PollSet after;
  after.add(own.get(), POLLRDHUP);
  after.wait(longTime);
  EXPECT_TRUE(after.hasEvent(own.get()));
}

TEST(PollSet, NamesTheCallThatFails) {
  support::inChild([] {
    constexpr int moreThanTheLimit = 1000;
    support::limitFurtherDescriptors(0);
    usbip::PollSet set;
    for (int i = 0; i < moreThanTheLimit; ++i) {
      set.add(0, POLLIN);
    }
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([&set] { set.wait(0); }), "poll()");
  });
}

}  // namespace
