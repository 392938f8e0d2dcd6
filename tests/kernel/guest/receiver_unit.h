#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kernel/guest/desk.h"
#include "sim/contract.h"
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

  /** The next worker, which must be the generic one of this device, with these options before the usual arguments. */
  sim::Worker& genericWorkerOf(const PluggedDevice& device, const Lines& options = {});
  /** The next worker, which must be the storage worker of this node. */
  sim::Worker& storageWorkerOf(const std::string& node);
  /** The next two workers must be these, in either order. */
  void expectGenericAndStorageWorker(const PluggedDevice& device, const std::string& node);
  /** These devices and nodes have one worker each, and nothing else has any. */
  void expectServed(const std::set<std::string>& devices);

  /** Whether the daemon has logged this debug message. */
  [[nodiscard]] bool hasMessage(const std::string& text) const;

  Desk desk;
  sim::Workers workers;
  sim::Display display;
  std::unique_ptr<sim::Daemon> daemon;

 private:
  std::vector<std::unique_ptr<sim::LinkManager>> managers_;
};

/** The DEVPATH of a directory that begins with "/sys". */
std::string devpathOf(const std::string& directory);
/** The line of the display for a device that has been attached. */
std::string attached(const EmulatedDevice& device);

}  // namespace guest
