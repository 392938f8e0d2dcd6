#pragma once

#include <sys/types.h>

#include <chrono>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/unit.h"
#include "soak/control_model.h"
#include "soak/footprint.h"
#include "soak/model.h"

namespace soak {

/**
 * The life of one daemon, from its start to its end, beside its model. Things happen to the daemon without a
 * pause until settle() compares all that it did; clients of the control socket are served alone. Everything
 * throws Broken where daemon and model differ.
 */
class Life {
 public:
  /** Starts it, and compares what it did with the devices that are there. */
  Life(sim::Unit& unit, const Options& options, const Configuration& onDisk);

  void send(const std::string& datagram);
  /** The attribute is missing until settle(); the daemon waits for it. */
  void completeLater(const std::string& directory, const std::string& attribute, const std::string& content);
  void endWorker(pid_t worker, const sim::ProcessEnd& end);
  void settle();

  /** The daemon reads this at the next hang-up signal. */
  void writeConfiguration(const Configuration& onDisk);
  void hangUp(int times);
  /** So many seconds without an event that the daemon forgets its restarts. */
  void beQuiet();
  /** After a pause in which it may have forgotten them, it gets all the time to do so. */
  void settleRestarts();

  void ask();
  void deliver(const std::string& line);
  /** Clients that are held, or whose connection was replaced. */
  [[nodiscard]] std::vector<int> idleClients() const;
  void leave(int client);

  // The ends of a daemon. Each compares what is left of it; nothing else may be called then.
  void endByControlConnection(bool byMessage);
  void endByFailedExec(pid_t worker);
  [[nodiscard]] bool hasEnded() const { return hasEnded_; }
  /** The workers that outlive the daemon, when it has ended. */
  [[nodiscard]] const std::vector<sim::Worker*>& orphans() const { return orphans_; }

  [[nodiscard]] const Model& model() const { return model_; }
  [[nodiscard]] const Footprint& footprint() const { return footprint_; }
  [[nodiscard]] std::size_t descriptors() const { return control_.descriptors().size(); }

  struct Counts {
    long events = 0;
    long launches = 0;
    long deaths = 0;
    double slowestAnswer = 0;  ///< seconds
  };
  [[nodiscard]] const Counts& counts() const { return counts_; }

 private:
  void completeDevices();
  void collectLog();
  void awaitLine(const std::string& line);
  void awaitEnds();
  void passEvents();

  void compare();
  void compareColdplug();
  void compareLog();
  void expectFrom(const std::string& line);
  void match(const std::string& line);
  void compareDisplay();
  void meetWorkers();
  void meetWorker(const Launch& launch);
  [[nodiscard]] std::set<int> holdingsWithoutClients() const;
  void checkHoldings();

  void receive(int client, const std::string& message, bool isServed);
  void expectEnd(const sim::ProcessEnd& end, const std::string& lastWords);

  sim::Unit& unit_;
  Model model_;
  ControlModel control_{{}};
  Footprint footprint_;
  Counts counts_;
  std::vector<std::string> log_;                          ///< not compared yet
  std::deque<std::pair<std::string, std::string>> sent_;  ///< actions and devpaths that must be logged
  std::map<pid_t, sim::ProcessEnd> ending_;
  struct LateAttribute {
    std::string path;
    std::string content;
  };
  std::vector<LateAttribute> late_;
  struct Running {
    sim::Worker* worker;
    bool endsWithDaemon;
  };
  std::map<pid_t, Running> running_;
  std::map<int, sim::LinkManager> clients_;  ///< by their numbers in the daemon
  int controlConnection_ = -1;
  std::chrono::steady_clock::time_point lastEvent_;
  std::string standardOutput_;
  std::vector<sim::Worker*> orphans_;
  bool hasStarted_ = false;  ///< the display was compared once
  bool hasEnded_ = false;
};

}  // namespace soak
