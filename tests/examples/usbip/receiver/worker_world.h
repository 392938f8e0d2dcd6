#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "examples/usbip/receiver/exporting_kernel.h"
#include "examples/usbip/receiver/scripted_transmitter.h"
#include "examples/usbip/receiver/worker_program.h"
#include "sim/namespaces.h"
#include "support/loopback.h"

namespace examples {

/** A test with a device in a "/sys" of its own, a kernel that exports it, and a far side in a network of its own. */
class WorkerWorld : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  WorkerWorld() { support::bringUpLoopback(); }

  /** `options`, and the operands for this device and far side. */
  [[nodiscard]] Words arguments(Words options = {}) const {
    for (const std::string& operand :
         {std::string(), std::string("127.0.0.1"), transmitter.port(), kernel.directory()}) {
      options.push_back(operand);
    }
    return options;
  }

  /** Whether its own driver has the device. */
  [[nodiscard]] bool hasDeviceBack() const {
    sim::serveBackground();
    return kernel.driver() == "usb";
  }

 private:
  sim::Namespaces namespaces_;  // first: everything else happens inside

 protected:
  ExportingKernel kernel;
  ScriptedTransmitter transmitter;
};

/** The same with a far side that listens, and a worker that has just been started. */
class RunningWorker : public WorkerWorld {
 protected:
  explicit RunningWorker(const Words& options = {}) {
    transmitter.listen();
    worker.emplace(arguments(options));
    kernel.serveWorker(worker->pid());
  }

  /** Waits until the device is exported. */
  void awaitExport() {
    transmitter.welcomeDevice();
    kernel.waitForSocket();
    worker->waitForLine("1-2 (0627:0001, high speed) is exported to 127.0.0.1 port " + transmitter.port());
  }

  std::optional<WorkerProgram> worker;
};

}  // namespace examples
