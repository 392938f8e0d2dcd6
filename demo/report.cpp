// How the unit's log comes about: what the daemon writes, its workers, the display, the answers to queries.

#include <algorithm>
#include <sstream>
#include <string_view>

#include "demo/unit.h"
#include "sim/contract.h"
#include "sim/error.h"

namespace demo {

namespace {

namespace debug = contract::debug;

/** "ACTION /DEVPATH", and no more: with this line the daemon begins to handle a uevent. */
bool namesUevent(const std::string& line) {
  const Words words = wordsOf(line);
  return words.size() == 3 && words[2].starts_with('/') &&
         line == debug::line(debug::event(words[1], words[2]));
}

bool namesSubsystem(const std::string& line) {
  return line.starts_with(debug::line("subsystem is "));
}

/** Without the uevents that the daemon took no interest in: it names them and their subsystem only. */
Words withoutPassedOver(const Words& lines) {
  Words kept;
  for (auto begin = lines.begin(); begin != lines.end();) {
    const auto end = std::find_if(begin + 1, lines.end(), namesUevent);
    const bool isPassedOver = namesUevent(*begin) && std::all_of(begin + 1, end, namesSubsystem);
    kept.insert(kept.end(), begin, isPassedOver ? begin : end);
    begin = end;
  }
  return kept;
}

std::string describe(const std::string& datagram) {
  auto [action, path] = sim::headOf(datagram);
  action.resize(sizeof "remove", ' ');
  return action + path;
}

/** Whether a whole device has come or gone, as against interfaces, nodes and changes. */
bool isArrivalOrDeparture(const std::string& datagram) {
  using namespace std::string_view_literals;
  return datagram.find("\0DEVTYPE=usb_device\0"sv) != std::string::npos &&
         (datagram.starts_with("add@") || datagram.starts_with("remove@"));
}

void logPassedOver(const Log& log, int count, bool isFirst) {
  if (count > 0) {
    log.line("uevent", (isFirst ? "" : "... and ") + std::to_string(count) + (isFirst ? "" : " more") +
                           (count == 1 ? " event" : " events") + " of its interfaces and nodes");
  }
}

}  // namespace

/** Logs uevents with what comes of them, and only counts those of which nothing does. */
void Unit::send(const std::vector<sim::RecordedEvent>& events) {
  bool isFirst = true;
  int passedOver = 0;
  for (const sim::RecordedEvent& event : events) {
    unit_.uevents.send(event.datagram);
    settle();
    const Words all = takeMessages();
    const Words ofInterest = withoutPassedOver(all);
    if (ofInterest.empty() && !isArrivalOrDeparture(event.datagram)) {
      ++passedOver;
      continue;
    }
    logPassedOver(log_, std::exchange(passedOver, 0), std::exchange(isFirst, false));
    log_.line("uevent", describe(event.datagram));
    logMessages(ofInterest.empty() ? all : ofInterest);
    logDisplay();
  }
  logPassedOver(log_, passedOver, isFirst);
}

void Unit::report() {
  // The daemon looks for uevents first: with the second one, all else that was there before is done.
  settle();
  settle();
  if (daemonRuns()) {
    logEndedWorkers("");
  }
  logMessages(withoutPassedOver(takeMessages()));
  queries_.remove_if([this](sim::LinkManager& query) { return logAnswer(query); });
  logDisplay();
  logEndOfDaemon();
}

bool Unit::hasNews() {
  return daemon_ != nullptr && (daemon_->hasUntakenMessages() || !daemon_->isRunning());
}

/** Leaves out the uevent by which the simulated unit finds out how far the daemon has got. */
Words Unit::takeMessages() {
  Words messages = daemon_ == nullptr ? Words{} : daemon_->takeMessages();
  std::erase_if(messages, [](const std::string& message) {
    return message.empty() || message.starts_with(debug::line(debug::event("settle", "/settle/")));
  });
  return messages;
}

void Unit::logMessages(const Words& messages) {
  for (const std::string& message : messages) {
    log_.event("daemon", message);
    if (message.starts_with(debug::line("starting usb_rx_"))) {  // "... for PATH"
      // Workers are handed out in the order of their starts, and so are the daemon's messages.
      sim::Worker& started = unit_.workers.waitForWorker();
      workers_[++workersStarted_] = {wordsOf(message).at(4), &started};
      log_.event("worker",
                 "#" + std::to_string(workersStarted_) + " starts: " + typed(started.start.arguments));
    }
  }
}

void Unit::logEndedWorkers(const std::string& how) {
  const std::map<int, Worker> all = workers_;
  for (const auto& [number, worker] : all) {
    if (!worker.process->isRunning()) {
      logEnd(number, how);
    }
  }
}

void Unit::logEnd(int worker, const std::string& how) {
  unit_.waitUntilReaped(process(worker));
  log_.event("worker", nameOf(worker) + " has ended" + how);
  workers_.erase(worker);
  settle();  // what the daemon does about it is done, too
}

/** Logs what a query has received; returns whether it was anything. */
bool Unit::logAnswer(sim::LinkManager& query) {
  try {
    const std::string answer = query.receive(sim::Deadline(0));
    const bool isEnd = answer.empty();
    log_.event("link", isEnd ? "receives nothing; the connection ends" : "receives \"" + answer + "\"");
    return true;
  } catch (const sim::TimedOut&) {
    return false;
  }
}

void Unit::logDisplay() {
  for (const std::string& text : unit_.display.takeWrites()) {
    log_.event("display", "[" + text.substr(0, text.size() - (text.ends_with('\n') ? 1 : 0)) + "]");
  }
}

void Unit::logEndOfDaemon() {
  if (daemon_ == nullptr || daemonRuns()) {
    return;
  }
  std::ostringstream end;
  end << daemon_->waitForExit();
  log_.event("daemon", "has ended with " + end.str());
  daemon_ = nullptr;
  linkManager_.reset();
  for (const auto& [number, worker] : workers_) {
    if (worker.process->start.parentDeathSignal != 0) {
      worker.process->waitForEnd();
    }
  }
  logEndedWorkers(" with the daemon");
  for (const auto& [number, worker] : workers_) {
    log_.event("worker", nameOf(number) + " runs on");
  }
}

}  // namespace demo
