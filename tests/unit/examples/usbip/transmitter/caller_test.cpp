#include "examples/usbip/transmitter/caller.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "sim/descriptor.h"
#include "support/descriptors.h"
#include "support/thrown.h"
#include "unit/examples/usbip/transmitter/library_calls.h"
#include "unit/examples/usbip/transmitter/made_up_worker.h"

namespace {

using usbip::Caller;
using usbip::Verdict;
using worker::Bytes;

const usbip::Admission withoutKeys;

// A caller and its other end.
class CallerTest : public testing::Test {
 protected:
  CallerTest() : CallerTest(connectedSockets()) {}

  void say(std::span<const std::uint8_t> bytes) const {
    ASSERT_EQ(::send(workersEnd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  [[nodiscard]] Bytes heard() const {
    Bytes bytes(4096);
    const ssize_t size = ::recv(workersEnd.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return bytes;
  }
  [[nodiscard]] bool hearsTheEnd() const {
    char byte = 0;
    return ::recv(workersEnd.get(), &byte, 1, MSG_DONTWAIT) == 0;
  }
  std::string refusal() {
    return support::caught<ulx::StrException>([this] { caller.serve(); }).message;
  }
  // As the descriptor shows them.
  void serveAll() {
    caller.serve();
    caller.serve();
  }

  sim::Descriptor workersEnd;
  Caller caller;

 private:
  using Sockets = std::array<int, 2>;

  static Sockets connectedSockets() {
    Sockets sockets{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, sockets.data()), 0);
    return sockets;
  }

  explicit CallerTest(const Sockets& sockets)
      : workersEnd(sockets[0]),
        caller({std::make_unique<ulx::FileDescriptor>(sockets[1], true), {.text = "::1", .isLocal = true}},
               {withoutKeys, true, usbip::Challenge{}}) {}
};

TEST_F(CallerTest, IsNamedByItsAddress) {
  EXPECT_EQ(caller.address(), "::1");
}

TEST_F(CallerTest, HasTenSeconds) {
  const auto left = caller.deadline() - Caller::Clock::now();
  EXPECT_LE(left, std::chrono::seconds(10));
  EXPECT_GT(left, std::chrono::seconds(9));
  EXPECT_NO_THROW(caller.expectInTime());
}

TEST_F(CallerTest, IsAnsweredAndOffersItsDevice) {
  say(worker::greeting());
  serveAll();
  EXPECT_EQ(heard().size(), usbip::greetingSize);
  EXPECT_EQ(caller.offer(), nullptr);
  say(usbip::encode(worker::offer()));
  caller.serve();
  ASSERT_NE(caller.offer(), nullptr);
  EXPECT_EQ(caller.offer()->busId, "1-2");
  caller.answerOffer(Verdict::noFreePort);
  EXPECT_EQ(heard(), Bytes{static_cast<std::uint8_t>(Verdict::noFreePort)});
}

TEST_F(CallerTest, LeavesInItsConnectionWhatComesBehindTheOffer) {
  Bytes said = worker::bytesOf(worker::greeting());
  const Bytes offer = worker::bytesOf(usbip::encode(worker::offer()));
  said.insert(said.end(), offer.begin(), offer.end());
  said.push_back('k');
  say(said);
  serveAll();
  caller.serve();
  ASSERT_NE(caller.offer(), nullptr);
  const std::unique_ptr<ulx::FileDescriptor> socket = caller.handOver();
  EXPECT_TRUE(caller.hasEnded());
  std::uint8_t next = 0;
  socket->readByte(next);
  EXPECT_EQ(next, 'k');
}

TEST_F(CallerTest, IsRefusedForWhatItSays) {
  say(Bytes(usbip::greetingStartSize, 'x'));
  EXPECT_EQ(refusal(), "this is no greeting");
}

TEST_F(CallerTest, IsRefusedWhenItLeaves) {
  say(worker::startOf(worker::greeting(), 20));
  caller.serve();
  caller.serve();
  workersEnd.close();
  EXPECT_EQ(refusal(), "it left before it had said all of the greeting");
}

TEST_F(CallerTest, IsRefusedWhenItDoesNotTakeWhatIsSent) {
  const Bytes filling(4096);
  while (::send(caller.fd(), filling.data(), filling.size(), MSG_NOSIGNAL) > 0) {
  }
  say(worker::greeting());
  caller.serve();
  EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { caller.serve(); }), "send()");
}

TEST_F(CallerTest, IsRefusedWhenItTakesOnlyABeginningOfWhatIsSent) {
  say(worker::greeting());
  caller.serve();
  const support::Replaced shortSend(library::send, [](int fd, const void* buffer, std::size_t, int flags) {
    return library::send.real(fd, buffer, 1, flags);
  });
  EXPECT_EQ(refusal(), "it does not take what is sent");
}

TEST_F(CallerTest, IsRefusedWithoutASignalWhenNobodyHearsTheAnswer) {
  say(worker::greeting());
  caller.serve();
  workersEnd.close();
  EXPECT_EQ(support::contextThrownBy<ulx::BrokenPipe>([this] { caller.serve(); }), "send()");
}

TEST_F(CallerTest, EndsAtOnceWhenItIsDismissedWithoutAnAnswer) {
  caller.dismiss();
  EXPECT_TRUE(caller.hasEnded());
}

TEST_F(CallerTest, IsLeftASecondToReadTheAnswerWhenItIsDismissed) {
  say(worker::greetingOfVersion(2));
  EXPECT_EQ(refusal(), "version 2 of the exchange is spoken there, version 1 here");
  caller.dismiss();
  EXPECT_FALSE(caller.hasEnded());
  EXPECT_LE(caller.deadline() - Caller::Clock::now(), std::chrono::seconds(1));
  EXPECT_EQ(heard().size(), usbip::greetingSize);
  EXPECT_TRUE(hearsTheEnd());
}

TEST_F(CallerTest, IsHeardNoMoreWhenItIsDismissed) {
  say(worker::greetingOfVersion(2));
  static_cast<void>(refusal());
  caller.dismiss();
  say(worker::greeting());
  caller.serve();
  EXPECT_FALSE(caller.hasEnded());
  EXPECT_EQ(caller.offer(), nullptr);
  workersEnd.close();
  caller.serve();
  EXPECT_TRUE(caller.hasEnded());
}

TEST_F(CallerTest, OffersNothingMoreWhenItsDeviceIsRefused) {
  say(worker::greeting());
  serveAll();
  say(usbip::encode(worker::offer()));
  caller.serve();
  caller.answerOffer(Verdict::noFreePort);
  caller.dismiss();
  EXPECT_EQ(caller.offer(), nullptr);
}

}  // namespace
