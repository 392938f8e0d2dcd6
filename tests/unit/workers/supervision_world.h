#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/sysfs.h"
#include "support/debug_lines.h"
#include "unit/workers/launch_world.h"
#include "unit/workers/supervision_calls.h"
#include "workers/supervision.h"

using Lines = std::vector<std::string>;
using support::tagged;

/**
 * A world whose workers end as a test wants. Time stands still there but for what is slept, and sleeping
 * takes none: the seconds that a test sets are exactly those that supervision sees.
 */
class SupervisionWorld : public LaunchWorld {
 public:
  SupervisionWorld();

  /** Plugs a device of no class into sysfs, and starts its worker; the device's directory. */
  std::string plugWithWorker(const sim::UsbDevice& plugged = {});
  /** Lets the worker that was started next (or, with a path, that of this device) end, and waits for that. */
  void exitNext(int status);
  void exitWorkerOf(const std::string& path, int status);
  void killNext(int signal);
  /** A child that has exited; with a path, the daemon knows it as the worker of that device. */
  static pid_t exitedChild(int status);
  pid_t exitedWorker(int status, const std::string& path);

  void reap() { reapWorkers(*ctrl); }
  /** What is said, with debugging, while workers are reaped. */
  Lines saidReaping();

  sim::Sysfs sysfs;
  double now = 5000.0;            // seconds since the epoch
  std::vector<double> pauses;     // seconds of each sleep
  std::function<void()> inPause;  // runs in every sleep, unless null

 private:
  int tellTime(timeval* time) const;
  int sleep(const timespec& request);

  support::Replaced<int(timeval*, void*)> clock_;
  support::Replaced<int(const timespec*, timespec*)> sleeping_;
};

/** Runs `body` in such a world, in a child of the test. */
void inSupervisionWorld(const std::function<void(SupervisionWorld&)>& body);
