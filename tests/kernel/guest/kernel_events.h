#pragma once

#include <deque>
#include <map>
#include <string>

#include "sim/descriptor.h"
#include "sim/state_report.h"
#include "sim/wait.h"

namespace guest {

/** One uevent. */
struct KernelEvent {
  std::string action;
  std::string directory;                     ///< "/sys" and the DEVPATH
  std::map<std::string, std::string> items;  ///< all KEY=VALUE items
};

/** What an event is awaited by: its action, and one of its items. */
struct KernelEventSort {
  std::string action;
  std::string key;
  std::string value;
};

inline const KernelEventSort usbDeviceAdded{"add", "DEVTYPE", "usb_device"};
inline const KernelEventSort storageNodeAdded{"add", "SUBSYSTEM", "scsi_generic"};
inline const KernelEventSort hidNodeAdded{"add", "SUBSYSTEM", "usbmisc"};

/** Receives the kernel's uevents beside the daemon, to wait until the kernel has done its part. */
class KernelEvents {
 public:
  KernelEvents();

  /** Waits for an event of this sort; returns the oldest that was not returned before. */
  KernelEvent waitFor(const KernelEventSort& sort);
  /** Waits until the kernel has announced that the device of a directory has got a driver. */
  void waitForDriverOf(const std::string& directory);
  /** Waits until the kernel has announced that a directory (beginning with "/sys") has gone. What it announced of the
   * directory before that is forgotten. */
  void waitForRemovalOf(const std::string& directory);

 private:
  void readAll();
  [[nodiscard]] std::string describe() const;
  void waitFor(const std::string& action, const std::string& directory);
  template <class Predicate>
  KernelEvent waitForNext(const std::string& awaited, const Predicate& isAwaited);

  sim::Descriptor socket_;
  sim::Background source_;
  std::deque<KernelEvent> events_;  ///< received, not returned yet
  sim::StateReport stateReport_;
};

}  // namespace guest
