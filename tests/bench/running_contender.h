#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "bench/contender.h"
#include "sim/process_handle.h"

namespace bench {

/** A contender's process. It is killed when the object goes; its workers end by the gate of their reports. */
class RunningContender {
 public:
  /** Returns when the program has been executed. */
  RunningContender(const Contender& contender, const std::string& worker, const std::vector<std::string>& devices);
  ~RunningContender();
  RunningContender(const RunningContender&) = delete;
  RunningContender& operator=(const RunningContender&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /** Its process, and those of its descendants that run its program: helpers, but no workers. */
  [[nodiscard]] std::vector<pid_t> processes() const;

  /** Returns when something listens to uevents in this network. */
  static void awaitListener();
  /** Returns when it has taken every event, has no worker, and waits for more. */
  void awaitRest(std::size_t workers = 0) const;

  void stop() const;
  void resume() const;

 private:
  pid_t pid_;
};

}  // namespace bench
