#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace support {

using Arguments = std::vector<std::string>;

/** A unit that has one device for each kind of worker. */
class WorkerLaunch : public testing::Test {
 protected:
  /** Starts the daemon with "--class=all", these options and the usual three arguments, and waits until it
   * serves. */
  void startWith(const Arguments& options, const sim::ProcessOptions& world = {});
  /** The same with other arguments than the usual "transmitter", "5000", "high"; with port 0 it does not
   * wait. */
  void startFor(const Arguments& positionals, const Arguments& options = {},
                const sim::ProcessOptions& world = {});

  /** Each plugs a device of that kind in and returns its worker. */
  sim::Worker& genericWorker(const std::string& port = "1-1");
  sim::Worker& keyboardWorker();
  sim::Worker& scsiWorker();

  /** What all three were started with. */
  std::vector<sim::WorkerStart> startsOfAllWorkers();

  sim::Unit unit;

  static constexpr const char* genericDirectory = "/sys/devices/platform/usb-host.0/usb1/1-1";
  static constexpr const char* scsiDirectory =
      "/sys/devices/platform/usb-host.0/usb1/1-3/1-3:1.0/host0/target0:0:0/0:0:0:0/scsi_generic/sg0";
};

}  // namespace support
