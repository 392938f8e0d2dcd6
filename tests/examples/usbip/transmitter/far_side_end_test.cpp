// How the far side begins and ends.

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "examples/usbip/transmitter/far_side.h"
#include "examples/usbip/transmitter/far_side_world.h"
#include "examples/usbip/transmitter/scripted_worker.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/syslog_sink.h"

namespace {

using examples::FarSide;
using examples::FarSideRun;
using examples::freePort;
using examples::runFarSide;
using examples::ScriptedWorker;
using examples::usedPort;

class FarSideEnd : public examples::FarSideWorld {
 protected:
  FarSideEnd() { farSide.waitUntilListening(); }

  FarSide farSide;
};

TEST_F(FarSideEnd, ComesWithEitherSignalAndWithoutALine) {
  farSide.signal(SIGTERM);
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(0));
  FarSide other;
  other.waitUntilListening();
  other.signal(SIGINT);
  EXPECT_EQ(other.waitForExit(), sim::ProcessEnd::exited(0));
  EXPECT_FALSE(farSide.hasLine() || other.hasLine());
}

TEST_F(FarSideEnd, ComesAtOnceInTheMiddleOfAConversation) {
  ScriptedWorker worker;
  worker.greet();
  worker.hearGreeting();
  farSide.signal(SIGTERM);
  EXPECT_EQ(farSide.waitForExit(sim::Deadline(5)), sim::ProcessEnd::exited(0));
  worker.hearTheEnd();
}

TEST_F(FarSideEnd, DetachesWhatWasAttachedAndWaitsForTheKernel) {
  examples::MadeUpHubs::writeStatus(freePort("hs", 3) + freePort("ss", 8));
  ScriptedWorker one;
  one.bringDevice();
  hubs.waitForAttach();
  examples::MadeUpHubs::writeStatus(usedPort("hs", 3, "5-1") + freePort("ss", 8));
  ScriptedWorker other;
  other.bringDevice(usbip::Speed::super);
  hubs.waitForAttach();
  examples::MadeUpHubs::writeStatus(usedPort("hs", 3, "5-1") + usedPort("ss", 8, "6-1"));
  farSide.signal(SIGTERM);
  std::string detached = hubs.waitForDetach();
  while (detached.size() < 2) {
    detached += hubs.waitForDetach();
  }
  EXPECT_EQ(detached, "38");
  examples::MadeUpHubs::writeStatus(freePort("hs", 3) + usedPort("ss", 8, "6-1"));
  EXPECT_THROW(farSide.waitForExit(sim::Deadline(0.3)), sim::TimedOut);
  examples::MadeUpHubs::writeStatus(freePort("hs", 3) + freePort("ss", 8));
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_F(FarSideEnd, DoesNotDetachWhatHasGoneBefore) {
  ScriptedWorker worker;
  worker.bringDevice();
  hubs.waitForAttach();
  worker.leave();
  farSide.nextLine();
  farSide.nextLine();
  farSide.signal(SIGTERM);
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(0));
  EXPECT_FALSE(hubs.hasDetach());
}

TEST_F(FarSideEnd, IsAFailureWhenTheKernelDoesNotDetach) {
  ScriptedWorker worker;
  worker.bringDevice();
  farSide.nextLine();
  examples::MadeUpHubs::writeStatus(usedPort("hs", 0, "5-1"));
  farSide.signal(SIGTERM);
  EXPECT_EQ(farSide.nextLine(), "the kernel has not detached all that was attached");
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(FarSideEnd, ComesAtOnceWhenAnotherListensOnItsPort) {
  FarSide second;
  EXPECT_EQ(second.nextLine(), "Address already in use while bind()");
  EXPECT_EQ(second.waitForExit(), sim::ProcessEnd::exited(1));
}

using FarSideEndOfStart = examples::FarSideWorld;

TEST_F(FarSideEndOfStart, ComesWithoutTheDriver) {
  examples::MadeUpHubs::unload();
  for (const FarSideRun& run : {runFarSide({examples::farSidePort}), runFarSide({"--list"})}) {
    EXPECT_EQ(run.end, sim::ProcessEnd::exited(1));
    EXPECT_EQ(run.log, "usb_tx_usbip: the driver vhci_hcd is not loaded: modprobe vhci-hcd\n");
    EXPECT_EQ(run.output, "");
  }
}

TEST_F(FarSideEndOfStart, ComesWithTheUsageForWhatIsWrong) {
  const FarSideRun run = runFarSide({"--no-such-option", examples::farSidePort});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(1));
  EXPECT_EQ(run.log,
            "Usage: usb_tx_usbip [--debug] [--syslog] [--keys=FILE] [--allow-any-peer] PORT\n"
            "       usb_tx_usbip --list\n");
}

TEST_F(FarSideEndOfStart, ComesWithTheHelpThatWasAskedFor) {
  const FarSideRun run = runFarSide({"--help"});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(0));
  EXPECT_TRUE(run.output.starts_with("Usage: usb_tx_usbip ")) << run.output;
  EXPECT_NE(run.output.find("--allow-any-peer"), std::string::npos);
  EXPECT_EQ(run.log, "");
}

TEST_F(FarSideEndOfStart, ComesWithTheListThatWasAskedFor) {
  examples::MadeUpHubs::writeStatus(usedPort("hs", 0, "5-1") + freePort("ss", 8));
  sim::writeFile("/sys/bus/usb/devices/5-1/idVendor", "0627\n");
  sim::writeFile("/sys/bus/usb/devices/5-1/idProduct", "0001\n");
  sim::writeFile("/sys/bus/usb/devices/5-1/product", "A Tablet\n");
  const FarSideRun run = runFarSide({"--list"});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(run.output,
            "port  hub  speed        bus id    device\n"
            "   0  hs   high speed   5-1       0627:0001 A Tablet\n");
  EXPECT_EQ(run.log, "");
}

TEST_F(FarSideEndOfStart, HasItsLinesInSyslogOnDemand) {
  sim::SyslogSink syslog;
  FarSide farSide({"--syslog"});
  const sim::SyslogMessage message = syslog.waitForMessage();
  EXPECT_TRUE(message.tag.starts_with("usb_tx_usbip")) << message.raw;
  EXPECT_EQ(message.text, std::string("listening on port ") + examples::farSidePort);
  EXPECT_FALSE(farSide.hasLine());
}

}  // namespace
