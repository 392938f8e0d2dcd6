#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <ctime>

#include "sim/error.h"
#include "sim/wait.h"
#include "system/support/control_messages.h"
#include "system/support/eventually.h"

namespace {

/** Queued in the order in which it is sent, unlike ordinary signals. */
const int arrivalSignal = SIGRTMIN + 1;

/** A client of the control socket whose answer raises a signal. */
class SignallingClient {
 public:
  SignallingClient() : connection_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string(sim::LinkManager::usualPath).copy(address.sun_path, sizeof address.sun_path - 1);
    if (::connect(connection_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::fcntl(connection_.get(), F_SETOWN, ::getpid()) != 0 ||
        ::fcntl(connection_.get(), F_SETSIG, arrivalSignal) != 0 ||
        ::fcntl(connection_.get(), F_SETFL, O_ASYNC) != 0) {
      throw sim::systemError("connecting a client that signals");
    }
  }

  [[nodiscard]] int descriptor() const { return connection_.get(); }

  void ask() const { ASSERT_EQ(::send(connection_.get(), "?", 1, MSG_NOSIGNAL), 1); }

  /** Waits for the end of the connection. */
  [[nodiscard]] std::string answer() const {
    std::string all;
    std::array<char, 512> some{};
    ssize_t length = 0;
    do {
      all.append(some.data(), static_cast<std::size_t>(length));
      if (!sim::waitReadable(connection_.get(), sim::Deadline())) {
        throw sim::TimedOut("the answer to a waiting client");
      }
      length = ::recv(connection_.get(), some.data(), some.size(), 0);
    } while (length > 0);
    return all;
  }

 private:
  sim::Descriptor connection_;
};

/** Holds the signals back until they are asked for. */
class ArrivalRecord {
 public:
  ArrivalRecord() {
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

}  // namespace

TEST(ControlWaitingOrder, ClientsAreAnsweredInTheOrderInWhichTheyAsked) {
  const ArrivalRecord arrivals;
  sim::Unit unit;
  unit.startDaemon({"--debug=ctrl", "transmitter", "0", "high"});
  unit.waitUntilServing();
  const std::array<SignallingClient, 5> clients;
  const std::array<std::size_t, 5> order = {3, 1, 4, 0, 2};
  for (const std::size_t index : order) {
    clients.at(index).ask();
  }
  // They are served in the order in which they have connected.
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1 IN OUT");
  std::vector<int> connected;
  for (const SignallingClient& client : clients) {
    EXPECT_EQ(client.answer(), "transmitter 5000 high eth1 IN OUT");
    connected.push_back(client.descriptor());
  }
  EXPECT_EQ(arrivals.take(), connected);
}
