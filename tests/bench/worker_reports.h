#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sim/descriptor.h"

namespace bench {

/** When a worker executed its first instruction, on the monotonic clock, and the device that it was started for. */
struct WorkerStart {
  long long nanoseconds;
  std::string device;
};

/** Now, on the clock of the workers' reports. */
[[nodiscard]] long long nanosecondsNow();

/** The pipe that workers report into, and the gate that they rest at. */
class WorkerReports {
 public:
  enum class Workers { rest, endAtOnce };

  explicit WorkerReports(Workers workers);

  /** What has been reported and not taken yet. Does not wait. */
  [[nodiscard]] std::vector<WorkerStart> take() const;
  /** Lets so many workers go. */
  void openGateFor(std::size_t workers) const;
  /** Takes back passages that nobody has used. */
  void closeGate() const;

 private:
  sim::Descriptor reports_;
  sim::Descriptor gate_;
};

}  // namespace bench
