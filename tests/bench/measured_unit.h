#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/contender.h"
#include "bench/kernel_events.h"
#include "bench/running_contender.h"
#include "bench/worker_reports.h"
#include "sim/namespaces.h"
#include "sim/sysfs.h"

namespace bench {

/** A simulated unit around one contender, for the calling process; there is one in a process. */
class MeasuredUnit {
 private:
  const Contender& contender_;
  sim::Namespaces namespaces_;  // all that follows happens inside

 public:
  explicit MeasuredUnit(const Contender& contender);
  ~MeasuredUnit();
  MeasuredUnit(const MeasuredUnit&) = delete;
  MeasuredUnit& operator=(const MeasuredUnit&) = delete;

  sim::Sysfs sysfs;
  KernelEvents kernel;
  WorkerReports reports;

  /** Adds devices to /sys, numbered from 1, and announces none. Returns their physical directories. */
  std::vector<std::string> addDevices(int count);

  /** How the contender is started where these devices are there already. */
  [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& devices = {}) const;
  /** Starts the contender and returns when it listens, with all its clients; there are no devices yet. */
  void startAtWork();
  /** Starts the contender; it finds these devices by itself, or is offered them. */
  void start(const std::vector<std::string>& devices = {});
  [[nodiscard]] const RunningContender& running() const { return *running_; }
  /** Ends the contender and all workers. */
  void end();

  /** Waits until so many workers have started; returns when the last one of them did. */
  [[nodiscard]] long long awaitLastStart(std::size_t workers);
  /** Ends the workers; returns when the contender rests without any. */
  void endWorkers(std::size_t workers);

 private:
  std::unique_ptr<RunningContender> running_;
  std::shared_ptr<void> clients_;
};

}  // namespace bench
