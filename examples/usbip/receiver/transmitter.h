#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/connection.h"
#include "examples/usbip/receiver/termination.h"
#include "ulx/exceptions.h"

namespace usbip {

/** Where the far side listens, as the daemon writes it. */
struct Transmitter {
  std::string interface;  ///< the only one that connections may use, where there is one of this name
  std::string host;       ///< a name or an address
  std::string port;       ///< a number
};

/** Nobody was reached: trying again may help. */
class NotReached : public ulx::StrException {
 public:
  using StrException::StrException;
};

/** It has been waited for long enough; the daemon knows the status. */
class AwaitedInVain : public ulx::StrException {
 public:
  explicit AwaitedInVain(const std::string& how) : StrException(how) { status = 28; }
};

/**
 * Connects to the first of the host's addresses that answers, within ten seconds and what the lookup of its name takes.
 * The connection is prepared for what the kernel does with it, and the log's debug lines name each step. Throws
 * NotReached, or EndRequested.
 */
[[nodiscard]] Connection connectTo(const Transmitter& transmitter, const Termination& termination,
                                   const Log& log);

/**
 * The same again and again for so long; one that is there at once is reached even in no time. Throws AwaitedInVain, or
 * EndRequested.
 */
[[nodiscard]] Connection connectWithin(std::chrono::seconds patience, const Transmitter& transmitter,
                                       const Termination& termination, const Log& log);

}  // namespace usbip
