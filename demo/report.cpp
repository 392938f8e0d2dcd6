// How the unit's log comes about: what the daemon writes, its workers, the display, the answers to queries.

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string_view>

#include "demo/unit.h"
#include "sim/contract.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace demo {

namespace {

namespace debug = contract::debug;

std::string tagged(const std::string& text) {
  return debug::tag + text;
}

/** "ACTION /DEVPATH", and no more: with this line the daemon begins to handle a uevent. */
bool namesUevent(const std::string& line) {
  const Words words = wordsOf(line);
  return words.size() == 3 && words[2].starts_with('/') && line == tagged(debug::event(words[1], words[2]));
}

bool namesSubsystem(const std::string& line) {
  return line.starts_with(tagged("subsystem is "));
}

/** The line on a uevent by which the simulated unit finds out how far the daemon has got. */
bool isOfTheUnitItself(const std::string& line) {
  return line.starts_with(tagged(debug::event("settle", "/settle/")));
}

/** Without the uevents that the daemon took no interest in: it names them and their subsystem only. */
Words withoutPassedOver(const Words& lines) {
  Words kept;
  for (auto begin = lines.begin(); begin != lines.end();) {
    const auto end = std::find_if(begin + 1, lines.end(), namesUevent);
    if (!namesUevent(*begin) || !std::all_of(begin + 1, end, namesSubsystem)) {
      kept.insert(kept.end(), begin, end);
    }
    begin = end;
  }
  return kept;
}

/** Keeps the first component of a path and as many of the last ones as fit. */
std::string shortened(const std::string& path, std::size_t columns) {
  std::size_t rest = path.find('/', 1);
  const std::string beginning = path.substr(0, rest) + "/...";
  while (rest != std::string::npos && beginning.size() + path.size() - rest > columns) {
    rest = path.find('/', rest + 1);
  }
  return path.size() <= columns ? path : beginning + path.substr(std::min(rest, path.rfind('/')));
}

std::string describe(const std::string& datagram, std::size_t columns) {
  const std::string head = datagram.substr(0, datagram.find('\0'));
  std::string action = head.substr(0, head.find('@'));
  action.resize(sizeof "remove", ' ');
  return action + shortened(head.substr(head.find('@') + 1), columns - action.size());
}

/** Whether a whole device has come or gone, as against interfaces, nodes and changes. */
bool isArrivalOrDeparture(const std::string& datagram) {
  using namespace std::string_view_literals;
  return datagram.find("\0DEVTYPE=usb_device\0"sv) != std::string::npos &&
         (datagram.starts_with("add@") || datagram.starts_with("remove@"));
}

std::string nameOf(const Worker& worker) {
  return "#" + std::to_string(worker.number) + " " + worker.process->program();
}

}  // namespace

