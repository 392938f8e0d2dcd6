#include <gtest/gtest.h>

#include "sim/error.h"
#include "system/support/control_messages.h"
#include "system/support/eventually.h"
#include "system/support/held_daemon.h"

namespace {

class ControlQueries : public testing::Test {
 protected:
  /** Starts the daemon with this port; 0 says that no link is known. */
  void startWithPort(const std::string& port, const std::vector<std::string>& options = {"--debug=ctrl"}) {
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {"transmitter", port, "high"});
    unit.startDaemon(arguments);
    if (port != "0" || !options.empty()) {
      unit.waitUntilServing();
    }
  }

  /** A client that has asked and been served, but was not answered. */
  sim::LinkManager waitingClient() {
    const std::size_t before = unit.daemon().openDescriptors().size();
    sim::LinkManager client = unit.connect();
    client.send("?");
    eventually("a client kept", [&] { return unit.daemon().openDescriptors().size() > before; });
    return client;
  }

  /** The number that the daemon's next descriptor is going to have. */
  int nextDescriptor() {
    int number = 0;
    for (const int open : unit.daemon().openDescriptors()) {
      number += open == number ? 1 : 0;
    }
    return number;
  }

  std::string lastMessage() { return unit.daemon().messages().back(); }

  sim::Unit unit;
};

constexpr const char* line = "otherhost 7000 low wlan0 IN OUT";

bool isSilentAndOpen(sim::LinkManager& client) {
  try {
    static_cast<void>(client.receive(sim::Deadline(0)));
    return false;
  } catch (const sim::TimedOut&) {
    return true;
  }
}

}  // namespace

TEST_F(ControlQueries, AreAnsweredWithNothingBeforeTheFirstLineWhenThePortIsKnown) {
  startWithPort("5000");
  EXPECT_EQ(askForParameters(unit), "");
}

TEST_F(ControlQueries, AreAnsweredWithTheLineAsItCame) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(ControlQueries, AreAnsweredWithTheLatestLine) {
  startWithPort("5000");
  const sim::LinkManager first = deliver(unit, line);
  const sim::LinkManager second = deliver(unit, "third 1 full eth9 A B");
  EXPECT_EQ(askForParameters(unit), "third 1 full eth9 A B");
}

TEST_F(ControlQueries, AreAnsweredTheSameEachTime) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(ControlQueries, AreAnsweredOnceALineHasToldThePort) {
  startWithPort("0");
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(ControlQueries, MayBeAnyByte) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  for (const char byte : {'\0', '\n', ' ', '0', 'x', '\xff'}) {
    sim::LinkManager client = unit.connect();
    client.send(std::string(1, byte));
    EXPECT_EQ(client.receiveAll(), line) << static_cast<int>(byte);
  }
}

TEST_F(ControlQueries, AreAnsweredThoughTheClientSendsNoMore) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  sim::LinkManager client = unit.connect();
  client.send("?");
  client.halfClose();
  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(ControlQueries, OfAClientThatHasGoneBeforeItsAnswerDoNoHarm) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  HeldDaemon held(unit);
  sim::LinkManager client = unit.connect();
  client.send("?");
  client.close();
  held.release();
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(ControlQueries, WaitWhileThePortIsNotKnown) {
  startWithPort("0");
  sim::LinkManager client = waitingClient();
  unit.settle();
  EXPECT_TRUE(isSilentAndOpen(client));
}

TEST_F(ControlQueries, ThatWaitAreAnsweredWithTheNextLineAndClosed) {
  startWithPort("0");
  sim::LinkManager client = waitingClient();
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(ControlQueries, ThatWaitAreAllAnswered) {
  startWithPort("0");
  std::vector<sim::LinkManager> clients;
  for (int i = 0; i < 20; ++i) {
    clients.push_back(waitingClient());
  }
  const sim::LinkManager manager = deliver(unit, line);
  for (sim::LinkManager& client : clients) {
    EXPECT_EQ(client.receiveAll(), line);
  }
}

TEST_F(ControlQueries, ThatWaitAreAnsweredThoughAnotherClientHasGone) {
  startWithPort("0");
  sim::LinkManager first = waitingClient();
  sim::LinkManager second = waitingClient();
  sim::LinkManager third = waitingClient();
  second.close();
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(first.receiveAll(), line);
  EXPECT_EQ(third.receiveAll(), line);
}

TEST_F(ControlQueries, ThatWaitLeaveTheDescriptorsOfTheirClientsOpen) {
  startWithPort("0");
  const std::size_t before = unit.daemon().openDescriptors().size();
  const sim::LinkManager first = waitingClient();
  const sim::LinkManager second = waitingClient();
  EXPECT_EQ(unit.daemon().openDescriptors().size(), before + 2);
  const sim::LinkManager manager = deliver(unit, line);
  eventually("only the connection that delivered the line",
             [&] { return unit.daemon().openDescriptors().size() == before + 1; });
}

TEST_F(ControlQueries, WaitAgainAfterALineWithPortZero) {
  startWithPort("5000");
  sim::LinkManager manager = unit.connect();
  manager.send("otherhost 0 high eth1");
  unit.settle();
  unit.settle();  // the line has been served before this event
  sim::LinkManager client = waitingClient();
  EXPECT_TRUE(isSilentAndOpen(client));
  const sim::LinkManager next = deliver(unit, line);
  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(ControlQueries, AreLoggedWithTheirDescriptorAndWithoutKeys) {
  startWithPort("5000");
  const sim::LinkManager manager = deliver(unit, line);
  const int descriptor = nextDescriptor();
  askForParameters(unit);
  unit.settle();
  const std::vector<std::string> messages = unit.daemon().messages();
  EXPECT_EQ(messages.at(messages.size() - 2),
            "[rx_ctrl] immediate send otherhost 7000 low wlan0 *** *** to " + std::to_string(descriptor));
}

TEST_F(ControlQueries, AreLoggedBeforeTheFirstLineToo) {
  startWithPort("5000");
  const int descriptor = nextDescriptor();
  askForParameters(unit);
  unit.settle();
  const std::vector<std::string> messages = unit.daemon().messages();
  EXPECT_EQ(messages.at(messages.size() - 2), "[rx_ctrl] immediate send  to " + std::to_string(descriptor));
}

TEST_F(ControlQueries, ThatWaitAreNotLogged) {
  startWithPort("0");
  const std::vector<std::string> before = unit.daemon().messages();
  const sim::LinkManager client = waitingClient();
  EXPECT_EQ(unit.daemon().messages(), before);
}

TEST_F(ControlQueries, AreNotLoggedWhenTheDaemonDoesNotDebug) {
  startWithPort("5000", {});
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(unit.daemon().standardError(), "");
}
