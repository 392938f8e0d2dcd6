#pragma once

#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "sim/uevent.h"

namespace sim {

/**
 * Takes the kernel's place in the unit's network: multicasts uevents to everyone who listens. As with the
 * kernel, no listener is needed: an event without one, or for one whose buffer is full, is lost and the
 * sender does not notice. `listeners()` shows who would receive it.
 */
class UeventSender {
 public:
  /** Throws Error when the network does not let this process multicast (outside of a unit). */
  UeventSender();

  /** Multicasts these bytes as one datagram. Throws Error when the system refuses it. */
  void send(const std::string& datagram) const;
  void add(const std::string& devpath, const UeventPairs& pairs = {}) const {
    send(uevent("add", devpath, pairs));
  }
  void remove(const std::string& devpath, const UeventPairs& pairs = {}) const {
    send(uevent("remove", devpath, pairs));
  }

  struct Listener {
    unsigned queuedBytes;  ///< memory taken by events that it has not received yet
    unsigned lost;         ///< events that did not fit into its buffer
  };
  /** The sockets in this network that receive uevents. */
  [[nodiscard]] static std::vector<Listener> listeners();

 private:
  Descriptor socket_;
};

}  // namespace sim