void Unit::awaitDaemon(const std::function<void()>& await) {
  try {
    await();
  } catch (const sim::Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
}

void Unit::settle() {
  if (daemonRuns()) {
    awaitDaemon([this] { unit_.settle(); });
  }
}

/** Logs uevents with what comes of them, and only counts those of which nothing does. */
void Unit::send(const std::vector<sim::RecordedEvent>& events) {
  int passedOver = 0;
  bool isLogged = false;
  const auto logPassedOver = [&] {
    const std::string count = std::to_string(passedOver);
    if (std::exchange(passedOver, 0) > 0) {
      log_.line("uevent", (isLogged ? "... and " + count + " more" : count) +
                              (count == "1" ? " event" : " events") + " of its interfaces and nodes");
    }
  };
  for (const sim::RecordedEvent& event : events) {
    unit_.uevents.send(event.datagram);
    settle();
    const Words all = takeMessages();
    const Words ofInterest = withoutPassedOver(all);
    if (ofInterest.empty() && !isArrivalOrDeparture(event.datagram)) {
      ++passedOver;
      continue;
    }
    logPassedOver();
    isLogged = true;
    log_.line("uevent", describe(event.datagram, log_.textColumns()));
    logMessages(ofInterest.empty() ? all : ofInterest);
    logDisplay();
  }
  logPassedOver();
  report();
}

void Unit::report() {
  // The daemon looks for uevents before it looks for anything else: when it has handled the second one, it
  // has done everything else that there was to do before the first.
  settle();
  settle();
  if (daemonRuns()) {
    logEndedWorkers("");
  }
  logMessages(withoutPassedOver(takeMessages()));
  logAnswers();
  logDisplay();
  logEndOfDaemon();
}

bool Unit::hasNews() {
  if (!daemonRuns()) {
    return following_;
  }
  // Whatever happens, the daemon has a message about it.
  const Words& lines = unit_.daemon().lines();
  return std::any_of(std::next(lines.begin(), static_cast<std::ptrdiff_t>(linesTaken_)), lines.end(),
                     [](const std::string& line) { return !isOfTheUnitItself(sim::messageOf(line)); });
}

Words Unit::takeMessages() {
  Words taken;
  while (following_ && linesTaken_ < unit_.daemon().lines().size()) {
    const std::string line = sim::messageOf(unit_.daemon().lines()[linesTaken_++]);
    if (!line.empty() && !isOfTheUnitItself(line)) {
      taken.push_back(line);
    }
  }
  return taken;
}

void Unit::logMessages(const Words& messages) {
  for (const std::string& message : messages) {
    log_.event("daemon", message);
    const Words words = wordsOf(message);
    if (message.starts_with(tagged("starting usb_rx_"))) {  // "... for PATH"
      // Workers are handed out in the order of their starts, and so are the daemon's messages.
      sim::Worker& process = unit_.workers.waitForWorker();
      workers_.push_back({++workersStarted_, words.at(4), &process});
      log_.event("worker",
                 "#" + std::to_string(workersStarted_) + " starts: " + typed(process.start.arguments));
    }
  }
}

void Unit::logEndedWorkers(const std::string& how) {
  const std::vector<Worker> all = workers_;
  for (const Worker& each : all) {
    if (!each.process->isRunning()) {
      logEnd(each, how);
    }
  }
}

void Unit::logEnd(Worker ended, const std::string& how) {
  ended.process->waitForEnd();
  log_.event("worker", nameOf(ended) + " has ended" + how);
  std::erase_if(workers_, [&ended](const Worker& each) { return each.number == ended.number; });
  const sim::WorkerStart& start = ended.process->start;
  if (daemonRuns() && start.parent == unit_.daemon().pid()) {
    const sim::Background wakeAtEndOfDaemon(endOfDaemon(), [] {});
    sim::waitUntil("the daemon to take notice of the end of a worker", {}, [&] {
      return !daemonRuns() || unit_.daemon().hasLine(tagged(debug::terminated(start.pid)));
    });
  }
  settle();  // what the daemon does about it is done, too
}

void Unit::logAnswers() {
  queries_.remove_if([this](sim::LinkManager& client) {
    try {
      const std::string answer = client.receive(sim::Deadline(0));
      log_.event("link",
                 answer.empty() ? "receives nothing; the connection ends" : "receives \"" + answer + "\"");
      return true;
    } catch (const sim::TimedOut&) {
      return false;
    }
  });
}

void Unit::logDisplay() {
  for (const std::string& text : unit_.display.takeWrites()) {
    log_.event("display", "[" + text.substr(0, text.size() - (text.ends_with('\n') ? 1 : 0)) + "]");
  }
}

void Unit::logEndOfDaemon() {
  if (!following_ || daemonRuns()) {
    return;
  }
  following_ = false;
  std::ostringstream end;
  end << unit_.daemon().waitForExit();
  log_.event("daemon", "has ended with " + end.str());
  for (const Worker& each : workers_) {
    if (each.process->start.parentDeathSignal != 0) {
      each.process->waitForEnd();
    }
  }
  logEndedWorkers(" with the daemon");
  for (const Worker& each : workers_) {
    log_.event("worker", nameOf(each) + " runs on");
  }
}

}  // namespace demo
