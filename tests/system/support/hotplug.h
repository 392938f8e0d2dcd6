#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/unit.h"

using Messages = std::vector<std::string>;

/** The daemon's debug messages with these texts. */
Messages rxCtrl(const Messages& texts);

/** What the kernel calls a directory that begins with "/sys". */
std::string devpathOf(const std::string& directory);

/** What the daemon says of the "add" event of a device of the USB subsystem, and then these texts. */
Messages usbDevice(const std::string& directory, const Messages& texts);
/** The same for a device that is left to the generic worker. */
Messages genericDevice(const std::string& directory);

/** What the daemon says when it has decided what a device is. */
namespace kind {
inline constexpr const char* scsiGeneric = "this is a generic scsi device";
inline constexpr const char* hid = "this is HID device";
inline constexpr const char* hub = "this is a hub device";
inline constexpr const char* keyboard = "this is a keyboard device";
inline constexpr const char* storage = "this is a storage device";
inline constexpr const char* unsupported = "this is an unsupported USB device";
inline constexpr const char* generic = "this is a generic USB device";
inline constexpr const char* undetermined = "timed out waiting to determine sort of USB thing";
}  // namespace kind

/** What the daemon says of an event that it could not handle. */
inline constexpr const char* eventIgnored = "Exception while processing uevent; ignored.";

/** A unit whose daemon tells what it makes of each event. */
class Hotplug : public testing::Test {
 protected:
  /** Starts the daemon with "--class=" and this list (and these options), and waits until it serves. */
  void start(const std::string& classList = "none", const Messages& options = {});

  /** What the daemon says of the events that `action` sends, until it has handled them all. */
  Messages during(const std::function<void()>& action);

  /** The same for one datagram. */
  Messages saidOf(const std::string& datagram) {
    return during([&] { unit.uevents.send(datagram); });
  }
  /** The same for an "add" event of a directory that begins with "/sys". */
  Messages saidOfAdding(const std::string& directory) {
    return saidOf(sim::uevent("add", devpathOf(directory)));
  }
  /** The same for a device or node that is made and announced. */
  template <class Device>
  Messages saidOfPlugging(const Device& device) {
    return during([&] { unit.plug(device); });
  }

  /** What the daemon takes this device for: one of `kind`, or else the last that it says. */
  std::string kindOf(const sim::UsbDevice& device);

  sim::Unit unit;
};
