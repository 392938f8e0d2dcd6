#pragma once

#include <map>
#include <string>

#include "sim/device_recording.h"

namespace demo {

/** The sockets of the unit: which recorded device is plugged in where. It knows, and does nothing. */
class Desk {
 public:
  /**
   * Gives the device a port: the one asked for, or the first that is free on its bus. The recording is turned
   * into what the unit's kernel would show there. Throws sim::Error when there is no such recording, it
   * cannot be plugged, or it is plugged in.
   */
  const sim::DeviceRecording& plugIn(const std::string& name, const std::string& port = "");
  /** Takes the device out; throws sim::Error when it is not plugged in. */
  sim::DeviceRecording takeOut(const std::string& name);
  /** By name. */
  [[nodiscard]] const std::map<std::string, sim::DeviceRecording>& pluggedIn() const { return devices_; }

 private:
  [[nodiscard]] std::string freePort(const sim::DeviceRecording& recording) const;
  [[nodiscard]] bool isTaken(const std::string& directory) const;

  std::map<std::string, sim::DeviceRecording> devices_;
};

}  // namespace demo
