#pragma once

#include <sys/types.h>

#include <map>
#include <string>

/** The running workers, found by process id and by the physical sysfs path of the device that each serves. */
struct WorkerTable {
  /** Device path by process id; each entry is one worker. */
  std::map<pid_t, std::string> byPid;
  std::map<std::string, pid_t> byPath;

  /**
   * Records a worker. An earlier worker of the same path stays in `byPid`: it is still running and still has
   * to be reaped.
   */
  void add(pid_t pid, const std::string& devpath);

  /** Forgets a worker in both directions; a path that a later worker has taken over stays that one's. */
  void remove(pid_t pid);
};
