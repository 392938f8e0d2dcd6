// Lines of link parameters.

#include "control/control_requests.h"

#include <boost/lexical_cast.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/named_case.h"
#include "support/thrown.h"
#include "unit/control/control_fixture.h"

namespace {

using namespace std::string_literals;

// The link as the daemon knows it, "-" for no key.
std::string linkOf(const RxCtrl& ctrl) {
  return ctrl.hostname + "|" + std::to_string(ctrl.port) + "|" + ctrl.speed + "|" + ctrl.interface + "|" +
         ctrl.inkey.value_or("-") + "|" + ctrl.outkey.value_or("-");
}

struct LineCase {
  const char* name;
  std::string line;
  const char* link;
  LinkKey inkey = {};  // before the line
  LinkKey outkey = {};
};

class ControlRequestsLine : public ControlRequests, public testing::WithParamInterface<LineCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, ControlRequestsLine,
    testing::Values(
        LineCase{"SixFields", "other 5001 full eth2 KEYIN KEYOUT", "other|5001|full|eth2|KEYIN|KEYOUT"},
        LineCase{"SevenFields", "other 5001 full eth2 in out more and", "other|5001|full|eth2|in|out"},
        LineCase{"FiveFields", "other 5001 full eth2 KEY", "other|5001|full|eth2|KEY|-"},
        LineCase{"FiveFieldsAndEarlierKeys", "other 5001 full eth2 KEY", "other|5001|full|eth2|KEY|out", "in",
                 "out"},
        LineCase{"TwoFields", "other 5001", "other|5001|||in|-", "in"},
        LineCase{"TwoBytes", " 5", "|5|||-|-"},
        LineCase{"AnEmptyHostname", " 5001 full eth2 in out", "|5001|full|eth2|in|out"},
        LineCase{"EmptyFieldsBetweenBlanks", "other 5001   in out", "other|5001|||in|out"},
        LineCase{"OtherWhiteSpace", "o\tther 5001 full eth2 in out\n", "o\tther|5001|full|eth2|in|out\n"},
        LineCase{"EmptyKeys", "other 5001 full eth2  ", "other|5001|full|eth2|-|-"},
        LineCase{"EmptyKeysAfterOthers", "other 5001 full eth2  ", "other|5001|full|eth2|in|out", "in",
                 "out"},
        LineCase{"AnEmptyKeyIn", "other 5001 full eth2  OUT", "other|5001|full|eth2|in|OUT", "in", "out"},
        LineCase{"AnEmptyKeyOut", "other 5001 full eth2 IN ", "other|5001|full|eth2|IN|out", "in", "out"},
        LineCase{"TheHighestPort", "other 65535 full eth2 in out", "other|65535|full|eth2|in|out"},
        LineCase{"PortZero", "other 0 full eth2 in out", "other|0|full|eth2|in|out"},
        LineCase{"APortWithZerosBefore", "other 00080 full eth2 in out", "other|80|full|eth2|in|out"},
        LineCase{"ANegativePort", "other -1 full eth2 in out", "other|65535|full|eth2|in|out"}),
    support::byName);

TEST_P(ControlRequestsLine, ReplacesTheLink) {
  ctrl_->inkey = GetParam().inkey;
  ctrl_->outkey = GetParam().outkey;
  (void)deliver(GetParam().line);
  EXPECT_EQ(linkOf(*ctrl_), GetParam().link);
  EXPECT_EQ(ctrl_->lastRequest, GetParam().line);
}

TEST_F(ControlRequests, ALineEndsAtTheFirstNul) {
  (void)deliver("other 5001 full eth2 in\0 out"s);
  EXPECT_EQ(linkOf(*ctrl_), "other|5001|full|eth2|in|-");
  EXPECT_EQ(ctrl_->lastRequest, "other 5001 full eth2 in");
}

TEST_F(ControlRequests, ALaterLineReplacesAnEarlierOne) {
  (void)deliver("a 1 full eth1 b c");
  (void)deliver("d 2 high eth2 e f");
  EXPECT_EQ(linkOf(*ctrl_), "d|2|high|eth2|e|f");
  EXPECT_EQ(ctrl_->lastRequest, "d 2 high eth2 e f");
}

TEST_F(ControlRequests, TheClientOfALineStaysConnected) {
  const support::ControlClient client = deliver("other 5001 full eth2 in out");
  ASSERT_GT(served_, 0);
  EXPECT_TRUE(support::isCloseOnExec(served_));
  EXPECT_FALSE(client.isDisconnected());
  EXPECT_EQ(client.received(), "");
  ASSERT_EQ(send(served_, "x", 1, 0), 1);
  EXPECT_EQ(client.received(), "x");
}

TEST_F(ControlRequests, APortThatIsNoNumberIsThrown) {
  for (const char* port : {"65536", "port", "", "50x", "5000\n", "0x10", "1.5", "+"}) {
    const support::ControlClient client = connectSaying("other " + std::string(port) + " full eth2 in out");
    EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast) << "'" << port << "'";
  }
  for (const char* message : {"ab", "a ", "  ", "\n\n"}) {
    const support::ControlClient client = connectSaying(message);
    EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast) << "'" << message << "'";
  }
}

