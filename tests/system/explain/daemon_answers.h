#pragma once

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/explain/answer.h"
#include "system/explain/circumstances.h"

namespace support {

/**
 * A daemon of a unit, asked what becomes of a device by plugging it in: the log says what the device is taken for,
 * the workers report their arguments, and the display is read write by write. A control connection is open, so
 * that generic devices are announced on the display.
 */
class AskedDaemon {
 public:
  explicit AskedDaemon(sim::Unit& unit) : unit_(unit) {}

  /** Makes the circumstances those of the daemon; it is started anew for another list of classes only. */
  void put(const Circumstances& circumstances);
  /** Plugs the recording in and says what becomes of each of its devices. What was started stays until clear(). */
  std::vector<Answer> plug(const sim::DeviceRecording& recording);
  /** Takes the recording out again, and waits until the daemon has forgotten its workers. */
  void clear(const sim::DeviceRecording& recording);

 private:
  void restart(const std::string& classList);
  void deliver(const std::string& linkSpeed);
  void configure(const std::string& settings);

  sim::Unit& unit_;
  std::list<sim::LinkManager> clients_;
  std::vector<sim::Worker*> started_;
  std::optional<Circumstances> present_;
};

}  // namespace support
