#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>

#include "support/named_case.h"
#include "system/support/daemon_fixture.h"

namespace support {

/** What a kind of worker is started for, and what becomes of one whose daemon is killed. */
struct LaunchedKind : NamedCase {
  /** Makes the USB device, and its node where that is announced; the directory that is. */
  std::string (*add)(sim::Sysfs& sysfs);
  std::string usbDevice;  ///< its directory
  bool endsWithTheDaemon;
};

LaunchedKind genericKind();
LaunchedKind keyboardKind();
LaunchedKind scsiKind();

/** Daemons that follow one another in a unit; each is killed while it starts a worker. */
class KilledLaunch : public DaemonFixture {
 protected:
  /** Whether a daemon had created a process, and what that had become when both had ended or the worker served. */
  enum class Outcome { noProcess, endedByItself, endedBySignal, served };
  using Clock = std::chrono::steady_clock;

  void startDaemon();
  /** Announces a device to the daemon; the moment of that. */
  Clock::time_point beginLaunch(const LaunchedKind& kind);
  /** From the announcement to the report of the worker, for a daemon of its own. */
  Clock::duration lengthOfLaunch(const LaunchedKind& kind);
  /** Returns when the daemon has ended. */
  void killDaemon();
  /**
   * Takes the device out. Checks that the killed daemon has left nothing of the launch but what a worker that outlives it
   * is, and ends that.
   */
  Outcome clear(const LaunchedKind& kind);

 private:
  static Outcome outcomeOfGeneric(pid_t process);
  Outcome outcomeOfLasting(pid_t process);
  /** The processes that daemons of this unit, or of earlier ones, have left behind. */
  static std::set<pid_t> leftBehind();

  std::set<pid_t> leftBefore_;
};

}  // namespace support
