#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>

#include "support/descriptors.h"
#include "unit/control/control_fixture.h"

namespace {

using namespace std::string_literals;

using ControlParameters = ControlSocket;

TEST_F(ControlParameters, AreSixFieldsSeparatedBySingleBlanks) {
  (void)deliver("other 5001 full eth2 KEYIN KEYOUT");
  EXPECT_EQ(ctrl_->hostname, "other");
  EXPECT_EQ(ctrl_->port, 5001);
  EXPECT_EQ(ctrl_->speed, "full");
  EXPECT_EQ(ctrl_->interface, "eth2");
  EXPECT_EQ(ctrl_->inkey, "KEYIN");
  EXPECT_EQ(ctrl_->outkey, "KEYOUT");
  EXPECT_EQ(ctrl_->lastRequest, "other 5001 full eth2 KEYIN KEYOUT");
}

TEST_F(ControlParameters, KeepTheirClientConnected) {
  const support::ControlClient client = deliver("other 5001 full eth2 in out");
  ASSERT_GT(served_, 0);
  EXPECT_TRUE(support::isCloseOnExec(served_));
  EXPECT_FALSE(client.isDisconnected());
  EXPECT_EQ(client.received(), "");
  ASSERT_EQ(send(served_, "x", 1, 0), 1);
  EXPECT_EQ(client.received(), "x");
}

TEST_F(ControlParameters, AreReplacedByALaterLine) {
  (void)deliver("a 1 full eth1 b c");
  (void)deliver("d 2 high eth2 e f");
  EXPECT_EQ(ctrl_->hostname, "d");
  EXPECT_EQ(ctrl_->port, 2);
  EXPECT_EQ(ctrl_->speed, "high");
  EXPECT_EQ(ctrl_->interface, "eth2");
  EXPECT_EQ(ctrl_->inkey, "e");
  EXPECT_EQ(ctrl_->outkey, "f");
  EXPECT_EQ(ctrl_->lastRequest, "d 2 high eth2 e f");
}

TEST_F(ControlParameters, KeepTheEarlierKeysWhereTheFieldsAreEmpty) {
  ctrl_->inkey = "in";
  ctrl_->outkey = "out";
  (void)deliver("other 5001 full eth2  ");
  EXPECT_EQ(ctrl_->inkey, "in");
  EXPECT_EQ(ctrl_->outkey, "out");
  (void)deliver("other 5001 full eth2  OUT");
  EXPECT_EQ(ctrl_->inkey, "in");
  EXPECT_EQ(ctrl_->outkey, "OUT");
  (void)deliver("other 5001 full eth2 IN ");
  EXPECT_EQ(ctrl_->inkey, "IN");
  EXPECT_EQ(ctrl_->outkey, "OUT");
}

TEST_F(ControlParameters, HaveNoKeysBeforeAnyoneHasNamedThem) {
  (void)deliver("other 5001 full eth2  ");
  EXPECT_EQ(ctrl_->inkey, std::nullopt);
  EXPECT_EQ(ctrl_->outkey, std::nullopt);
}

TEST_F(ControlParameters, AreEmptyWhereALineIsTooShort) {
  ctrl_->inkey = "in";
  (void)deliver("other 5001");
  EXPECT_EQ(ctrl_->hostname, "other");
  EXPECT_EQ(ctrl_->port, 5001);
  EXPECT_EQ(ctrl_->speed, "");
  EXPECT_EQ(ctrl_->interface, "");
  EXPECT_EQ(ctrl_->inkey, "in");
  (void)deliver("other 5001 full eth2 KEY");
  EXPECT_EQ(ctrl_->interface, "eth2");
  EXPECT_EQ(ctrl_->inkey, "KEY");
  EXPECT_EQ(ctrl_->outkey, std::nullopt);
}

TEST_F(ControlParameters, MayBeginWithAnEmptyHostname) {
  (void)deliver(" 5001 full eth2 in out");
  EXPECT_EQ(ctrl_->hostname, "");
  EXPECT_EQ(ctrl_->port, 5001);
}

TEST_F(ControlParameters, MayHaveEmptyFieldsBetweenTwoBlanks) {
  (void)deliver("other 5001   in out");
  EXPECT_EQ(ctrl_->speed, "");
  EXPECT_EQ(ctrl_->interface, "");
  EXPECT_EQ(ctrl_->inkey, "in");
  EXPECT_EQ(ctrl_->outkey, "out");
}

TEST_F(ControlParameters, AreSeparatedByBlanksAlone) {
  (void)deliver("o\tther 5001 full eth2 in out\n");
  EXPECT_EQ(ctrl_->hostname, "o\tther");
  EXPECT_EQ(ctrl_->outkey, "out\n");
  EXPECT_EQ(ctrl_->lastRequest, "o\tther 5001 full eth2 in out\n");
}

TEST_F(ControlParameters, DoNotUseWhatFollowsTheSixthField) {
  (void)deliver("other 5001 full eth2 in out more and more");
  EXPECT_EQ(ctrl_->outkey, "out");
  EXPECT_EQ(ctrl_->lastRequest, "other 5001 full eth2 in out more and more");
}

TEST_F(ControlParameters, EndAtTheFirstNul) {
  (void)deliver("other 5001 full eth2 in\0 out"s);
  EXPECT_EQ(ctrl_->inkey, "in");
  EXPECT_EQ(ctrl_->outkey, std::nullopt);
  EXPECT_EQ(ctrl_->lastRequest, "other 5001 full eth2 in");
}

TEST_F(ControlParameters, MayHaveAnyPortOf16Bits) {
  (void)deliver("other 65535 full eth2 in out");
  EXPECT_EQ(ctrl_->port, 65535);
  (void)deliver("other 0 full eth2 in out");
  EXPECT_EQ(ctrl_->port, 0);
  (void)deliver("other 00080 full eth2 in out");
  EXPECT_EQ(ctrl_->port, 80);
}

TEST_F(ControlParameters, CountANegativePortFromTheHighest) {
  (void)deliver("other -1 full eth2 in out");
  EXPECT_EQ(ctrl_->port, 65535);
}

TEST_F(ControlParameters, WithoutANumberForThePortThrow) {
  for (const char* port : {"65536", "port", "", "50x", "5000\n", "0x10", "1.5", "+"}) {
    const support::ControlClient client = connect();
    client.send("other " + std::string(port) + " full eth2 in out");
    EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast) << "'" << port << "'";
  }
}

