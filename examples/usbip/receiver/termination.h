#pragma once

#include <chrono>
#include <string>

#include "examples/usbip/exchange/stop_signals.h"
#include "ulx/exceptions.h"

namespace usbip {

using Clock = std::chrono::steady_clock;

/** Somebody has asked the program to end. That is no failure: its status is 0. */
class EndRequested : public ulx::Exception {
 public:
  EndRequested() { status = 0; }
  [[nodiscard]] std::string text() const override { return "asked to end\n"; }
};

/**
 * SIGTERM, SIGINT and SIGHUP. They are held back from its construction on, so that none arrives at a bad moment, and end every
 * wait of `waitFor` by an EndRequested. There is one in a program.
 */
class Termination {
 public:
  /** Throws "sigprocmask()", "sigaction()" or "signalfd()". */
  Termination();

  /**
   * Waits until `descriptor` has one of the poll(2) `events` (or POLLERR, POLLHUP), or until `deadline`. Returns what it
   * has, 0 at the deadline; a `descriptor` of -1 never has anything. Throws EndRequested, or "poll()".
   */
  [[nodiscard]] short waitFor(int descriptor, short events, Clock::time_point deadline) const;
  /** Waits until `deadline`. Throws EndRequested, or "poll()". */
  void sleepUntil(Clock::time_point deadline) const;

  /** During its scope the signals end the program at once, with status 0: for calls that nothing else can interrupt. */
  class AtOnce {
   public:
    explicit AtOnce(const Termination& termination);
    AtOnce(const AtOnce&) = delete;
    AtOnce& operator=(const AtOnce&) = delete;
    ~AtOnce();
  };

 private:
  StopSignals pending_;
};

/** A deadline that never comes. */
inline constexpr Clock::time_point never = Clock::time_point::max();

}  // namespace usbip
