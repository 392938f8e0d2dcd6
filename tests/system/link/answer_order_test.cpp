// In which order waiting clients are answered.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <ctime>
#include <string>
#include <vector>

#include "sim/error.h"
#include "sim/unix_socket.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

/** Queued in the order in which it is sent, unlike ordinary signals. */
const int arrivalSignal = SIGRTMIN + 1;

/** A client of the control socket whose answer raises a signal. */
class SignallingClient {
 public:
  SignallingClient() {
    if (::fcntl(connection_.get(), F_SETOWN, ::getpid()) != 0 ||
        ::fcntl(connection_.get(), F_SETSIG, arrivalSignal) != 0 ||
        ::fcntl(connection_.get(), F_SETFL, O_ASYNC) != 0) {
      throw sim::systemError("connecting a client that signals");
    }
  }

  [[nodiscard]] int descriptor() const { return connection_.get(); }
  void ask() const { ASSERT_EQ(::send(connection_.get(), "?", 1, MSG_NOSIGNAL), 1); }

 private:
  sim::Descriptor connection_ = sim::connectTo(sim::LinkManager::usualPath);
};

/** Holds the signals back until they are asked for. */
class Arrivals {
 public:
  Arrivals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, arrivalSignal);
    ::sigprocmask(SIG_BLOCK, &signals_, nullptr);
  }

  /** The descriptors to which something was sent, in the order of the sending. */
  [[nodiscard]] std::vector<int> take() const {
    std::vector<int> descriptors;
    siginfo_t arrival{};
    const timespec atOnce{};
    while (::sigtimedwait(&signals_, &arrival, &atOnce) == arrivalSignal) {
      if (arrival.si_code == POLL_IN) {
        descriptors.push_back(arrival.si_fd);
      }
    }
    return descriptors;
  }

 private:
  sigset_t signals_{};
};

class AnswerOrder : public support::DaemonFixture {
 protected:
  Arrivals arrivals;
};

TEST_F(AnswerOrder, IsThatOfTheConnectionsThoughTheyAskedInAnother) {
  start(support::commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"}));
  const std::array<SignallingClient, 5> asking;
  for (const std::size_t index : {3U, 1U, 4U, 0U, 2U}) {
    asking.at(index).ask();
  }

  // Served in the order in which they connected, it is the last.
  const sim::LinkManager manager = support::deliver(unit, sim::LinkParameters().line());

  std::vector<int> connected;
  for (const SignallingClient& client : asking) {
    connected.push_back(client.descriptor());
  }
  EXPECT_EQ(arrivals.take(), connected);
}

}  // namespace
