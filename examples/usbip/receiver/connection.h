#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "examples/usbip/receiver/termination.h"
#include "ulx/file_descriptor.h"

namespace usbip {

/**
 * A connected stream socket, which it owns, until the kernel takes it over. Each message has to be through within ten
 * seconds. Every wait ends by EndRequested, too.
 */
class Connection {
 public:
  /**
   * `socket` becomes non-blocking. `farEnd` is what a log calls the other end: "192.0.2.1 port 5000". `termination` must
   * outlive it. Throws "fcntl(O_NONBLOCK)".
   */
  Connection(int socket, std::string farEnd, const Termination& termination);

  [[nodiscard]] int socket() const { return socket_.fd(); }
  [[nodiscard]] const std::string& farEnd() const { return farEnd_; }
  [[nodiscard]] const Termination& termination() const { return termination_; }

  /**
   * Sends all of `bytes`. Those that the far side has no more use for are lost without a word: what it said before it
   * closed the connection can still be received. Throws a ulx::StrException for a silent far side, or "send()".
   */
  void send(std::span<const std::uint8_t> bytes) const;
  /**
   * Fills `bytes`; nothing behind them is read. Throws a ulx::StrException for a far side that is silent or has closed
   * the connection, or "recv()".
   */
  void receive(std::span<std::uint8_t> bytes) const;

 private:
  ulx::FileDescriptor socket_;
  std::string farEnd_;
  const Termination& termination_;
};

}  // namespace usbip