TEST_F(ControlParameters, WithoutANumberForThePortReachTheHostnameOnly) {
  ctrl_->speed = "high";
  ctrl_->lastRequest = "before";
  const support::ControlClient waiting = ask();
  const support::ControlClient client = connect();
  client.send("other port full eth2 in out");
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(ctrl_->hostname, "other");
  EXPECT_EQ(ctrl_->port, 0);
  EXPECT_EQ(ctrl_->speed, "high");
  EXPECT_EQ(ctrl_->lastRequest, "before");
  EXPECT_EQ(waiting.received(), "");
  EXPECT_TRUE(client.isDisconnected());
}

TEST_F(ControlParameters, AreReadFromAnEmptyMessageToo) {
  const support::ControlClient client = connect();
  client.finish();
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(ctrl_->hostname, "");
}

TEST_F(ControlParameters, AreReadFromTwoBytesOnwards) {
  for (const char* message : {"ab", "a ", "  ", "\n\n"}) {
    const support::ControlClient client = connect();
    client.send(message);
    EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  }
  (void)deliver(" 5");
  EXPECT_EQ(ctrl_->hostname, "");
  EXPECT_EQ(ctrl_->port, 5);
}

// The first six fields and `size` bytes in all, the last of them told apart.
std::string lineOfSize(std::size_t size) {
  std::string line = "other 5001 full eth2 in ";
  line.resize(size, 'k');
  line.back() = 'z';
  return line;
}

TEST_F(ControlParameters, AreTakenFromAtMost255Bytes) {
  for (const std::size_t size : {std::size_t{254}, std::size_t{255}}) {
    const std::string line = lineOfSize(size);
    (void)deliver(line);
    EXPECT_EQ(ctrl_->lastRequest, line);
    EXPECT_EQ(ctrl_->outkey, line.substr(24));
  }
  for (const std::size_t size : {std::size_t{256}, std::size_t{257}, std::size_t{300}, std::size_t{5000}}) {
    const std::string line = lineOfSize(size);
    (void)deliver(line);
    EXPECT_EQ(ctrl_->lastRequest, line.substr(0, 255));
    EXPECT_EQ(ctrl_->outkey, line.substr(24, 255 - 24));
  }
}

TEST_F(ControlParameters, AreSentToWaitingClientsCutAsTheyWereTaken) {
  const support::ControlClient waiting = ask();
  (void)deliver(lineOfSize(300));
  EXPECT_EQ(waiting.received(), lineOfSize(300).substr(0, 255));
}

TEST_F(ControlParameters, ThatAreCutBeforeThePortThrow) {
  const support::ControlClient client = connect();
  const std::string longName(260, 'h');
  client.send(longName + " 5000 full eth1 in out");
  EXPECT_THROW((void)serveControlClient(*ctrl_), boost::bad_lexical_cast);
  EXPECT_EQ(ctrl_->hostname, std::string(255, 'h'));
}

}  // namespace
