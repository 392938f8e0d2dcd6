#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "sim/link_manager.h"
#include "sim/unit.h"

/**
 * A unit whose daemon is led through steps. After each the daemon is awaited until it has nothing left to do,
 * and what it did is printed to standard output, one fact a line:
 *
 *   step NAME                     log TEXT          display TEXT        worker PID DEVICE FACTS...
 *   reply NAME TEXT               open DESCRIPTOR   output TEXT         left DEVICE          end STATUS
 *
 * Any system call of the daemon may fail, so no step relies on what an earlier one has brought about.
 */
class ObservedUnit {
 public:
  /** The actions of a step are skipped when the daemon has ended. */
  void step(const std::string& name, const std::function<void()>& action);

  void start(const std::vector<std::string>& arguments);
  /** Announces a device or node that is in sysfs already. */
  void announce(const std::string& directory) const;
  /** The latest worker of a device ends; nothing happens where there is none. */
  void endWorker(const std::string& device, int status);
  /** Waits a moment for the end of the latest worker of a device, which something else brings about. */
  void awaitEndOfWorker(const std::string& device);
  /** A connection to the control socket that sends this. What it gets is a fact of this step and later ones. */
  void send(const std::string& client, const std::string& message);
  /** The last step: this client closes its connection. Prints how the daemon ended, and what it has left. */
  void endByClosing(const std::string& client);

  sim::Unit unit;

 private:
  struct Client {
    std::unique_ptr<sim::LinkManager> connection;
    bool open = true;
  };

  [[nodiscard]] bool hasEnded();
  void awaitIdle();
  [[nodiscard]] bool isIdle();
  void awaitReports();
  [[nodiscard]] bool allWorkersHaveReported();
  void takeReports();
  void printNews();
  void printReplies();
  void printDescriptors();
  void printOutput();
  void printWorkersLeft();

  std::map<std::string, sim::Worker*> workers_;  ///< the latest of each device
  std::set<pid_t> reported_;
  std::map<std::string, Client> clients_;
  bool started_ = false;
  bool hangs_ = false;
};
