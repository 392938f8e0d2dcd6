#include "control/departed_clients.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <list>
#include <memory>
#include <set>

#include "sim/descriptor.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "unit/control/control_fixture.h"

namespace {

constexpr const char* parameters = "host 5000 full eth1 in out";

class DepartedClients : public ControlRequests {
 protected:
  /** A client that delivered parameters; its connection has been replaced. */
  support::ControlClient replaced() {
    support::ControlClient client = deliver(parameters);
    ctrl_->replacedConnections.insert(served_);
    ctrl_->port = 0;
    return client;
  }
};

TEST_F(DepartedClients, AreClosedWhenTheirConnectionWasReplaced) {
  support::ControlClient gone = replaced();
  const int number = served_;
  const support::ControlClient there = replaced();
  gone.disconnect();
  closeDepartedClients(*ctrl_);
  EXPECT_FALSE(support::isOpen(number));
  EXPECT_FALSE(there.isDisconnected());
  EXPECT_EQ(ctrl_->replacedConnections, std::set<int>{served_});
}

TEST_F(DepartedClients, AreClosedWhenTheyWaitedAndLeaveTheList) {
  support::ControlClient gone = ask();
  const support::ControlClient there = ask();
  const std::list<int> numbers = ctrl_->waitingClients;
  gone.disconnect();
  closeDepartedClients(*ctrl_);
  EXPECT_FALSE(support::isOpen(numbers.front()));
  EXPECT_FALSE(there.isDisconnected());
  EXPECT_EQ(ctrl_->waitingClients, std::list<int>{numbers.back()});
}

TEST_F(DepartedClients, AreClosedBeforeTheNextClientIsAccepted) {
  support::ControlClient gone = ask();
  gone.disconnect();
  const support::ControlClient next = connectSaying("?");
  support::inChild([this] {
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(serveControlClient(*ctrl_), 0);
  });
}

TEST_F(DepartedClients, AreNotThoseThatHaveOnlyEndedTheirSending) {
  const support::ControlClient waiting = ask();
  const support::ControlClient earlier = replaced();
  waiting.finish();
  earlier.finish();
  closeDepartedClients(*ctrl_);
  EXPECT_FALSE(waiting.isDisconnected());
  EXPECT_FALSE(earlier.isDisconnected());
  EXPECT_TRUE(ctrl_->replacedConnections.contains(served_));
}

// Its number may be that of a client that waited, or of a connection that was replaced and closed.
TEST_F(DepartedClients, AreNotTheControlConnectionWhoseEndTheMainLoopSees) {
  support::ControlClient client = deliver(parameters);
  ctrl_->controlConnection = std::make_unique<ControlConnection>(served_);
  ctrl_->waitingClients.push_back(served_);
  ctrl_->replacedConnections.insert(served_);
  client.disconnect();
  closeDepartedClients(*ctrl_);
  EXPECT_TRUE(support::isOpen(served_));
}

TEST_F(DepartedClients, AreNotTheListener) {
  shutdown(ctrl_->listener.fd(), SHUT_RDWR);  // it is hung up, as a client that has gone is
  ctrl_->waitingClients.push_back(ctrl_->listener.fd());
  ctrl_->replacedConnections.insert(ctrl_->listener.fd());
  closeDepartedClients(*ctrl_);
  EXPECT_TRUE(support::isOpen(ctrl_->listener.fd()));
}

TEST_F(DepartedClients, AreNotWhateverElseHasTheirNumberByNow) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const sim::Descriptor stream(ends[0]);
  close(ends[1]);
  ctrl_->waitingClients.push_back(stream.get());
  ctrl_->replacedConnections.insert(stream.get());
  closeDepartedClients(*ctrl_);
  EXPECT_TRUE(support::isOpen(stream.get()));
  EXPECT_TRUE(ctrl_->replacedConnections.empty());
}

TEST_F(DepartedClients, AreForgottenWhenTheirConnectionIsClosedAlready) {
  const int number = support::nextDescriptor();
  ctrl_->waitingClients.push_back(number);
  ctrl_->replacedConnections.insert(number);
  closeDepartedClients(*ctrl_);
  EXPECT_TRUE(ctrl_->replacedConnections.empty());
}

TEST_F(DepartedClients, LeaveNothingBehindHoweverManyAsked) {
  const auto before = support::openDescriptors();
  for (int i = 0; i < 3000; ++i) {
    ask().disconnect();
  }
  closeDepartedClients(*ctrl_);
  EXPECT_EQ(support::openDescriptors(), before);
  EXPECT_TRUE(ctrl_->waitingClients.empty());
}

}  // namespace
