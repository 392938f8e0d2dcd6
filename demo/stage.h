#pragma once

#include <string>
#include <vector>

#include "demo/chronicle.h"
#include "demo/control_clients.h"
#include "demo/desk.h"
#include "demo/policy.h"
#include "demo/reporter.h"
#include "sim/unit.h"

namespace demo {

/**
 * A simulated unit on which somebody does things, and a chronicle that tells what comes of them. Whatever is
 * done returns when the daemon has dealt with it and everything is told. What cannot be done throws
 * sim::Error with the reason.
 */
class Stage {
 public:
  explicit Stage(Chronicle& chronicle) : chronicle_(chronicle), reporter_(unit_, clients_, chronicle) {}

  /** The daemon's own debug messages must be asked for ("--debug=ctrl"): the demo lives by them. */
  void startDaemon(const std::vector<std::string>& arguments);
  [[nodiscard]] bool daemonRuns() { return reporter_.daemonRuns(); }

  /** A recorded device, by name. `port` is one of its bus ("1-4"); empty: the first that is free. */
  void plug(const std::string& name, const std::string& port = "");
  /** Its workers end, as real ones do when their device has gone. */
  void unplug(const std::string& name);
  [[nodiscard]] const Desk& desk() const { return desk_; }

  /** Changes the configuration file and tells the daemon. */
  void changePolicy(const PolicyChanges& changes);
  [[nodiscard]] const Policy& policy() const { return policy_; }

  /** The link manager delivers these link parameters and stays connected. */
  void deliverLink(const std::string& parameters);
  /** A tool of the unit asks for the link parameters. */
  void askForLink();
  /** The link manager closes the connection by which it has delivered; the daemon ends. */
  void hangUp();

  void endWorker(int number, int status);
  void crashWorker(int number);
  /** Waits for the daemon to end the workers of this device. */
  void awaitEndOfWorkersOf(const std::string& directory);
  [[nodiscard]] std::vector<NumberedWorker> workers() const { return reporter_.roster().all(); }

  /** Whether something has happened without anything being done. */
  [[nodiscard]] bool hasNews() { return reporter_.hasNews(); }
  void tellNews() { reporter_.report(); }

 private:
  void demandDaemon();
  void makeWhatIsAnnounced(const std::vector<sim::RecordedEvent>& events);
  void send(const std::vector<sim::RecordedEvent>& events);

  sim::Unit unit_;
  Chronicle& chronicle_;
  Desk desk_;
  Policy policy_;
  ControlClients clients_;
  Reporter reporter_;
};

}  // namespace demo
