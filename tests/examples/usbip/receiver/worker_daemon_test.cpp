// The worker in the hands of the daemon, which knows it by one key of its configuration.

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "examples/usbip/receiver/exporting_kernel.h"
#include "examples/usbip/receiver/scripted_transmitter.h"
#include "examples/usbip/receiver/worker_program.h"
#include "sim/contract.h"
#include "sim/deadline.h"
#include "sim/process_handle.h"
#include "sim/synthetic_device.h"
#include "sim/unit.h"
#include "sim/wait.h"
#include "support/loopback.h"

namespace {

using usbip::Verdict;
using Words = std::vector<std::string>;

class WorkerDaemon : public testing::Test {
 protected:
  WorkerDaemon() {
    support::bringUpLoopback();
    transmitter.emplace();
    sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = " + examples::workerCommand().back() +
                           "\n[usb]\nconnect_fail_timeout = 60\n");
  }

  // Its workers end with the daemon, and give their devices back, while there is a kernel.
  void TearDown() override {
    if (!unit.daemon().isRunning()) {
      return;
    }
    std::vector<sim::ProcessHandle> workers;
    for (const pid_t child : unit.daemon().children()) {
      workers.emplace_back(child);
    }
    unit.daemon().signal(SIGKILL);
    for (const sim::ProcessHandle& ending : workers) {
      sim::waitUntil("the end of a worker", {}, ending.endEvents(),
                     [&] { return sim::waitReadable(ending.endEvents(), sim::Deadline(0)); });
    }
  }

  // Plugs the device in before the daemon starts.
  void startDaemon(const sim::UsbDevice& device, Words options = {}) {
    kernel.emplace(unit.sysfs.add(device));
    options.insert(options.begin(), "--debug=ctrl");
    options.insert(options.end(), {"127.0.0.1", transmitter->port(), "high"});
    unit.startDaemon(options);
  }

  // The only worker of the daemon.
  [[nodiscard]] pid_t worker() { return unit.daemon().children().at(0); }

  // Hears a worker out until the device is exported.
  void exportDevice() {
    kernel->serveWorker(worker());
    static_cast<void>(transmitter->hearOffer());
    sim::serveBackground();
    transmitter->say(Verdict::welcome);
    kernel->waitForSocket();
  }

  sim::Unit unit;
  std::optional<examples::ScriptedTransmitter> transmitter;
  std::optional<examples::ExportingKernel> kernel;
};

TEST_F(WorkerDaemon, StartsItWithItsKeys) {
  transmitter->listen();
  startDaemon({.name = "1-2"}, {"--keys", "KEYIN", "KEYOUT"});
  transmitter->accept();
  transmitter->greet({.hasKeys = true, .challenge = usbip::freshChallenge()});
  transmitter->prove({.in = "KEYIN", .out = "KEYOUT"});
  exportDevice();
  EXPECT_EQ(kernel->driver(), "usbip-host");
}

TEST_F(WorkerDaemon, SeesTheDeviceGo) {
  transmitter->listen();
  startDaemon({.name = "1-2"});
  transmitter->accept();
  transmitter->greet();
  exportDevice();
  kernel->plugOut();
  unit.daemon().waitForLine(contract::debug::withStatus(0));
  unit.daemon().waitForLine(contract::debug::gone(kernel->directory()));
}

TEST_F(WorkerDaemon, StartsTheNextOneWhenTheLinkIsLost) {
  transmitter->listen();
  startDaemon({.name = "1-2"});
  transmitter->accept();
  transmitter->greet();
  exportDevice();
  kernel->loseLink();
  unit.daemon().waitForLine(contract::debug::withStatus(1));
  transmitter->accept();
  transmitter->greet();
  exportDevice();
}

TEST_F(WorkerDaemon, TakesTheWorkerAndTheExportWithItWhenItIsKilled) {
  transmitter->listen();
  startDaemon({.name = "1-2"});
  transmitter->accept();
  transmitter->greet();
  exportDevice();
  unit.daemon().signal(SIGKILL);
  sim::waitUntil("the device's own driver", {}, [this] { return kernel->driver() == "usb"; });
}

TEST_F(WorkerDaemon, ShowsThatADeviceFromAnotherMachineCannotBeConfigured) {
  startDaemon({.name = "3-1", .parent = "/sys/devices/platform/vhci_hcd.0/usb3", .product = "Disk"});
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::cannotBeConfigured("Disk") + "\n");
}

TEST_F(WorkerDaemon, CountsRefusalsAsFailuresThoughTheWorkerRestsAfterEach) {
  transmitter->listen();
  startDaemon({.name = "1-2", .product = "Disk"});
  for (int refusal = 0; refusal < 5; ++refusal) {
    transmitter->accept();
    transmitter->greet({.verdict = Verdict::keysNeeded});
  }
  EXPECT_EQ(unit.display.waitForWrite(sim::Deadline(30)), contract::display::noTransmitter("Disk") + "\n");
}

TEST_F(WorkerDaemon, HasItWaitForATransmitterAfterFiveFailures) {
  startDaemon({.name = "1-2", .product = "Disk"});
  EXPECT_EQ(unit.display.waitForWrite(sim::Deadline(30)), contract::display::noTransmitter("Disk") + "\n");
  transmitter->listen();
  transmitter->accept();
  transmitter->greet();
  exportDevice();
}

}  // namespace
