#pragma once

#include <functional>
#include <string>

#include "sim/deadline.h"

namespace sim {

/**
 * A descriptor that is served during every wait of this process: the display and the
 * syslog socket are read this way, so that the daemon never blocks or loses a message only because a test
 * waits for something else.
 */
class Background {
 public:
  /** `serve` is called when `fd` is readable; it must take something from it. `fd` stays the caller's. */
  Background(int fd, std::function<void()> serve);
  ~Background();
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  [[nodiscard]] int descriptor() const { return fd_; }
  void serve() const { serve_(); }

 private:
  int fd_;
  std::function<void()> serve_;
};

/** Waits until `fd` is readable (or at its end); false when the deadline passes before. */
[[nodiscard]] bool waitReadable(int fd, const Deadline& deadline);

/**
 * Waits until `condition` holds, asking again whenever a background source was served. Throws TimedOut naming
 * `awaited`.
 */
void waitUntil(const std::string& awaited, const Deadline& deadline, const std::function<bool()>& condition);
/** The same, asking also when `fd` is readable; `condition` must take what makes it so. */
void waitUntil(const std::string& awaited, const Deadline& deadline, int fd,
               const std::function<bool()>& condition);

/** Serves what the background sources hold at this moment, without waiting. */
void serveBackground();
/** Waits until at least one background source has been served, or the deadline has passed. */
void serveBackground(const Deadline& deadline);

}  // namespace sim
