#pragma once

#include <string>
#include <utility>
#include <vector>

#include "sim/descriptor.h"

namespace fuzz {

/** The daemon's descriptors have numbers below this one, those of everything around it from here on. */
inline constexpr int firstForeignNumber = 128;

/** Which of the daemon's numbers are open. */
[[nodiscard]] std::vector<int> openNumbers();

/** A client of the control socket. Nothing of it waits. */
class ControlSocketClient {
 public:
  explicit ControlSocketClient(const std::string& socketPath);

  void send(const std::string& text);
  void finish();
  void leave();
  [[nodiscard]] bool hasLeft() const { return !socket_.isOpen(); }
  /** Whether reading what it says does not wait. */
  [[nodiscard]] bool isReadable() const { return hasFinished_ || hasLeft() || !said_.empty(); }

  /** All that it has sent. */
  [[nodiscard]] const std::string& said() const { return said_; }
  /** All that it has been sent so far. */
  [[nodiscard]] const std::string& heard();
  /** Whether the daemon has closed the connection. */
  [[nodiscard]] bool isDisconnected() const { return isDisconnected_; }

 private:
  sim::Descriptor socket_;
  std::string said_;
  std::string heard_;
  bool hasFinished_ = false;
  bool isDisconnected_ = false;
};

/** A connection of the daemon's that is none of its control socket, and what stands at its other end. */
class ForeignConnection {
 public:
  /** Takes the lowest free number. */
  explicit ForeignConnection(unsigned kind);

  [[nodiscard]] int number() const { return daemonEnd_.get(); }
  /** Whether nothing was sent, and nobody has closed it. */
  [[nodiscard]] bool isUntouched() const;

 private:
  /** The daemon's end first. */
  explicit ForeignConnection(std::pair<sim::Descriptor, sim::Descriptor> ends);

  sim::Descriptor daemonEnd_;
  sim::Descriptor otherEnd_;
};

}  // namespace fuzz
