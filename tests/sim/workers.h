#pragma once

#include <sys/types.h>

#include <list>
#include <set>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/process_handle.h"
#include "sim/process_table.h"
#include "sim/state_report.h"
#include "sim/worker_report.h"

namespace sim {

/** A worker that the daemon has started: a stand-in that runs until it is ordered to end. */
class Worker {
 public:
  Worker(WorkerStart started, Descriptor connection);

  /** Argument 0: the program that was executed. */
  [[nodiscard]] const std::string& program() const { return start.arguments.front(); }
  /** The last argument: the device's path (or, for keyboards, the minor number). */
  [[nodiscard]] const std::string& device() const { return start.arguments.back(); }

  /** Orders the worker to exit; the daemon notices a moment later. */
  void exitWith(int status);
  /** Orders the worker to kill itself with a signal. */
  void dieBy(int signal);
  /** Waits until the worker has ended, by any cause. */
  void waitForEnd(const Deadline& deadline = {});
  [[nodiscard]] bool isRunning();

  const WorkerStart start;

 private:
  void command(const std::string& line);

  Descriptor connection_;
};

/** Puts the stand-in program at `path` (a directory of the unit), under the name that the daemon executes. */
void installWorkerStandin(const std::string& path);
/** Puts it under the names of the unit's three workers into a directory that is on the daemon's PATH. */
void installUsualWorkers();

/** All workers of the unit, returned in the order in which they were started, each once. */
class Workers {
 public:
  Workers();

  /** The next worker that was not returned before. The reference lives as long as this object. */
  Worker& waitForWorker(const Deadline& deadline = {});
  /** The next one whose last argument is this; others wait for their turn. */
  Worker& waitForWorkerOf(const std::string& device, const Deadline& deadline = {});

  /** Drops a worker that has ended; what refers to it is void then. */
  void forget(const Worker& worker);

  /** How many workers have reported so far and were not forgotten. */
  [[nodiscard]] std::size_t count();

  /** Lets all stand-ins end and waits for them; those that do not end in time are killed. */
  void endAll() noexcept;

 private:
  [[nodiscard]] bool isOldest(const Worker& worker) const;
  [[nodiscard]] bool hasReported(pid_t process) const;
  Worker& take(Worker& worker);
  /** A stand-in that was ordered to end. */
  struct EndingWorker {
    pid_t pid;
    ProcessHandle process;
  };

  void acceptReported();
  std::vector<EndingWorker> dismissAll();
  [[nodiscard]] std::string describe() const;

  Descriptor listener_;
  std::list<Worker> workers_;
  std::vector<Worker*> waiting_;  ///< reported, not returned yet; the oldest first
  StateReport stateReport_;
};

}  // namespace sim
