#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kernel/guest/desk.h"
#include "sim/daemon.h"
#include "sim/display.h"
#include "sim/link_manager.h"
#include "sim/workers.h"

namespace guest {

using Lines = std::vector<std::string>;

/** No line on the display. */
inline const Lines nothing;

/**
 * A receiver unit that is this whole system: the daemon meets the kernel's own sysfs and uevents. Devices are
 * on the desk; workers, display and link manager are those of the simulated unit. When a test ends,
 * everything is taken out and every worker has ended.
 */
class ReceiverUnit : public testing::Test {
 public:
  ~ReceiverUnit() override;
  ReceiverUnit(const ReceiverUnit&) = delete;
  ReceiverUnit& operator=(const ReceiverUnit&) = delete;
  ReceiverUnit(ReceiverUnit&&) = delete;
  ReceiverUnit& operator=(ReceiverUnit&&) = delete;

 protected:
  ReceiverUnit();

  /** Replaces the section "usb" of the configuration. Without this there is no configuration. */
  static void configure(const std::string& usbSettings);

  /** Starts the daemon with these options, for a link of this speed, and waits until it serves. */
  sim::Daemon& start(const Lines& options = {}, const std::string& speed = "high");

  /** Waits until the daemon has handled every event that the kernel has sent so far. */
  void settle();
  /** Waits until the daemon has served everything else that was pending, too. */
  void settleEverySource();

  /** Delivers link parameters and waits until the daemon has taken them; the connection stays. */
  sim::LinkManager& deliver(const std::string& speed = "high");

  /** Plugs a device in and waits until the daemon has handled it. */
  PluggedDevice plug(const EmulatedDevice& device, const Socket& socket);
  /** Waits until the daemon has seen the device go, too. */
  void takeOut(const PluggedDevice& device);
  /** Waits for the node by which a disk's commands are sent, and for the daemon to have handled it. */
  std::string storageNode();

  /** The worker of a device or node, which must be the next to report. */
  sim::Worker& workerOf(const std::string& directory);

  Desk desk;
  sim::Workers workers;
  sim::Display display;
  std::unique_ptr<sim::Daemon> daemon;

 private:
  void waitUntilDisplayKnowsItsWriter();

  std::vector<std::unique_ptr<sim::LinkManager>> managers_;
};

/** How the generic worker of a device is started, with these options before the usual arguments. */
Lines genericWorker(const std::string& directory, const Lines& options = {});
/** How the storage worker of a node is started. */
Lines storageWorker(const std::string& node);

}  // namespace guest
