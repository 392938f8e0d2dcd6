#pragma once

#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "demo/log.h"
#include "sim/unit.h"

namespace demo {

struct Worker {
  int number;          ///< by which a person calls it
  std::string device;  ///< the sysfs path for which it was started
  sim::Worker* process;
};

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
  /** Sets a key, or removes it if the value is "default". */
  void configure(const std::string& key, const std::string& value);
  void logConfiguration();
  /** Sends SIGHUP. */
  void announceConfiguration();

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
  [[nodiscard]] const std::vector<Worker>& workers() const { return workers_; }

  /** Logs all that has happened since the last time. */
  void report();
  /** Whether there is something to report; does not wait for the daemon. */
  [[nodiscard]] bool hasNews();
  /** Readable when the daemon has ended; -1 when that is logged. */
  [[nodiscard]] int endOfDaemon() { return following_ ? unit_.daemon().endEvents() : -1; }

 private:
  [[nodiscard]] bool daemonRuns() { return following_ && unit_.daemon().isRunning(); }
  void demandDaemon();
  /** Calls a function that waits for the daemon; its end will do, too. */
  void awaitDaemon(const std::function<void()>& await);
  /** Returns when the daemon has handled all uevents sent before, or has ended. */
  void settle();
  void send(const std::vector<sim::RecordedEvent>& events);
  [[nodiscard]] sim::DeviceRecording atFreePort(const sim::DeviceRecording& recording) const;
  [[nodiscard]] Worker worker(int number) const;

  [[nodiscard]] Words takeMessages();
  void logMessages(const Words& messages);
  void logEndedWorkers(const std::string& how);
  /** Waits for it, and for the daemon to take notice. */
  void logEnd(Worker ended, const std::string& how);
  void logAnswers();
  void logDisplay();
  void logEndOfDaemon();

  sim::Unit unit_;
  Log& log_;
  std::map<std::string, sim::DeviceRecording> devices_;  ///< plugged in, by name or path
  std::optional<sim::LinkManager> linkManager_;          ///< has delivered link parameters
  std::list<sim::LinkManager> queries_;                  ///< not answered yet
  std::vector<Worker> workers_;
  int workersStarted_ = 0;
  bool following_ = false;  ///< a daemon was started, and its end was not logged yet
  std::size_t linesTaken_ = 0;
};

}  // namespace demo
