#pragma once

#include <string>
#include <vector>

#include "demo/chronicle.h"
#include "demo/control_clients.h"
#include "demo/daemon_lines.h"
#include "demo/process_ends.h"
#include "demo/roster.h"
#include "demo/uevent_text.h"
#include "sim/unit.h"

namespace demo {

/**
 * Waits until the daemon has dealt with what was done to it, and tells the chronicle what came of it: its
 * lines, the workers, the display, the answers on the control socket.
 */
class Reporter {
 public:
  Reporter(sim::Unit& unit, ControlClients& clients, Chronicle& chronicle)
      : unit_(unit), clients_(clients), chronicle_(chronicle) {}

  /** The unit's daemon has just been started. */
  void followDaemon();
  [[nodiscard]] bool daemonRuns();

  /** This event has just been sent. It is told with what came of it, or only counted if nothing did. */
  void ueventSent(const UeventText& event);
  /** All events of a device's coming or going have been sent. */
  void allUeventsSent();

  /** Tells everything that has happened since the last call. */
  void report();
  /** Whether there is something to tell; does not wait for the daemon. */
  [[nodiscard]] bool hasNews();

  /** Takes the end of a worker, which has been brought about, out of what report() tells. */
  void workerEnded(const NumberedWorker& worker, const std::string& circumstance);
  [[nodiscard]] const Roster& roster() const { return roster_; }

 private:
  void settle();
  void tellCountedUevents();
  void waitUntilReaped(pid_t process);
  [[nodiscard]] Lines takeDaemonLines();
  void tellDaemonLines(const Lines& lines);
  void tellStartOfWorker(const std::string& device);
  void tellEndedWorkers(const std::string& circumstance);
  void tellAnswers();
  void takeDisplay();
  void tellDisplay();
  void tellEndOfDaemon();

  sim::Unit& unit_;
  ControlClients& clients_;
  Chronicle& chronicle_;
  Roster roster_;
  bool following_ = false;  ///< a daemon was started, and its end was not told yet
  ProcessEnds endOfDaemon_;
  std::size_t linesTaken_ = 0;
  std::vector<std::string> display_;  ///< written and not told yet
  int ueventsCounted_ = 0;
  bool ueventTold_ = false;  ///< of the device whose events are being sent
};

}  // namespace demo
