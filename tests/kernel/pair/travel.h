#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "kernel/guest/desk.h"
#include "kernel/pair/far_machine.h"
#include "kernel/pair/far_program.h"
#include "kernel/pair/wire.h"
#include "sim/contract.h"
#include "sim/display.h"
#include "sim/start_script.h"
#include "sim/syslog_sink.h"

namespace pair {

/** A file of the machine whose bytes nobody can foresee, for guest::diskOf. */
inline constexpr const char* randomDisk = "random.disk";

/** How the unit is configured. What is not set is as on a unit whose user has set nothing. */
struct UnitSettings {
  std::string options = "--debug=ctrl,generic";
  std::string host = "transmitter";
  std::string usb = {};  ///< settings of the section "usb"
};

/**
 * A unit, started by its start script, whose generic worker is usb_rx_usbip, and a machine at the other end of the wire.
 * At the end everything is taken out, and nothing runs that a test has started.
 */
class Travel : public testing::Test {
 protected:
  Travel();
  void TearDown() override;

  void startUnit(const UnitSettings& settings = {});
  /** Starts the program of the far machine, and the unit. */
  void startBothEnds();
  void stopUnit();

  /** The daemon that the supervisor has started last. */
  [[nodiscard]] static pid_t daemon();
  /** The workers that run, killed or not. */
  [[nodiscard]] static std::vector<pid_t> workers();
  /** The one worker that runs now or soon. */
  static pid_t waitForWorker();
  /** The next one after that. */
  static pid_t waitForWorkerAfter(pid_t former);
  static void waitUntilNoWorkerRuns();

  /** The driver that has a device, or one of its interfaces as "1.0"; empty when none has. */
  [[nodiscard]] static std::string driverOf(const guest::PluggedDevice& device);
  [[nodiscard]] static std::string driverOf(const guest::PluggedDevice& device, const std::string& interface);
  /** Waits until a device's first interface has this driver. */
  static void waitForDriver(const guest::PluggedDevice& device, const std::string& driver);

  /** The far machine's names of disks that have travelled: "/dev/sda"... Waits until there are so many. */
  std::vector<std::string> waitForDisks(std::size_t count = 1);
  /** The same for one disk. */
  std::string waitForDisk();
  /** Waits until so many keyboards and mice have travelled and can be used. */
  void waitForInputs(int count);
  void expectContentOf(const std::string& farDisk, const std::string& sha256);

  sim::SyslogSink syslog;
  sim::Display display;
  guest::Desk desk;
  FarMachine far;
  FarProgram farProgram;
  Wire wire;
  sim::StartScript script;
};

/** Measures seconds. */
class StopWatch {
 public:
  [[nodiscard]] double seconds() const;
  /** Prints one line: "WHAT: 0.52 s". */
  void print(const std::string& what) const;

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace pair
