// Devices that are not exported, far sides that do not take them, and what the worker's status says then.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/receiver/exporting_kernel.h"
#include "examples/usbip/receiver/worker_program.h"
#include "examples/usbip/receiver/worker_world.h"
#include "sim/process.h"
#include "sim/wait.h"

namespace {

using examples::ExportingKernel;
using examples::RunningWorker;
using examples::WorkerProgram;
using examples::WorkerWorld;
using sim::ProcessEnd;
using usbip::Greeting;
using usbip::Verdict;

class WorkerRefusals : public WorkerWorld {
 protected:
  // Runs a worker to its end, which has this status, and returns what it has logged.
  static Words logOf(const Words& words, int status) {
    WorkerProgram worker(words);
    EXPECT_EQ(worker.waitForEnd(), ProcessEnd::exited(status));
    return worker.log();
  }
};

TEST_F(WorkerRefusals, OfAHubHaveTheirOwnStatus) {
  kernel.writeAttribute("bDeviceClass", "09\n");
  EXPECT_EQ(logOf(arguments(), 5), Words{"1-2 is a hub, and hubs are not exported"});
  EXPECT_TRUE(hasDeviceBack());
}

TEST_F(WorkerRefusals, OfADeviceFromAnotherMachineHaveTheirOwnStatus) {
  const std::string borrowed = "/sys/devices/platform/vhci_hcd.0/usb3/3-1";
  examples::layOutDevice(borrowed);
  EXPECT_EQ(logOf({"", "127.0.0.1", transmitter.port(), borrowed}, 5),
            Words{"3-1 comes from another machine, and is not exported again"});
}

TEST_F(WorkerRefusals, SayWhichModuleIsMissing) {
  ExportingKernel::unloadUsbipHost();
  EXPECT_EQ(logOf(arguments(), 1),
            Words{"1-2: the kernel's driver usbip-host is not loaded: modprobe usbip-host"});
}

TEST_F(WorkerRefusals, AreNoneOfADeviceThatHasGoneBefore) {
  EXPECT_EQ(logOf({"", "127.0.0.1", transmitter.port(), "/sys/devices/usb1/1-9"}, 0),
            Words{"/sys/devices/usb1/1-9 has gone"});
}

TEST_F(WorkerRefusals, SayThatNobodyListens) {
  EXPECT_EQ(logOf(arguments(), 1), Words{"1-2: 127.0.0.1 port " + transmitter.port() +
                                         " is not reached: Connection refused while connect(127.0.0.1 port " +
                                         transmitter.port() + ")"});
  EXPECT_TRUE(hasDeviceBack());
}

TEST_F(WorkerRefusals, HaveAnotherStatusAfterATimeOfWaiting) {
  EXPECT_EQ(
      logOf(arguments({"--timeout", "1"}), 28),
      Words{"1-2: waited in vain: 127.0.0.1 port " + transmitter.port() +
            " is not reached: Connection refused while connect(127.0.0.1 port " + transmitter.port() + ")"});
}

TEST_F(WorkerRefusals, GiveADeviceBackThatAKilledWorkerHasLeft) {
  kernel.giveTo("usbip-host");
  static_cast<void>(logOf(arguments(), 1));
  sim::waitUntil("the device's own driver", {}, [this] { return kernel.driver() == "usb"; });
}

TEST_F(WorkerRefusals, ShowTheUsage) {
  const Words log = logOf({"--intf=eth1", "", "127.0.0.1", "5000", "/sys"}, 1);
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[0], "there is no option --intf=eth1");
  EXPECT_EQ(log[1].rfind("Usage: usb_rx_usbip ", 0), 0U);
}

TEST_F(WorkerRefusals, EndWithoutAWordWhereNobodyReadsThem) {
  sim::ProcessOptions options;
  options.standardError = sim::ProcessOptions::Output::brokenPipe;
  WorkerProgram worker(arguments(), options);
  EXPECT_EQ(worker.waitForEnd(), ProcessEnd::exited(1));
}

class WorkerRefusalsByFarSide : public RunningWorker {
 protected:
  // The one line of a worker that fails.
  std::string failure() {
    EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(1));
    EXPECT_EQ(worker->log().size(), 1U);
    EXPECT_TRUE(hasDeviceBack());
    return worker->log().back();
  }
};

