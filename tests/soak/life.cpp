#include "soak/life.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>

#include "sim/contract.h"
#include "sim/files.h"
#include "sim/uevent.h"
#include "soak/broken.h"
#include "soak/datagrams.h"

namespace soak {

namespace {

constexpr double patience = 30;  // seconds for all that one wait is for
constexpr double quietSeconds = 3.3;
constexpr std::chrono::milliseconds longPause(2000);
constexpr std::size_t longestMessage = 255;

// They follow its version; the daemon's own message comes behind them.
bool isComplaintOfIniparser(const std::string& line) {
  return line.starts_with("iniparser: ") || line.starts_with("-> ");
}

std::string nextSettlingPath() {
  static int settled = 0;
  return "/settle/" + std::to_string(++settled);
}

}  // namespace

Life::Life(sim::Unit& unit, const Options& options, const Configuration& onDisk)
    : unit_(unit), model_(options, onDisk) {
  unit.startDaemon(options.arguments());
  awaitLine(contract::debug::line(contract::debug::hotplugging));
  control_ = ControlModel(holdingsWithoutClients());
  compareColdplug();
  // What takes memory once does so now.
  send(sim::uevent("add", "/no/such/device"));
  send(hugeDatagram("/no/such/device"));
  settle();
}

void Life::send(const std::string& datagram) {
  unit_.uevents.send(datagram);
  ++counts_.events;
  const std::optional<Announcement> announcement = announcementIn(datagram);
  if (announcement) {
    sent_.push_back(*announcement);
  }
}

void Life::completeLater(const std::string& directory, const std::string& attribute,
                         const std::string& content) {
  late_.push_back({directory + "/" + attribute, content});
}

// A file that is moved is never seen half written.
void Life::completeDevices() {
  for (const LateAttribute& attribute : late_) {
    sim::writeFile("/sys/.late", attribute.content);
    std::filesystem::rename("/sys/.late", attribute.path);
  }
  late_.clear();
}

void Life::endWorker(pid_t worker, const sim::ProcessEnd& end) {
  sim::Worker& standin = *running_.at(worker).worker;
  if (end.signal) {
    standin.dieBy(*end.signal);
  } else {
    standin.exitWith(*end.status);
  }
  ending_[worker] = end;
}

void Life::settle() {
  completeDevices();
  awaitEnds();
  passEvents();
  compare();
}

void Life::collectLog() {
  std::vector<std::string> lines = unit_.daemon().takeMessages();
  for (std::string& line : lines) {
    if (line.find(secret) != std::string::npos) {
      throw Broken("the daemon logged a key: " + line);
    }
    if (!isComplaintOfIniparser(line)) {
      log_.push_back(std::move(line));
    }
  }
}

void Life::awaitLine(const std::string& line) {
  const sim::Background wakeAtEnd(unit_.daemon().endEvents(), [] {});
  sim::waitUntil("the daemon's line \"" + line + "\"", sim::Deadline(patience), [&] {
    const bool wasRunning = unit_.daemon().isRunning();
    collectLog();
    const bool found = std::ranges::find(log_, line) != log_.end();
    if (!found && !wasRunning) {
      throw Broken("the daemon ended before it logged \"" + line + "\"");
    }
    return found;
  });
}

void Life::awaitEnds() {
  for (const auto& [worker, end] : ending_) {
    awaitLine(contract::debug::line(contract::debug::terminated(worker)));
  }
}

void Life::passEvents() {
  const std::string path = nextSettlingPath();
  lastEvent_ = std::chrono::steady_clock::now();
  send(sim::uevent("settle", path));
  awaitLine(contract::debug::line(contract::debug::event("settle", path)));
}

void Life::writeConfiguration(const Configuration& onDisk) {
  onDisk.write();
  model_.writeConfiguration(onDisk);
}

void Life::hangUp(int times) {
  for (int i = 0; i < times; ++i) {
    unit_.daemon().signal(SIGHUP);
  }
  model_.hangUp();
}

void Life::beQuiet() {
  const sim::Deadline deadline(quietSeconds);
  while (!deadline.passed()) {
    sim::serveBackground(deadline);
  }
  model_.quiet();
}

void Life::settleRestarts() {
  if (model_.restartCount() > 0 && std::chrono::steady_clock::now() - lastEvent_ > longPause) {
    beQuiet();
  }
}

void Life::ask() {
  sim::LinkManager client = unit_.connect();
  const auto asked = std::chrono::steady_clock::now();
  client.send("?");
  const int number = control_.connect();
  model_.clientServed();
  if (!model_.knowsLink()) {
    control_.hold(number);
    clients_.emplace(number, std::move(client));
    passEvents();
  } else {
    const std::string answer = client.receiveAll(sim::Deadline(patience));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - asked;
    counts_.slowestAnswer = std::max(counts_.slowestAnswer, took.count());
    if (answer != model_.lastRequest()) {
      throw Broken("a query was answered \"" + answer + "\" instead of \"" + model_.lastRequest() + "\"");
    }
    model_.answered(number);
    control_.close(number);
  }
  settle();
}

void Life::deliver(const std::string& line) {
  sim::LinkManager client = unit_.connect();
  client.send(line);
  const int number = control_.connect();
  const std::string message = line.substr(0, longestMessage);
  const std::string parameters = message.substr(0, message.find('\0'));
  if (const auto words = Model::refusalOf(parameters)) {
    client.halfClose();
    expectEnd(sim::ProcessEnd::exited(1), *words);
    return;
  }
  std::vector<pid_t> terminated;
  const auto words = model_.link(parameters, terminated);
  model_.clientServed();
  clients_.emplace(number, std::move(client));
  controlConnection_ = number;
  for (const int answered : control_.answerWaiting(number)) {
    receive(answered, message, answered == number);
  }
  for (const pid_t worker : terminated) {
    ending_[worker] = sim::ProcessEnd::killedBy(SIGTERM);
  }
  if (words) {
    expectEnd(sim::ProcessEnd::exited(1), *words);
  } else if (line.size() > longestMessage + 1) {
    expectEnd(sim::ProcessEnd::exited(0), "");  // the rest of it is a message of the control connection
  } else {
    passEvents();  // the control socket comes behind the events
    settle();
  }
}

void Life::receive(int client, const std::string& message, bool isServed) {
  sim::LinkManager& waiting = clients_.at(client);
  const std::string received = isServed ? waiting.receive() : waiting.receiveAll();
  if (received != message) {
    throw Broken("the waiting client " + std::to_string(client) + " received \"" + received + "\"");
  }
  if (!isServed) {
    clients_.erase(client);
  }
}

std::vector<int> Life::idleClients() const {
  std::vector<int> idle;
  for (const auto& [number, client] : clients_) {
    if (number != controlConnection_) {
      idle.push_back(number);
    }
  }
  return idle;
}

void Life::leave(int client) {
  clients_.erase(client);
  control_.leave(client);
}

void Life::endByControlConnection(bool byMessage) {
  if (byMessage) {
    clients_.at(controlConnection_).send("anything");
  } else {
    clients_.erase(controlConnection_);
  }
  expectEnd(sim::ProcessEnd::exited(0), "");
}

void Life::endByFailedExec(pid_t worker) {
  running_.at(worker).worker->exitWith(42);
  running_.at(worker).endsWithDaemon = true;
  const std::string words = contract::error::execFailed;
  model_.expected.log.push_back(words.substr(0, words.find('\n')));
  expectEnd(sim::ProcessEnd::exited(1), "");
}

}  // namespace soak
