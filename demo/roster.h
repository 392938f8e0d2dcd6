#pragma once

#include <list>
#include <string>
#include <vector>

#include "demo/process_ends.h"
#include "sim/process_handle.h"
#include "sim/workers.h"

namespace demo {

/** A worker under the number by which a person calls it. */
struct NumberedWorker {
  int number;
  std::string device;  ///< the sysfs path for which it was started
  sim::Worker* worker;

  [[nodiscard]] const std::string& program() const { return worker->program(); }
};

/**
 * The workers that have been started and whose end was not told yet. They belong to the unit's board. Every
 * wait notices when one ends.
 */
class Roster {
 public:
  const NumberedWorker& add(sim::Worker& worker, const std::string& device);
  /** Throws sim::Error when none has this number. */
  [[nodiscard]] const NumberedWorker& find(int number) const;
  /** Those whose device is this directory or lies in it. */
  [[nodiscard]] std::vector<NumberedWorker> of(const std::string& directory) const;
  [[nodiscard]] std::vector<NumberedWorker> all() const;
  /** Takes the ones that have ended out. */
  std::vector<NumberedWorker> takeEnded();
  [[nodiscard]] bool someHaveEnded() const;
  void remove(int number);

 private:
  struct Entry {
    NumberedWorker worker;
    sim::ProcessHandle process;
  };

  ProcessEnds ends_;
  std::list<Entry> entries_;
  int started_ = 0;
};

}  // namespace demo
