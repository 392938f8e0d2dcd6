#pragma once

#include <sys/types.h>

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sim/process.h"
#include "soak/configuration.h"
#include "soak/options.h"

namespace soak {

/** A worker that is to be started. */
struct Launch {
  std::string device;  ///< physical directory
  std::vector<std::string> arguments;
  bool endsWithDaemon;
};

/** What the daemon must have done; whoever compares takes it away. */
struct Expected {
  std::deque<std::string> log;
  std::vector<std::string> display;
  std::vector<Launch> launches;
  std::string standardOutput;
};

/**
 * What the daemon has in mind, and what it must do with each thing that happens. It reads the unit's sysfs as
 * it is, so nothing may happen to a device between the event and this reading of it.
 */
class Model {
 public:
  Model(const Options& options, Configuration onDisk);

  /** A debug message of no consequence. */
  void log(const std::string& text);

  void writeConfiguration(const Configuration& onDisk) { onDisk_ = onDisk; }
  void hangUp() { reloadRequested_ = true; }

  void event(const std::string& action, const std::string& devpath);
  /** A worker that was launched has this process. */
  void started(pid_t worker, const std::string& device) { workers_[worker] = device; }
  void ended(pid_t worker, const sim::ProcessEnd& end);
  /** Three seconds have passed without any event. */
  void quiet() { restartCount_ = 0; }

  /** Any client of the control socket. */
  void clientServed() { genericStarted_ = false; }
  /** A query was answered at this number. */
  void answered(int client);
  /** These words end the daemon: the parameters make no sense. */
  [[nodiscard]] static std::optional<std::string> refusalOf(const std::string& line);
  /** New parameters. `terminated`: the workers that the daemon ends. A result: the words that end the daemon. */
  [[nodiscard]] std::optional<std::string> link(const std::string& line, std::vector<pid_t>& terminated);

  [[nodiscard]] bool knowsLink() const { return link_.port != "0"; }
  [[nodiscard]] bool hasControlConnection() const { return hasControlConnection_; }
  [[nodiscard]] unsigned restartCount() const { return restartCount_; }
  [[nodiscard]] const std::string& lastRequest() const { return lastRequest_; }
  [[nodiscard]] const std::map<pid_t, std::string>& workers() const { return workers_; }
  [[nodiscard]] const Options& options() const { return options_; }

  Expected expected;

 private:
  void load();
  [[nodiscard]] bool isServed(const std::string& device) const;
  void added(const std::string& device);
  void addedUsbNode(const std::string& node);
  void addedUsbDevice(const std::string& device);
  void launchKeyboard(const std::string& node);
  void launchDisk(const std::string& node);
  void launchGeneric(const std::string& device);
  [[nodiscard]] bool admits(const std::string& device);
  [[nodiscard]] std::vector<std::string> toTransmitter(int portOffset) const;
  void launch(const std::string& device, std::vector<std::string> arguments, bool endsWithDaemon);
  void countFailure();
  void restart(const std::string& device);

  Options options_;
  sim::LinkParameters link_;
  std::string lastRequest_;
  bool hasControlConnection_ = false;
  Configuration onDisk_;
  Configuration loaded_;
  std::string timeout_;  ///< of the start
  bool reloadRequested_ = false;
  std::map<pid_t, std::string> workers_;
  unsigned restartCount_ = 0;
  bool attachBlocked_ = false;
  bool genericStarted_ = false;  ///< since the last client of the control socket
};

}  // namespace soak
