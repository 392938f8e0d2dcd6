#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace support {

/** What became of a device that was plugged in. */
struct Decision {
  bool admitted = false;  ///< a worker was started
  Lines shown;            ///< each write to the display

  bool operator==(const Decision&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Decision& decision);

const Decision admittedSilently = {true, {}};
const Decision refusedSilently = {false, {}};

/** Refused, with this line on the display. */
Decision refusedWith(const std::string& line);

/** A unit whose daemon is asked which devices may be used. It has no control connection, so that an admitted
 * device is not announced. */
class AdmissionCheck : public Hotplug {
 protected:
  /** Starts the daemon with these lines as section "usb" of its configuration, and waits until it serves. */
  void startWith(const std::string& usbSettings, const std::string& linkSpeed = "high");
  /** The same without any configuration file. */
  void startWithoutConfiguration(const std::string& linkSpeed = "high");
  /** Replaces the section "usb"; the daemon gets no signal. */
  static void configure(const std::string& usbSettings);

  /** Plugs the device in and waits until the daemon has decided. */
  template <class Device>
  Decision decide(const Device& device) {
    return decisionAfter([&] { unit.plug(device); });
  }
  /** The same for the "add" event of a directory that begins with "/sys". */
  Decision decideAdded(const std::string& directory) {
    return decisionAfter([&] { unit.uevents.add(devpathOf(directory)); });
  }
  /** The same for the one device that `action` announces. */
  Decision decisionAfter(const std::function<void()>& action);

 private:
  std::size_t workersBefore_ = 0;
};

}  // namespace support
