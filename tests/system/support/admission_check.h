#pragma once

#include <gtest/gtest.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/made_up_devices.h"

/** What became of a device that was plugged in. */
struct Decision {
  bool admitted = false;           ///< a worker was started
  std::vector<std::string> shown;  ///< each write to the display

  bool operator==(const Decision&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Decision& decision);

const Decision admittedSilently = {true, {}};
const Decision refusedSilently = {false, {}};

/** Refused, with this line on the display. */
Decision refusedWith(const std::string& line);

/** A unit whose daemon is asked which devices may be used. It has no control connection, so that an admitted
 * device is not announced. */
class AdmissionCheck : public testing::Test {
 protected:
  /** Starts the daemon with these lines as section "usb" of its configuration, and waits until it serves. */
  void startWith(const std::string& usbSettings, const std::string& linkSpeed = "high");
  /** The same without any configuration file. */
  void startWithoutConfiguration(const std::string& linkSpeed = "high");
  /** Replaces the section "usb"; the daemon is not told. */
  static void configure(const std::string& usbSettings);
  /** Sends SIGHUP and waits until the daemon has noticed. */
  void hangUp();

  /** Plugs the device in and waits until the daemon has decided. */
  Decision decide(const sim::UsbDevice& device);
  Decision decide(const sim::DeviceRecording& recording);
  /** The outcome for the device plugged in last; waits until the daemon has decided. */
  Decision decision();

  /** What the daemon says of one device, from its event's line on. */
  std::vector<std::string> debugLinesOf(const sim::UsbDevice& device);

  sim::Unit unit;

 private:
  std::size_t workersBefore_ = 0;
};
