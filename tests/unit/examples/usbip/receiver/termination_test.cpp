#include "examples/usbip/receiver/termination.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>

#include "sim/process.h"
#include "ulx/pipe.h"

namespace {

using usbip::Clock;
using usbip::Termination;

// How a child ends that `body` runs in. Where `body` returns, it is status 100.
sim::ProcessEnd endOf(const std::function<void()>& body) {
  const pid_t child = ::fork();
  if (child == 0) {
    body();
    ::_exit(100);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return sim::ProcessEnd::of(status);
}

TEST(Termination, WaitsUntilADescriptorIsReady) {
  const Termination termination;
  ulx::Pipe pipe;
  pipe.writeEnd.writeByte(1);
  EXPECT_EQ(termination.waitFor(pipe.readEnd.fd(), POLLIN, usbip::never), POLLIN);
}

TEST(Termination, WaitsNoLongerThanToTheDeadline) {
  const Termination termination;
  const ulx::Pipe pipe;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(50);
  EXPECT_EQ(termination.waitFor(pipe.readEnd.fd(), POLLIN, deadline), 0);
  EXPECT_GE(Clock::now(), deadline);
}

TEST(Termination, LooksOnceAfterTheDeadline) {
  const Termination termination;
  ulx::Pipe pipe;
  pipe.writeEnd.writeByte(1);
  EXPECT_EQ(termination.waitFor(pipe.readEnd.fd(), POLLIN, Clock::now() - std::chrono::seconds(1)), POLLIN);
}

class TerminationSignal : public testing::TestWithParam<int> {};

TEST_P(TerminationSignal, EndsAWait) {
  const Termination termination;
  ::kill(::getpid(), GetParam());
  EXPECT_THROW(termination.sleepUntil(usbip::never), usbip::EndRequested);
}

TEST_P(TerminationSignal, IsMoreUrgentThanWhatIsReady) {
  const Termination termination;
  ulx::Pipe pipe;
  pipe.writeEnd.writeByte(1);
  ::kill(::getpid(), GetParam());
  EXPECT_THROW(static_cast<void>(termination.waitFor(pipe.readEnd.fd(), POLLIN, usbip::never)),
               usbip::EndRequested);
}

TEST_P(TerminationSignal, EndsEveryFurtherWait) {
  const Termination termination;
  ::kill(::getpid(), GetParam());
  EXPECT_THROW(termination.sleepUntil(usbip::never), usbip::EndRequested);
  EXPECT_THROW(termination.sleepUntil(usbip::never), usbip::EndRequested);
}

TEST_P(TerminationSignal, EndsNothingOutsideOfAWait) {
  EXPECT_EQ(endOf([] {
              const Termination termination;
              ::kill(::getpid(), GetParam());
            }),
            sim::ProcessEnd::exited(100));
}

TEST_P(TerminationSignal, EndsTheProgramWithinAScopeForIt) {
  EXPECT_EQ(endOf([] {
              const Termination termination;
              const Termination::AtOnce scope(termination);
              ::kill(::getpid(), GetParam());
            }),
            sim::ProcessEnd::exited(0));
}

TEST_P(TerminationSignal, EndsTheProgramAtTheBeginningOfSuchAScopeWhenItCameBefore) {
  EXPECT_EQ(endOf([] {
              const Termination termination;
              ::kill(::getpid(), GetParam());
              const Termination::AtOnce scope(termination);
            }),
            sim::ProcessEnd::exited(0));
}

TEST_P(TerminationSignal, IsHeldBackAgainBehindSuchAScope) {
  EXPECT_EQ(endOf([] {
              const Termination termination;
              { const Termination::AtOnce scope(termination); }
              ::kill(::getpid(), GetParam());
            }),
            sim::ProcessEnd::exited(100));
}

INSTANTIATE_TEST_SUITE_P(Each, TerminationSignal, testing::Values(SIGTERM, SIGINT),
                         [](const auto& each) { return each.param == SIGTERM ? "SIGTERM" : "SIGINT"; });

TEST(Termination, IsNoFailure) {
  EXPECT_EQ(usbip::EndRequested().status, 0);
}

}  // namespace
