// SIGTERM and SIGINT, whatever a worker is doing: the device is given back, and that is no failure.

#include <gtest/gtest.h>

#include <csignal>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/receiver/worker_program.h"
#include "examples/usbip/receiver/worker_world.h"
#include "sim/process.h"

namespace {

using examples::RunningWorker;
using examples::WorkerProgram;
using examples::WorkerWorld;
using sim::ProcessEnd;

class WorkerTermination : public RunningWorker, public testing::WithParamInterface<int> {
 protected:
  void expectGoodEnd() {
    worker->signal(GetParam());
    EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(0));
    EXPECT_EQ(worker->log().back(), "1-2: asked to end");
    EXPECT_TRUE(hasDeviceBack());
  }
};

TEST_P(WorkerTermination, EndAWorkerThatWaitsForAGreeting) {
  transmitter.accept();
  static_cast<void>(transmitter.hear(usbip::greetingSize));
  expectGoodEnd();
}

TEST_P(WorkerTermination, EndAWorkerThatWaitsForAnAnswerToItsDevice) {
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  EXPECT_EQ(kernel.driver(), "usbip-host");
  expectGoodEnd();
}

TEST_P(WorkerTermination, EndAnExport) {
  awaitExport();
  expectGoodEnd();
}

TEST_P(WorkerTermination, EndAWorkerThatSeesWhyTheLinkHasEnded) {
  awaitExport();
  transmitter.leave();  // the kernel, which knows nothing of it here, says neither
  expectGoodEnd();
}

INSTANTIATE_TEST_SUITE_P(Each, WorkerTermination, testing::Values(SIGTERM, SIGINT),
                         [](const auto& each) { return each.param == SIGTERM ? "SIGTERM" : "SIGINT"; });

class WorkerTerminationWhileWaiting : public WorkerWorld {};

TEST_F(WorkerTerminationWhileWaiting, EndAWorkerThatWaitsForTheFarSide) {
  WorkerProgram worker(arguments({"--debug", "--timeout", "60"}));
  worker.waitForLine("127.0.0.1 port " + transmitter.port() +
                     " is not reached: Connection refused while connect(127.0.0.1 port " +
                     transmitter.port() + ")");
  worker.signal(SIGTERM);
  EXPECT_EQ(worker.waitForEnd(), ProcessEnd::exited(0));
}

}  // namespace
