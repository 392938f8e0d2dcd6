#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/namespaces.h"
#include "support/replaceable_call.h"
#include "unit/examples/usbip/receiver/device_files.h"

/**
 * A "/sys" with one device, 1-2, which the driver "usb" has, and with the driver usbip-host. Writes to attributes have the
 * consequences that they have on a kernel. One lives at a time in a process.
 */
class UsbipHost {
 public:
  UsbipHost();

  [[nodiscard]] const DeviceFiles& device() const { return device_; }
  /** The driver that has the device; empty for none. */
  [[nodiscard]] std::string driver() const;
  /** Gives the device to a driver, or takes it from any. */
  void giveTo(const std::string& driver);
  /** What a worker leaves that is killed while it exports the device, or between its first write and the binding. */
  void leaveExported();
  void leaveAdded();
  /** Plugs another device in at the same port, for the driver "usb". */
  void replaceDevice();

  /** The writes so far, each the path below "/sys/bus/usb/" or in the device's directory and the text. */
  [[nodiscard]] const std::vector<std::string>& writes() const { return writes_; }
  /** Has every write to such an attribute fail from now on. */
  void fail(const std::string& attribute, int error) { failures_[attribute] = error; }
  /** Calls `happens` right before a write to such an attribute. */
  void before(const std::string& attribute, std::function<void()> happens) {
    events_[attribute] = std::move(happens);
  }

 private:
  // How the driver's table has the device. What is removed while it is bound is there for ever, and of no use.
  enum class Entry { none, added, bound, removed };

  ssize_t write(int descriptor, const void* bytes, std::size_t length);
  // Each returns whether the kernel takes the text.
  bool take(const std::string& attribute, const std::string& text);
  bool changeTable(const std::string& text);
  bool bind(const std::string& text);
  bool unbind(const std::string& from, const std::string& text);
  bool probe(const std::string& text);

  sim::Namespaces world_;
  DeviceFiles device_{"/sys/devices/pci0000:00/usb1/1-2"};
  Entry inTable_ = Entry::none;
  std::vector<std::string> writes_;
  std::map<std::string, int> failures_;
  std::map<std::string, std::function<void()>> events_;
  support::Replaced<ssize_t(int, const void*, std::size_t)> kernel_;
};
