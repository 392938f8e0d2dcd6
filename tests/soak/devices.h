#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "soak/life.h"
#include "soak/random.h"

namespace soak {

/** The devices that are plugged into the unit, each at a port of its own. They outlive a daemon. */
class Devices {
 public:
  explicit Devices(sim::Unit& unit);

  /** A random device, recorded or made up, at a free port; returns the port. There must be a free one. */
  int plug(Random& random, Life& life, const std::vector<int>& freePorts);
  void unplug(int port, Life& life);
  /** The device, or a node of it, is announced once more, by one of its paths. */
  void announceAgain(int port, Random& random, Life& life);
  void rename(int port, Random& random, Life& life);
  /** The device never shows what it is: the daemon waits in vain for three seconds. */
  void plugIncomplete(Random& random, Life& life, int port);

  [[nodiscard]] static std::vector<int> allPorts();
  [[nodiscard]] std::vector<int> takenPorts() const;
  /** The port at which this directory is or was; 0 where there is none. */
  [[nodiscard]] int portOf(const std::string& directory) const;
  [[nodiscard]] std::vector<std::string> directories() const;

 private:
  struct Device {
    std::string directory;
    std::vector<std::string> nodes;  ///< hiddev and SCSI generic
    std::optional<sim::DeviceRecording> recording;
  };

  Device plugRecorded(Random& random, Life& life, int port);
  Device plugMade(Random& random, Life& life, int port);
  Device plugKeyboard(Random& random, Life& life, int port);
  Device plugDisk(Random& random, Life& life, int port);

  sim::Unit& unit_;
  std::vector<sim::DeviceRecording> recordings_;
  std::map<int, Device> devices_;
  std::map<std::string, int> portsOfDirectories_;
};

}  // namespace soak
