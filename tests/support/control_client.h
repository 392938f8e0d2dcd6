#pragma once

#include <string>
#include <string_view>

#include "sim/descriptor.h"

namespace support {

/** A client of the control socket in the test's own process. Nothing of it waits. */
class ControlClient {
 public:
  explicit ControlClient(const std::string& socketPath);

  void send(std::string_view message) const;
  /** Says that nothing more comes, and stays connected. */
  void finish() const;
  void disconnect() { socket_.close(); }

  /** What has been received since the last call. */
  [[nodiscard]] std::string received() const;
  /** Whether the daemon has closed the connection and everything it sent was received. */
  [[nodiscard]] bool isDisconnected() const;

 private:
  sim::Descriptor socket_;
};

}  // namespace support
