#pragma once

#include <poll.h>

#include <vector>

namespace usbip {

/** Descriptors that are waited for together. */
class PollSet {
 public:
  /** Has wait() end when `fd` has one of `events`, or hangs up. */
  void add(int fd, short events);
  /** Waits for at most so many milliseconds; without limit for a negative number. Throws poll(). */
  void wait(int milliseconds);
  /** Whether anything has happened to `fd`. */
  [[nodiscard]] bool hasEvent(int fd) const;

 private:
  std::vector<pollfd> descriptors_;
};

}  // namespace usbip
