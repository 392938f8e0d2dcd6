#pragma once

#include <string>

#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace examples {

/** The text of a port in vhci_hcd's status. */
[[nodiscard]] std::string freePort(const std::string& hub, unsigned number);
[[nodiscard]] std::string usedPort(const std::string& hub, unsigned number, const std::string& localBusId);

/** vhci_hcd's directory in a private /sys. Who writes to `attach` and `detach` is heard, and nothing follows from it. */
class MadeUpHubs {
 public:
  /** Two free ports at each hub: 0 and 1, 8 and 9. */
  MadeUpHubs();

  static void writeStatus(const std::string& rows);
  /** What has been written to `attach`, or `detach`, since the last call; waits until there is something. */
  std::string waitForAttach(const sim::Deadline& deadline = {});
  std::string waitForDetach(const sim::Deadline& deadline = {});
  /** Whether anything has been written there that was not returned. */
  [[nodiscard]] bool hasAttach() const;
  [[nodiscard]] bool hasDetach() const;
  /** From now on the kernel takes no device: writing to `attach` fails with ENOSPC. */
  static void refuseDevices();
  /** The driver is not loaded any more. */
  static void unload();

 private:
  sim::Descriptor attach_;
  sim::Descriptor detach_;
};

}  // namespace examples
