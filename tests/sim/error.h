#pragma once

#include <stdexcept>
#include <string>

namespace sim {

/** Something in the simulated unit does not work; the text says what. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/**
 * A deadline has passed. The text names what was awaited and shows everything that the unit's parts have
 * seen until then (the tail of the daemon's standard error, the workers, the display).
 */
class TimedOut : public Error {
 public:
  explicit TimedOut(const std::string& awaited);
};

/** The error of a failed system call: the call and its object, then the text of errno. */
[[nodiscard]] Error systemError(const std::string& call);

}  // namespace sim
