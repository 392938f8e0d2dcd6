#pragma once

#include <string>
#include <vector>

#include "kernel/guest/emulated_devices.h"
#include "kernel/guest/kernel_events.h"
#include "kernel/guest/machine.h"

namespace guest {

/** Where a device is plugged in. */
struct Socket {
  std::string bus;   ///< one of the machine's controllers
  std::string port;  ///< "1", or "1.2" for the second port of a hub in the first
};

/** A port of the high-speed controller that every machine has; it takes no device of full speed. */
[[nodiscard]] Socket highSpeedSocket(int number);
/** A port of the full-speed controller that every machine has. */
[[nodiscard]] Socket fullSpeedSocket(int number);
/** The controllers of this machine, by their types: "ehci", "ohci" and maybe others. */
[[nodiscard]] std::vector<std::string> controllers();
/** A port of a controller of this type. */
[[nodiscard]] Socket socketOf(const std::string& controller, int number = 1);

/** A device in its socket. */
struct PluggedDevice {
  EmulatedDevice device;
  Socket socket;
  std::string id;  ///< the machine's name of it
  std::string
      directory;  ///< the device's own, beginning with "/sys/devices/"; empty before the kernel announces it
};

/** The user's desk: devices are plugged into the machine and taken out by hand. */
class Desk {
 public:
  Desk();
  /** Takes everything out and waits until the kernel has let go of it. */
  ~Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  /** Returns when the kernel has announced the device and everything that it knows of it at once; a disk's
   * nodes follow. */
  PluggedDevice plug(const EmulatedDevice& device, const Socket& socket);
  /** The same for a port of a hub that is plugged in. */
  PluggedDevice plugBehind(const PluggedDevice& outer, int port, const EmulatedDevice& device);

  /** Returns when the kernel has announced that the device has gone. What is behind a hub goes with it. */
  void takeOut(const PluggedDevice& device);

  KernelEvents events;

 private:
  void execute(const std::vector<MachineCommand>& commands, const std::string& id);
  /** Takes the device, and what was behind it, away from those that are plugged in. */
  void forget(const PluggedDevice& taken);

  Machine& machine_;
  std::vector<PluggedDevice> devices_;  ///< those behind a hub come after it
};

}  // namespace guest
