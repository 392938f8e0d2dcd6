#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "bench/contender.h"

namespace bench {

/** A contender's process. It is killed when the object goes; its workers are not. */
class RunningContender {
 public:
  /** Returns when the program has been executed. */
  RunningContender(const Contender& contender, const std::vector<std::string>& command);
  ~RunningContender();
  RunningContender(const RunningContender&) = delete;
  RunningContender& operator=(const RunningContender&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /** Its process, and those of its descendants that run its program: helpers, but no workers. */
  [[nodiscard]] std::vector<pid_t> processes() const;

  /** Returns when it waits, its workers are so many, and nobody in this network has events to take. */
  void awaitRest(std::size_t workers = 0) const;
  /** The same for one that has just been started: it listens, too. */
  void awaitListening() const;
  /** Asks every half a millisecond. Throws when the contender ends, or after a minute. */
  void await(const std::string& awaited, const std::function<bool()>& condition) const;

  /** Events wait in its socket until it is resumed. */
  void stop() const;
  void resume() const;

  /** Processor time so far, the kernel's for it included. */
  [[nodiscard]] double processorSeconds() const;
  /** What it alone has written to and holds. */
  [[nodiscard]] long ownKilobytes() const;

 private:
  [[nodiscard]] std::size_t workers() const;
  [[nodiscard]] bool hasEnded() const;

  std::string name_;
  std::string program_;
  pid_t pid_;
};

/** Whether something in this network listens to the kernel's uevents. */
[[nodiscard]] bool isAnyoneListening();

}  // namespace bench