TEST_F(ControlRequests, APortThatIsNoNumberLeavesAllButTheHostnameAndClosesTheClient) {
  ctrl_->lastRequest = "before";
  const support::ControlClient waiting = ask();
  const support::ControlClient client = connect();
  const auto before = support::openDescriptors();
  client.send("other port full eth2 in out");
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(linkOf(*ctrl_), "other|0|high|eth1|-|-");
  EXPECT_EQ(ctrl_->lastRequest, "before");
  EXPECT_EQ(waiting.received(), "");
  EXPECT_TRUE(client.isDisconnected());
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(ControlRequests, AnEmptyMessageIsALineToo) {
  const support::ControlClient client = connect();
  client.finish();
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(ctrl_->hostname, "");
}

// A line of six fields and `size` bytes, the last of them unlike the others.
std::string lineOfSize(std::size_t size) {
  std::string line = "other 5001 full eth2 in ";
  line.resize(size, 'k');
  line.back() = 'z';
  return line;
}

TEST_F(ControlRequests, ALineIsCutBehind255Bytes) {
  for (const unsigned size : {254U, 255U, 256U, 257U, 300U, 5000U}) {
    const support::ControlClient waiting = ask();
    const std::string taken = lineOfSize(size).substr(0, 255);
    (void)deliver(lineOfSize(size));
    EXPECT_EQ(ctrl_->lastRequest, taken);
    EXPECT_EQ(ctrl_->outkey, taken.substr(24));
    EXPECT_EQ(waiting.received(), taken);
    ctrl_->waitingClients.clear();
    ctrl_->port = 0;
  }
}

TEST_F(ControlRequests, ALineThatIsCutBeforeItsPortThrows) {
  const support::ControlClient client = connectSaying(std::string(260, 'h') + " 5000 full eth1 in out");
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(ctrl_->hostname, std::string(255, 'h'));
}

TEST_F(ControlRequests, WhatFailsOnAcceptingIsThrown) {
  fcntl(ctrl_->listener.fd(), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { (void)serveControlClient(*ctrl_); }),
            "accept()");
}

TEST_F(ControlRequests, AcceptingWithoutAFreeDescriptorIsThrown) {
  const support::ControlClient client = connect();
  support::inChild([this] {
    support::limitFurtherDescriptors(0);
    const auto e = support::caught<ulx::ErrnoException>([this] { (void)serveControlClient(*ctrl_); });
    EXPECT_EQ(e.errorNumber, EMFILE);
    EXPECT_EQ(e.context, "accept()");
  });
}

TEST_F(ControlRequests, AClientThatCannotBeKeptFromWorkersIsThrownAndClosed) {
  const support::ControlClient client = connectSaying("?");
  const support::ArgumentIs setting{.index = 1, .value = F_SETFD};
  support::inChildWithFailing({.number = SYS_fcntl, .error = EINVAL, .argument = setting}, [this] {
    const auto before = support::openDescriptors();
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([this] { (void)serveControlClient(*ctrl_); }),
              "fcntl(connfd,F_SETFD,FD_CLOEXEC)");
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST_F(ControlRequests, AClientThatCannotBeReadIsThrownAndClosed) {
  const support::ControlClient client = connectSaying("?");
  const support::ArgumentIs ofAMessage{.index = 2, .value = 256};
  support::inChildWithFailing({.number = SYS_read, .error = EIO, .argument = ofAMessage}, [this] {
    const auto before = support::openDescriptors();
    EXPECT_EQ(support::contextThrownBy<ulx::IOError>([this] { (void)serveControlClient(*ctrl_); }),
              "listen read");
    EXPECT_EQ(support::openDescriptors(), before);
  });
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

TEST_F(ControlRequests, SignalsDoNotEndTheWaitForAMessage) {
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

TEST(ControlRequestsWithoutKeys, ShowThreeStarsForEachFieldBehindTheFourth) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out"), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("a b c d *** e"), "a b c d *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out\n"), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out more and  more"),
            "host 5000 full eth1 *** *** *** *** *** ***");
}

TEST(ControlRequestsWithoutKeys, DoNotShowWhetherAKeyIsEmptyNorHowLongItIs) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1  "), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 verylongkey "), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 "), "host 5000 full eth1 ***");
}

TEST(ControlRequestsWithoutKeys, CountEmptyFields) {
  EXPECT_EQ(withoutKeys("    in out"), "    *** ***");
  EXPECT_EQ(withoutKeys("host 5000   in out"), "host 5000   *** ***");
}

TEST(ControlRequestsWithoutKeys, OfAShortLineAreTheLine) {
  for (const char* line : {"", " ", "host", "host ", "host 5000 full eth1", "host 5000 full eth1\n"}) {
    EXPECT_EQ(withoutKeys(line), line);
  }
}

}  // namespace
