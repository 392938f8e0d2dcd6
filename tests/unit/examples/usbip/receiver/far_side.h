#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "examples/usbip/receiver/connection.h"
#include "examples/usbip/receiver/termination.h"

/** The other end of a worker's connection, in a test's hands. */
class FarSide {
 public:
  FarSide();
  FarSide(const FarSide&) = delete;
  FarSide& operator=(const FarSide&) = delete;
  ~FarSide() { leave(); }

  /** The worker's end. */
  [[nodiscard]] const usbip::Connection& connection() const { return connection_; }

  void say(std::span<const std::uint8_t> bytes) const;
  /** The next bytes of the worker; it waits for them. Fewer where the worker has closed its end. */
  [[nodiscard]] std::vector<std::uint8_t> hear(std::size_t count) const;
  /** Says nothing more: whatever has been said is still read. */
  void fallSilent() const;
  /** Closes the connection. */
  void leave();

  /** How many bytes have been said that the worker has not read. */
  [[nodiscard]] std::size_t unread() const;

 private:
  explicit FarSide(std::array<int, 2> ends);

  usbip::Termination termination_;
  usbip::Connection connection_;
  int socket_;
};
