#include <boost/lexical_cast.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/failing_call.h"
#include "support/thrown.h"
#include "unit/control/control_fixture.h"

namespace {

constexpr unsigned maximalRead = 256;

using ControlFailure = ControlSocket;

TEST_F(ControlFailure, OfAcceptingIsThrown) {
  fcntl(ctrl_->listener.fd(), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { (void)serveControlClient(*ctrl_); }),
            "accept()");
}

TEST_F(ControlFailure, OfAcceptingWithoutAFreeDescriptorIsThrown) {
  support::inChild([this] {
    const support::ControlClient client = connect();
    support::limitFurtherDescriptors(0);
    try {
      (void)serveControlClient(*ctrl_);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const ulx::ErrnoException& e) {
      EXPECT_EQ(e.errorNumber, EMFILE);
      EXPECT_EQ(e.context, "accept()");
    }
  });
}

TEST_F(ControlFailure, OfKeepingAClientFromWorkersIsThrownAndClosesIt) {
  support::inChild([this] {
    const support::ControlClient client = connect();
    const auto before = support::openDescriptors();
    client.send("?");
    if (!support::failSystemCall(SYS_fcntl, {.index = 1, .value = F_SETFD}, EINVAL)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([this] { (void)serveControlClient(*ctrl_); }),
              "fcntl(connfd,F_SETFD,FD_CLOEXEC)");
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST_F(ControlFailure, OfReadingIsThrownAndClosesTheClient) {
  support::inChild([this] {
    const support::ControlClient client = connect();
    const auto before = support::openDescriptors();
    client.send("?");
    if (!support::failSystemCall(SYS_read, {.index = 2, .value = maximalRead}, EIO)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(support::contextThrownBy<ulx::IOError>([this] { (void)serveControlClient(*ctrl_); }),
              "listen read");
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST_F(ControlFailure, OfAParameterClosesTheClient) {
  const support::ControlClient client = connect();
  const auto before = support::openDescriptors();
  client.send("host port");
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(support::openDescriptors(), before);
}

// For the signal handler: it sends the message with the third signal.
const support::ControlClient* lateClient = nullptr;
volatile std::sig_atomic_t signalsLeft = 3;

void onAlarm(int /*signal*/) {
  signalsLeft = signalsLeft - 1;
  if (signalsLeft == 0) {
    lateClient->send("?");
  }
}

TEST_F(ControlFailure, IsNoneWhenSignalsInterruptTheWaitForAMessage) {
  support::inChild([this] {
    const support::ControlClient client = connect();
    // cppcheck-suppress danglingLifetime
    lateClient = &client;
    struct sigaction action {};
    action.sa_handler = onAlarm;
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every5Milliseconds{.it_interval = {0, 5000}, .it_value = {0, 5000}};
    setitimer(ITIMER_REAL, &every5Milliseconds, nullptr);
    EXPECT_EQ(serveControlClient(*ctrl_), 0);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(ctrl_->waitingClients.size(), 1U);
  });
}

}  // namespace
