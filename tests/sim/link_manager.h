#pragma once

#include <string>

#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace sim {

/** The parameters of the link to the Transmitter, which the link manager sends to the daemon. */
struct LinkParameters {
  std::string host = "transmitter";
  std::string port = "5000";
  std::string speed = "high";
  std::string interface = "eth1";
  std::string inkey = {};
  std::string outkey = {};

  /** The one line of six fields, blanks between them, without a newline. */
  [[nodiscard]] std::string line() const;
};

/** One connection to the daemon's control socket. It closes with the object. */
class LinkManager {
 public:
  static constexpr const char* usualPath = "/var/run/usb_rx";

  /** Connects; waits until the daemon listens there. */
  explicit LinkManager(const std::string& path = usualPath, const Deadline& deadline = {});

  void send(const std::string& bytes);
  void configure(const LinkParameters& parameters = {}) { send(parameters.line()); }
  /** What comes next, up to 64 KiB; empty at the end of the connection. */
  std::string receive(const Deadline& deadline = {});
  /** Everything up to the end of the connection. */
  std::string receiveAll(const Deadline& deadline = {});
  /** Sends no more, still receives. */
  void halfClose();
  void close() { connection_.close(); }

 private:
  Descriptor connection_;
};

}  // namespace sim
