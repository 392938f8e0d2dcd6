#include "demo/reporter.h"

#include <algorithm>
#include <utility>

#include "sim/error.h"

namespace demo {

void Reporter::followDaemon() {
  following_ = true;
  linesTaken_ = 0;
  endOfDaemon_.watch(unit_.daemon().endEvents());
}

bool Reporter::daemonRuns() {
  return following_ && unit_.daemon().isRunning();
}

/** Returns when the daemon has handled all uevents sent before, or has ended. */
void Reporter::settle() {
  if (!daemonRuns()) {
    return;
  }
  try {
    unit_.settle();
  } catch (const sim::Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
}

void Reporter::ueventSent(const UeventText& event) {
  settle();
  const Lines all = takeDaemonLines();
  const Lines ofInterest = withoutPassedOver(all);
  if (ofInterest.empty() && !event.isArrivalOrDeparture()) {
    ++ueventsCounted_;
    return;
  }
  tellCountedUevents();
  chronicle_.uevent(event);
  ueventTold_ = true;
  tellDaemonLines(ofInterest.empty() ? all : ofInterest);
  tellDisplay();
}

void Reporter::allUeventsSent() {
  tellCountedUevents();
  ueventTold_ = false;
}

void Reporter::tellCountedUevents() {
  if (const int count = std::exchange(ueventsCounted_, 0); count > 0) {
    chronicle_.uninterestingUevents(count, ueventTold_ ? Chronicle::Others::Told : Chronicle::Others::Untold);
  }
}

void Reporter::report() {
  // The daemon looks for uevents before it looks for anything else: when it has handled the second one, it
  // has done everything else that there was to do before the first.
  settle();
  settle();
  if (daemonRuns()) {
    tellEndedWorkers("");
  }
  if (following_) {
    tellDaemonLines(withoutPassedOver(takeDaemonLines()));
  }
  tellAnswers();
  tellDisplay();
  tellEndOfDaemon();
}

bool Reporter::hasNews() {
  takeDisplay();
  if (!display_.empty() || roster_.someHaveEnded()) {
    return true;
  }
  if (!following_) {
    return false;
  }
  const Lines& lines = unit_.daemon().lines();
  const auto untold = lines.begin() + static_cast<std::ptrdiff_t>(linesTaken_);
  return !daemonRuns() || std::any_of(untold, lines.end(), [](const std::string& line) {
    return !isOfTheUnitItself(sim::messageOf(line));
  });
}

Lines Reporter::takeDaemonLines() {
  Lines taken;
  if (!following_) {
    return taken;
  }
  const Lines& lines = unit_.daemon().lines();
  for (; linesTaken_ < lines.size(); ++linesTaken_) {
    std::string line = sim::messageOf(lines[linesTaken_]);
    if (!line.empty() && !isOfTheUnitItself(line)) {
      taken.push_back(std::move(line));
    }
  }
  return taken;
}

void Reporter::tellDaemonLines(const Lines& lines) {
  for (const std::string& line : lines) {
    chronicle_.daemonSays(line);
    if (const std::optional<std::string> device = pathOfStartedWorker(line)) {
      tellStartOfWorker(*device);
    }
  }
}

void Reporter::tellStartOfWorker(const std::string& device) {
  // Workers are handed out in the order of their starts, and so are the daemon's lines.
  const NumberedWorker& worker = roster_.add(unit_.workers.waitForWorker(), device);
  chronicle_.workerStarted(worker.number, worker.worker->start.arguments);
}

void Reporter::workerEnded(const NumberedWorker& worker, const std::string& circumstance) {
  worker.worker->waitForEnd();
  chronicle_.workerEnded(worker.number, worker.program(), circumstance);
  waitUntilReaped(worker.worker->start.pid);
  roster_.remove(worker.number);
}

void Reporter::waitUntilReaped(pid_t process) {
  const sim::Deadline deadline;
  const auto isReaped = [&] {
    const std::vector<pid_t> children = unit_.daemon().children();
    return std::find(children.begin(), children.end(), process) == children.end();
  };
  while (daemonRuns() && !isReaped()) {
    if (deadline.passed()) {
      throw sim::TimedOut("the daemon to take notice of the end of worker " + std::to_string(process));
    }
    settle();
  }
  settle();  // what the daemon does about it is done, too
}

void Reporter::tellEndedWorkers(const std::string& circumstance) {
  for (const NumberedWorker& worker : roster_.takeEnded()) {
    waitUntilReaped(worker.worker->start.pid);
    chronicle_.workerEnded(worker.number, worker.program(), circumstance);
  }
}

void Reporter::tellAnswers() {
  for (const std::string& answer : clients_.takeAnswers()) {
    chronicle_.linkReceives(answer);
  }
}

void Reporter::takeDisplay() {
  const std::vector<std::string> writes = unit_.display.takeWrites();
  display_.insert(display_.end(), writes.begin(), writes.end());
}

void Reporter::tellDisplay() {
  takeDisplay();
  for (const std::string& text : std::exchange(display_, {})) {
    chronicle_.displayShows(text);
  }
}

void Reporter::tellEndOfDaemon() {
  if (!following_ || daemonRuns()) {
    return;
  }
  following_ = false;
  chronicle_.daemonEnded(unit_.daemon().waitForExit());
  for (const NumberedWorker& worker : roster_.all()) {
    if (worker.worker->start.parentDeathSignal != 0) {
      worker.worker->waitForEnd();
    }
  }
  tellEndedWorkers(" with the daemon");
  for (const NumberedWorker& worker : roster_.all()) {
    chronicle_.workerRunsOn(worker.number, worker.program());
  }
}

}  // namespace demo
