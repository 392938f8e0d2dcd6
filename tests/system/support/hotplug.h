#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/unit.h"
#include "support/output.h"

namespace support {

/** What the kernel calls a directory that begins with "/sys". */
std::string devpathOf(const std::string& directory);

/** What the daemon says of the "add" event of a node of this subsystem, and then these texts. */
Lines nodeOf(const std::string& subsystem, const std::string& directory, const Lines& texts = {});
/** The same for the USB subsystem. */
Lines usbDevice(const std::string& directory, const Lines& texts);
/** The same for a device that is left to the generic worker. */
Lines genericDevice(const std::string& directory);
/** What it says of an "add" event with this path that it cannot handle. */
Lines ignoredEvent(const std::string& devpath);

/** What the daemon prints of the events that `action` sends, until it has handled them all. */
Lines messagesDuring(sim::Unit& unit, const std::function<void()>& action);

/** A unit whose daemon logs how it handles each event. */
class Hotplug : public testing::Test {
 protected:
  /** Starts the daemon with "--class=" and this list (and these options), and waits until it serves. */
  void start(const std::string& classList = "none", const Lines& options = {});

  Lines during(const std::function<void()>& action) { return messagesDuring(unit, action); }

  /** The same for one datagram. */
  Lines saidOf(const std::string& datagram) {
    return during([&] { unit.uevents.send(datagram); });
  }
  /** The same for an "add" event of a directory that begins with "/sys". */
  Lines saidOfAdding(const std::string& directory) {
    return saidOf(sim::uevent("add", devpathOf(directory)));
  }
  /** The same for a device or node that is made and announced. */
  template <class Device>
  Lines saidOfPlugging(const Device& device) {
    return during([&] { unit.plug(device); });
  }

  /** What the daemon takes this device for: the text that says so, or else the last that it says. */
  std::string kindOf(const sim::UsbDevice& device);

  bool hasNoWorker() { return unit.daemon().children().empty(); }

  sim::Unit unit;
};

}  // namespace support
