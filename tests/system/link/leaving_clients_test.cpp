// What clients that leave cost the daemon, and what those that stay keep.

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <deque>
#include <string>

#include "sim/unix_socket.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

constexpr int moreThanDescriptors = 3000;  // a daemon may usually have 1,024

sim::Descriptor connectSaying(const std::string& message) {
  sim::Descriptor client = sim::connectTo(sim::LinkManager::usualPath);
  EXPECT_EQ(::send(client.get(), message.data(), message.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(message.size()));
  return client;
}

/** A daemon whose port is not known. */
class LeavingClients : public support::DaemonFixture {
 protected:
  LeavingClients() { start(support::commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"})); }

  /** Sends a line and waits until the daemon has served it, and every client before. */
  sim::LinkManager& deliverLast() {
    sim::LinkManager& client = send();
    support::askForParameters(unit);
    return client;
  }

  [[nodiscard]] std::size_t descriptorsInUse() { return unit.daemon().openDescriptors().size(); }
};

TEST_F(LeavingClients, LeaveNoDescriptorsWhenTheyDeliveredLines) {
  const std::size_t before = descriptorsInUse();
  std::deque<sim::Descriptor> connected;
  for (int i = 0; i < moreThanDescriptors; ++i) {
    connected.push_back(connectSaying("host 5000 high eth1"));
    if (connected.size() > 20) {
      connected.pop_front();  // replaced: no more than six clients wait to be served
    }
  }
  sim::LinkManager& last = deliverLast();
  connected.clear();
  deliverLast();

  EXPECT_EQ(descriptorsInUse(), before + 2);
  EXPECT_TRUE(support::isSilentAndOpen(last));
}

TEST_F(LeavingClients, LeaveNoDescriptorsWhenTheyWaited) {
  const std::size_t before = descriptorsInUse();
  for (int i = 0; i < moreThanDescriptors; ++i) {
    connectSaying("?");
  }
  deliverLast();

  EXPECT_EQ(descriptorsInUse(), before + 1);
}

TEST_F(LeavingClients, DoNotCostOthersTheirReplacedConnections) {
  const std::size_t before = descriptorsInUse();
  sim::LinkManager& gone = deliver();
  sim::LinkManager& whole = deliver();
  sim::LinkManager& half = deliver();
  deliver();
  gone.close();
  half.halfClose();
  deliver();

  EXPECT_EQ(descriptorsInUse(), before + 4);
  EXPECT_TRUE(support::isSilentAndOpen(whole));
  EXPECT_TRUE(support::isSilentAndOpen(half));
}

TEST_F(LeavingClients, DoNotLeaveTheirTurnToTheNextClient) {
  support::acceptedClient(unit, "?").close();
  sim::LinkManager& next = deliver();
  sim::LinkManager& later = deliver();

  EXPECT_TRUE(support::isSilentAndOpen(next));
  EXPECT_TRUE(support::isSilentAndOpen(later));
}

TEST_F(LeavingClients, DoNotCostOthersTheirAnswer) {
  const std::string line = "host 5000 high eth1";
  sim::LinkManager gone = support::acceptedClient(unit, "?");
  sim::LinkManager whole = support::acceptedClient(unit, "?");
  sim::LinkManager half = support::acceptedClient(unit, "?");
  half.halfClose();
  gone.close();
  sim::LinkManager later = unit.connect();
  later.send("?");

  deliver(line);

  for (sim::LinkManager* client : {&whole, &half, &later}) {
    EXPECT_EQ(client->receiveAll(), line);
  }
}

}  // namespace
