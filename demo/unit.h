#pragma once

#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "demo/log.h"
#include "sim/unit.h"

namespace demo {

/** A worker under the number by which a person calls it. */
struct NumberedWorker {
  int number;
  std::string device;  ///< the sysfs path for which it was started
  sim::Worker* worker;
};

using Workers = std::vector<NumberedWorker>;

/** Keys of the configuration and their new values. */
using Settings = std::vector<std::pair<std::string, std::string>>;

/**
 * A simulated unit with a log. What is done to it returns when the daemon has dealt with it and all that came
 * of it is logged. What cannot be done throws sim::Error with the reason.
 */
class Unit {
 public:
  explicit Unit(Log& log) : log_(log) {}

  /** Its debug messages must be asked for, on standard error: the demo relies on them. */
  void startDaemon(const Words& arguments);

  /** A recorded device, by its name, or by the path of its folder if that is elsewhere. */
  void plug(const std::string& device);
  /** Its workers end, as real ones do when their device has gone. */
  void unplug(const std::string& device);
  [[nodiscard]] Words pluggedIn() const;

  /** All that the daemon reads, "section:key". */
  static const Words& configurationKeys();
  /** What the file says of a key. */
  [[nodiscard]] static std::optional<std::string> configured(const std::string& key);
  /** Sets keys, or unsets those whose value is "default", and sends SIGHUP. */
  void configure(const Settings& changes);
  void logConfiguration();

  /** The link manager delivers these link parameters and stays connected. */
  void deliverLink(const std::string& parameters);
  /** A tool of the unit asks for the link parameters. */
  void askForLink();
  /** The link manager closes its connection; the daemon ends. */
  void hangUp();

  void endWorker(int number, int status);
  void crashWorker(int number);
  /** Waits until the daemon has ended this worker. */
  void awaitEndOfWorker(int number);
  /** Those that were started and whose end was not logged yet. */
  [[nodiscard]] const Workers& workers() const { return workers_; }

  /** Logs all that has happened since the last time. */
  void report();
  /** Whether there is something to report; does not wait for the daemon. */
  [[nodiscard]] bool hasNews();
  /** Readable when the daemon has ended; -1 when that is logged. */
  [[nodiscard]] int endOfDaemon() { return following_ ? unit_.daemon().endEvents() : -1; }

 private:
  [[nodiscard]] bool daemonRuns() { return following_ && unit_.daemon().isRunning(); }
  void demandDaemon();
  void settle();

  void layOut(const sim::DeviceRecording& recording);
  void send(const std::vector<sim::RecordedEvent>& events);
  void reportUevent(const std::string& datagram);
  void logCountedUevents();
  [[nodiscard]] std::string freePort(const sim::DeviceRecording& recording) const;

  [[nodiscard]] Words takeMessages();
  void logMessages(const Words& messages);
  void logStartOfWorker(const std::string& device);
  void logEndedWorkers(const std::string& how);
  /** Waits until the daemon has taken notice, too. */
  void logEndOfWorker(NumberedWorker ended, const std::string& how);
  [[nodiscard]] NumberedWorker worker(int number) const;
  void logAnswers();
  void logDisplay();
  void logEndOfDaemon();

  sim::Unit unit_;
  Log& log_;
  std::map<std::string, sim::DeviceRecording> devices_;  ///< plugged in, by name or path
  std::optional<sim::LinkManager> linkManager_;          ///< has delivered link parameters
  std::list<sim::LinkManager> queries_;                  ///< not answered yet
  Workers workers_;
  int workersStarted_ = 0;
  bool following_ = false;  ///< a daemon was started, and its end was not logged yet
  std::size_t linesTaken_ = 0;
  int ueventsCounted_ = 0;
  bool ueventLogged_ = false;  ///< of the device that is coming or going
};

}  // namespace demo