TEST_F(WorkerRefusalsByFarSide, SaysTheReasonOfAGreeting) {
  transmitter.accept();
  transmitter.greet({.verdict = Verdict::localPeersOnly});
  EXPECT_EQ(failure(), "1-2: refused: without keys only that machine itself is served there");
}

TEST_F(WorkerRefusalsByFarSide, SaysTheReasonOfAnAnswerToTheDeviceAndGivesItBack) {
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  EXPECT_EQ(kernel.driver(), "usbip-host");
  transmitter.say(Verdict::noFreePort);
  EXPECT_EQ(failure(), "1-2: refused: no port is free there");
}

TEST_F(WorkerRefusalsByFarSide, RestsAWhileSinceTheDaemonRestartsAtOnce) {
  const auto begin = std::chrono::steady_clock::now();
  transmitter.accept();
  transmitter.greet({.verdict = Verdict::keysNeeded});
  static_cast<void>(failure());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(WorkerRefusalsByFarSide, EndsItsRestWhenItIsAskedTo) {
  transmitter.accept();
  transmitter.greet({.verdict = Verdict::keysNeeded});
  worker->waitForLine("1-2: refused: keys are needed there");
  worker->signal(SIGTERM);
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(0));
}

TEST_F(WorkerRefusalsByFarSide, NamesBothVersions) {
  transmitter.accept();
  usbip::GreetingBytes greeting = encode(Greeting{.verdict = Verdict::unknownVersion});
  greeting[9] = 2;
  transmitter.say(greeting);
  EXPECT_EQ(failure(), "1-2: version 2 of the exchange is spoken there, version 1 here");
}

TEST_F(WorkerRefusalsByFarSide, SeesThatSomethingElseListensThere) {
  transmitter.accept();
  transmitter.say(std::vector<std::uint8_t>(10, '!'));
  EXPECT_EQ(failure(), "1-2: this is no greeting");
}

TEST_F(WorkerRefusalsByFarSide, SeesThatTheConnectionIsClosedAtOnce) {
  transmitter.accept();
  transmitter.leave();
  EXPECT_EQ(failure(), "1-2: the far side has closed the connection");
}

TEST_F(WorkerRefusalsByFarSide, GivesTheDeviceBackWhenTheConnectionIsClosedInsteadOfAnAnswer) {
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  transmitter.leave();
  EXPECT_EQ(failure(), "1-2: the far side has closed the connection");
}

TEST_F(WorkerRefusalsByFarSide, GivesTheDeviceBackWhenNoAnswerComesInTenSeconds) {
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  EXPECT_EQ(worker->waitForEnd(sim::Deadline(20)), ProcessEnd::exited(1));
  EXPECT_EQ(failure(), "1-2: the far side is silent");
}

// With a time to wait, that a far side refuses is no reason to try again.
class WorkerRefusalsWhileWaiting : public RunningWorker {
 protected:
  WorkerRefusalsWhileWaiting() : RunningWorker({"--timeout", "60"}) {}
};

TEST_F(WorkerRefusalsWhileWaiting, FailsInsteadOfTryingOn) {
  transmitter.accept();
  transmitter.greet({.verdict = Verdict::keysNeeded});
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(1));
  EXPECT_EQ(worker->log(), Words{"1-2: refused: keys are needed there"});
}

TEST_F(WorkerRefusals, AreNoneOfADeviceThatGoesMeanwhile) {
  transmitter.listen();
  WorkerProgram worker(arguments());
  transmitter.accept();
  transmitter.greet();
  static_cast<void>(transmitter.hearOffer());
  kernel.plugOut();
  transmitter.say(Verdict::notAttached);
  EXPECT_EQ(worker.waitForEnd(), ProcessEnd::exited(0));
  EXPECT_EQ(worker.log(), Words{"1-2 has gone"});
}

TEST_F(WorkerRefusals, OfTheKernelGiveTheDeviceBack) {
  transmitter.listen();
  WorkerProgram worker(arguments());
  transmitter.accept();
  ExportingKernel::refuseToBind();
  transmitter.greet();
  EXPECT_EQ(worker.waitForEnd(), ProcessEnd::exited(1));
  EXPECT_EQ(worker.log(),
            Words{"1-2: No such file or directory while open(\"/sys/bus/usb/drivers/usbip-host/bind\")"});
  sim::serveBackground();
  EXPECT_EQ(kernel.driver(), "usb");
}

}  // namespace
