// A device's whole way: to the far side, and back.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/receiver/worker_world.h"
#include "sim/process.h"

namespace {

using examples::RunningWorker;
using sim::ProcessEnd;
using usbip::Verdict;

class WorkerExport : public RunningWorker {};

TEST_F(WorkerExport, OffersWhatSysfsShowsOfTheDevice) {
  const usbip::Offer offer = transmitter.welcomeDevice();
  EXPECT_EQ(offer.busId, "1-2");
  EXPECT_EQ(offer.devId, 0x10007U);
  EXPECT_EQ(offer.speed, usbip::Speed::high);
  EXPECT_EQ(usbip::productIdOf(offer.descriptor), "0627:0001");
}

TEST_F(WorkerExport, TakesTheDeviceOnlyOnceItHasBeenGreeted) {
  transmitter.accept();
  static_cast<void>(transmitter.hear(usbip::greetingSize));
  sim::serveBackground();
  EXPECT_EQ(kernel.driver(), "usb");
  transmitter.say(encode(usbip::Greeting{}));
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  EXPECT_EQ(kernel.driver(), "usbip-host");
}

TEST_F(WorkerExport, HandsTheSocketToTheKernelWithEveryByteThatFollows) {
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  transmitter.say(std::vector<std::uint8_t>{static_cast<std::uint8_t>(Verdict::welcome), 'U', 'R', 'B'});
  kernel.waitForSocket();
  EXPECT_EQ(kernel.readSocket(), "URB");
}

TEST_F(WorkerExport, LogsThatOneLine) {
  awaitExport();
  EXPECT_EQ(worker->log(),
            Words{"1-2 (0627:0001, high speed) is exported to 127.0.0.1 port " + transmitter.port()});
}

TEST_F(WorkerExport, EndsWithoutAFailureWhenTheDeviceIsPluggedOut) {
  awaitExport();
  kernel.plugOut();
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(0));
  EXPECT_EQ(worker->log().back(), "1-2 has gone");
}

TEST_F(WorkerExport, FailsWhenTheLinkIsLostAndGivesTheDeviceBack) {
  awaitExport();
  kernel.loseLink();
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(1));
  EXPECT_EQ(worker->log().back(), "1-2: the link is lost");
  EXPECT_TRUE(hasDeviceBack());
}

TEST_F(WorkerExport, IsTakenOverFromAWorkerThatWasKilled) {
  awaitExport();
  worker->signal(SIGKILL);
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::killedBy(SIGKILL));
  EXPECT_EQ(kernel.driver(), "usbip-host");

  worker.emplace(arguments());
  kernel.serveWorker(worker->pid());
  awaitExport();
  worker->signal(SIGTERM);
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(0));
  EXPECT_TRUE(hasDeviceBack());
}

class WorkerExportDebugging : public RunningWorker {
 protected:
  WorkerExportDebugging() : RunningWorker({"--debug"}) {}
};

TEST_F(WorkerExportDebugging, LogsEachStep) {
  awaitExport();
  worker->signal(SIGTERM);
  worker->waitForEnd();
  EXPECT_EQ(worker->log(),
            (Words{"connecting to 127.0.0.1 port " + transmitter.port(),
                   "connected to 127.0.0.1 port " + transmitter.port(), "taking 1-2 from the driver usb",
                   "offering 1-2 (0627:0001, high speed)",
                   "1-2 (0627:0001, high speed) is exported to 127.0.0.1 port " + transmitter.port(),
                   "giving 1-2 back to its own driver", "1-2: asked to end"}));
}

}  // namespace
