#pragma once

#include <list>
#include <map>
#include <optional>
#include <ranges>
#include <string>
#include <vector>

#include "demo/log.h"
#include "sim/unit.h"

namespace demo {

/** A simulated unit with a log. Commands change it; all that comes of them is logged. */
class Unit {
 public:
  explicit Unit(Log& log) : log_(log) {}

  /** Carries out a line, and waits for the daemon. What cannot be done throws sim::Error with the reason. */
  void carryOut(const std::string& line);
  /** What may come next in a line that begins with these words. */
  [[nodiscard]] Words nextWords(const Words& before) const;

  /** Logs all that has happened since the last time. */
  void report();
  /** Whether there is something to report; does not wait for the daemon. */
  [[nodiscard]] bool hasNews();
  /** Readable when the daemon has ended; -1 when that is logged. */
  [[nodiscard]] int endOfDaemon() const { return daemon_ != nullptr ? daemon_->endEvents() : -1; }

 private:
  struct Command {
    std::string name;
    std::string arguments;
    std::string meaning;
    void (Unit::*carryOut)(const Words& arguments);
  };
  struct Worker {
    std::string device;  ///< the sysfs path for which it was started
    sim::Worker* process;
  };
  static const std::vector<Command>& commands();

  void help(const Words& arguments);
  void listDevices(const Words& arguments);
  void listWorkers(const Words& arguments);
  void plug(const Words& arguments);
  void unplug(const Words& arguments);
  void policy(const Words& arguments);
  void deliverLink(const Words& arguments);
  void askForLink(const Words& arguments);
  void hangUp(const Words& arguments);
  void endWorker(const Words& arguments);
  void crashWorker(const Words& arguments);
  void awaitEndOfWorker(const Words& arguments);
  void startDaemon(const Words& arguments);

  [[nodiscard]] bool daemonRuns() const { return daemon_ != nullptr && daemon_->isRunning(); }
  void demandDaemon() const;
  /** Returns when the daemon has handled all uevents sent before, or has ended. */
  void settle() {
    unit_.waitUnlessEnded([this] { unit_.settle(); });
  }
  void send(const std::vector<sim::RecordedEvent>& events);
  [[nodiscard]] Words pluggedIn() const {
    const auto names = std::views::keys(devices_);
    return {names.begin(), names.end()};
  }
  [[nodiscard]] sim::Worker& process(int worker) const;
  [[nodiscard]] std::string nameOf(int worker) const {
    return "#" + std::to_string(worker) + " " + process(worker).program();
  }

  [[nodiscard]] Words takeMessages();
  void logMessages(const Words& messages);
  void logEndedWorkers(const std::string& how);
  void logEnd(int worker, const std::string& how);
  [[nodiscard]] bool logAnswer(sim::LinkManager& query);
  void logDisplay();
  void logEndOfDaemon();

  sim::Unit unit_;
  Log& log_;
  std::map<std::string, sim::DeviceRecording> devices_;  ///< plugged in, by name or path
  std::optional<sim::LinkManager> linkManager_;          ///< has delivered link parameters
  std::list<sim::LinkManager> queries_;                  ///< not answered yet
  std::map<int, Worker> workers_;                        ///< by number; their end was not logged yet
  int workersStarted_ = 0;
  sim::Daemon* daemon_ = nullptr;  ///< its end was not logged yet
};

}  // namespace demo
