// How the unit's log comes about: what the daemon writes, its workers, the display, the answers to queries.

#include <algorithm>
#include <cctype>
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
  std::istringstream words(line);
  std::string tag;
  std::string action;
  std::string devpath;
  words >> tag >> action >> devpath;
  return std::all_of(action.begin(), action.end(), [](unsigned char c) { return std::islower(c) != 0; }) &&
         devpath.starts_with('/') && line == tagged(debug::event(action, devpath));
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

/** The sysfs path for which this line says that a worker is started. */
std::optional<std::string> pathOfStartedWorker(const std::string& line) {
  const std::string keyboard = debug::startingKeyboard("", "");
  for (const std::string& text :
       {debug::startingGeneric(""), debug::startingScsi(""), keyboard.substr(0, keyboard.find(" ("))}) {
    const std::string beginning = tagged(text);
    if (line.starts_with(beginning)) {
      const std::string path = line.substr(beginning.size());
      return path.substr(0, path.find(" ("));  // a keyboard's device number follows
    }
  }
  return std::nullopt;
}

/** Keeps the first component of a path and as many of the last ones as fit. */
std::string shortened(const std::string& path, std::size_t columns) {
  if (path.size() <= columns) {
    return path;
  }
  std::size_t rest = path.find('/', 1);
  const std::string beginning = path.substr(0, rest) + "/...";
  while (rest != std::string::npos && beginning.size() + path.size() - rest > columns) {
    rest = path.find('/', rest + 1);
  }
  return beginning + path.substr(std::min(rest, path.rfind('/')));
}

std::string describe(const std::string& datagram, std::size_t columns) {
  constexpr std::size_t actionColumns = sizeof "remove ";
  const std::size_t at = datagram.find('@');
  std::string action = datagram.substr(0, at) + " ";
  action.resize(std::max(action.size(), actionColumns - 1), ' ');
  return action + shortened(std::string(datagram.c_str()).substr(at + 1), columns - action.size());
}

/** Whether a whole device has come or gone, as against interfaces, nodes and changes. */
bool isArrivalOrDeparture(const std::string& datagram) {
  using namespace std::string_view_literals;
  return datagram.find("\0DEVTYPE=usb_device\0"sv) != std::string::npos &&
         (datagram.starts_with("add@") || datagram.starts_with("remove@"));
}

std::string numbered(const NumberedWorker& worker) {
  return "#" + std::to_string(worker.number) + " " + worker.worker->program();
}

std::optional<std::string> answerByNow(sim::LinkManager& client) {
  try {
    return client.receive(sim::Deadline(0));
  } catch (const sim::TimedOut&) {
    return std::nullopt;
  }
}

}  // namespace

/** Returns when the daemon has handled all uevents sent before, or has ended. */
void Unit::settle() {
  try {
    if (daemonRuns()) {
      unit_.settle();
    }
  } catch (const sim::Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
}

/** Logs the uevent with what came of it, or only counts it if nothing did. */
void Unit::reportUevent(const std::string& datagram) {
  settle();
  const Words all = takeMessages();
  const Words ofInterest = withoutPassedOver(all);
  if (ofInterest.empty() && !isArrivalOrDeparture(datagram)) {
    ++ueventsCounted_;
    return;
  }
  logCountedUevents();
  log_.line(Tag::Uevent, describe(datagram, log_.textColumns()));
  ueventLogged_ = true;
  logMessages(ofInterest.empty() ? all : ofInterest);
  logDisplay();
}

void Unit::logCountedUevents() {
  const int count = std::exchange(ueventsCounted_, 0);
  if (count > 0) {
    log_.line(Tag::Uevent, (ueventLogged_ ? "... and " : "") + std::to_string(count) +
                               (ueventLogged_ ? " more" : "") + (count == 1 ? " event" : " events") +
                               " of its interfaces and nodes");
  }
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
  const Words none;
  const Words& lines = following_ ? unit_.daemon().lines() : none;
  for (; linesTaken_ < lines.size(); ++linesTaken_) {
    std::string line = sim::messageOf(lines[linesTaken_]);
    if (!line.empty() && !isOfTheUnitItself(line)) {
      taken.push_back(std::move(line));
    }
  }
  return taken;
}

void Unit::logMessages(const Words& messages) {
  for (const std::string& message : messages) {
    log_.event(Tag::Message, message);
    if (const std::optional<std::string> device = pathOfStartedWorker(message)) {
      logStartOfWorker(*device);
    }
  }
}

void Unit::logStartOfWorker(const std::string& device) {
  // Workers are handed out in the order of their starts, and so are the daemon's messages.
  sim::Worker& worker = unit_.workers.waitForWorker();
  workers_.push_back({++workersStarted_, device, &worker});
  log_.event(Tag::Worker,
             "#" + std::to_string(workersStarted_) + " starts: " + typed(worker.start.arguments));
}

void Unit::logEndedWorkers(const std::string& how) {
  const Workers all = workers_;
  for (const NumberedWorker& each : all) {
    if (!each.worker->isRunning()) {
      logEndOfWorker(each, how);
    }
  }
}

void Unit::logEndOfWorker(NumberedWorker ended, const std::string& how) {
  ended.worker->waitForEnd();
  log_.event(Tag::Worker, numbered(ended) + " has ended" + how);
  std::erase_if(workers_, [&ended](const NumberedWorker& other) { return other.number == ended.number; });
  const sim::WorkerStart& start = ended.worker->start;
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
    const std::optional<std::string> answer = answerByNow(client);
    if (answer) {
      log_.event(Tag::Link,
                 answer->empty() ? "receives nothing; the connection ends" : "receives \"" + *answer + "\"");
    }
    return answer.has_value();
  });
}

void Unit::logDisplay() {
  for (std::string text : unit_.display.takeWrites()) {
    text.resize(text.size() - (text.ends_with('\n') ? 1 : 0));
    log_.event(Tag::Display, "[" + text + "]");
  }
}

void Unit::logEndOfDaemon() {
  if (!following_ || daemonRuns()) {
    return;
  }
  following_ = false;
  std::ostringstream end;
  end << unit_.daemon().waitForExit();
  log_.event(Tag::Daemon, "has ended with " + end.str());
  for (const NumberedWorker& each : workers_) {
    if (each.worker->start.parentDeathSignal != 0) {
      each.worker->waitForEnd();
    }
  }
  logEndedWorkers(" with the daemon");
  for (const NumberedWorker& each : workers_) {
    log_.event(Tag::Worker, numbered(each) + " runs on");
  }
}

}  // namespace demo
