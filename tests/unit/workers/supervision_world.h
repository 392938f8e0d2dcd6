#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/sysfs.h"
#include "support/launch_world.h"
#include "support/output.h"
#include "unit/workers/supervision_calls.h"
#include "workers/supervision.h"

/**
 * A world whose workers end as a test wants. Time stands still there but for what is slept, and sleeping
 * takes none: the seconds that a test sets are exactly those that supervision sees.
 */
class Supervision : public support::LaunchWorld {
 protected:
  Supervision();

  /** Plugs a device of no class into sysfs, and starts its worker; the device's directory. */
  std::string plugWithWorker(const sim::UsbDevice& plugged = {});
  /** Lets the worker that was started next end, and waits for that. */
  void exitNext(int status);
  void killNext(int signal);
  /** A child that has exited; with a path, the daemon knows it as the worker of that device. */
  static pid_t exitedChild(int status);
  pid_t exitedWorker(int status, const std::string& path);

  void reap() { reapWorkers(*ctrl_); }
  void reapNext(int status) {
    exitNext(status);
    reap();
  }
  /** What is logged, with debugging, while workers are reaped. */
  support::Lines logOfReaping() {
    return support::debugLogDuring([this] { reap(); });
  }

  sim::Sysfs sysfs_;
  double now_ = 5000.0;            // seconds since the epoch
  std::vector<double> pauses_;     // seconds of each sleep
  std::function<void()> inPause_;  // runs in every sleep, unless null

 private:
  int showTime(timeval* time) const;
  int sleep(const timespec& request);

  support::Replaced<int(timeval*, void*)> clock_;
  support::Replaced<int(const timespec*, timespec*)> sleeping_;
};

/** Waits until the child has ended; it can still be reaped. */
void waitUntilEnded(pid_t child);
