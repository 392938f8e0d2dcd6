#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>

/** An entry of `byPid`: a running worker's process id, and the physical sysfs path of the device it serves.
 * The table's users take it apart at once, so the name stands here for readers only. */
using WorkerRecord = std::pair<const pid_t, std::string>;

/** The running workers, found by process id and by the physical sysfs path of the device that each serves. */
struct WorkerTable {
  WorkerTable() = default;
  WorkerTable(const WorkerTable&) = delete;
  WorkerTable& operator=(const WorkerTable&) = delete;
  WorkerTable(WorkerTable&&) = default;
  WorkerTable& operator=(WorkerTable&&) = default;
  ~WorkerTable() = default;

  /** Each entry is a WorkerRecord. */
  std::map<pid_t, std::string> byPid;
  /** Each key is a view of the path in `byPid`, so that a path takes memory once. */
  std::map<std::string_view, pid_t> byPath;

  /**
   * Records a worker. An earlier worker of the same path stays in `byPid`: it is still running and still has
   * to be reaped.
   */
  void add(pid_t pid, std::string devpath);

  /** Forgets a worker in both directions; a path that a later worker has taken over stays that one's. */
  void remove(pid_t pid);
};
