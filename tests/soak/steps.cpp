#include "soak/steps.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <initializer_list>
#include <sstream>

#include "soak/datagrams.h"

namespace soak {

namespace {

constexpr std::size_t notesKept = 60;
constexpr int mostStepsAtOnce = 14;
constexpr std::size_t keptPorts = 2;  // free ones, so that there is always one

std::string describe(const sim::ProcessEnd& end) {
  std::ostringstream text;
  text << end;
  return text.str();
}

}  // namespace

Steps::Steps(std::uint64_t seed) : random_(seed), devices_(unit_) {
  unit_.installWorker("/opt/soak/generic");
}

void Steps::note(const std::string& step) {
  ++counts_.steps;
  notes_.push_back(std::to_string(counts_.steps) + ": " + step);
  if (notes_.size() > notesKept) {
    notes_.pop_front();
  }
}

std::string Steps::lastSteps() const {
  std::string text;
  for (const std::string& step : notes_) {
    text += "  " + step + "\n";
  }
  return text;
}

void Steps::begin() {
  timeout_ = randomTimeout(random_);
  onDisk_ = randomConfiguration(random_, timeout_);
  onDisk_.write();
  const Options options = randomOptions(random_);
  std::string step = "start a daemon:";
  for (const std::string& argument : options.arguments()) {
    step += " " + argument;
  }
  note(step + ", with the configuration\n" + onDisk_.text);
  ++counts_.daemons;
  life_ = std::make_unique<Life>(unit_, options, onDisk_);
}

void Steps::endLife() {
  const std::vector<pid_t> workers = workersOf(random_.pick(Devices::allPorts()));
  const std::size_t way = random_.below(5);
  if (!workers.empty() && random_.oneIn(2)) {
    note("a worker cannot be executed");
    life_->endByFailedExec(workers.front());
  } else if (way == 0) {
    note("a client ends without a message");
    life_->deliver("");
  } else if (way == 1) {
    note("a line with a bad port");
    life_->deliver(
        random_.word({"host", "host port full eth1", "host 65536 full eth1", "host  full", "  ", "host 1x"}));
  } else if (way == 2) {
    note("a line that is too long");
    life_->deliver(std::string(300, 'h').insert(200, " 5000 high eth1 "));
  } else {
    note("the control connection ends the daemon");
    if (!life_->model().hasControlConnection()) {
      life_->deliver("host 5000 high eth1");
    }
    life_->endByControlConnection(random_.oneIn(2));
  }
}

void Steps::takeSome() {
  if (!life_ || life_->hasEnded()) {
    begin();
  }
  touched_.clear();
  life_->settleRestarts();
  if (random_.oneIn(2)) {
    takeLoneStep();
  } else {
    for (int left = random_.between(1, mostStepsAtOnce); left > 0; --left) {
      takeMixedStep();
    }
    life_->settle();
  }
  if (life_->hasEnded()) {
    const std::vector<sim::Worker*>& left = life_->orphans();
    orphans_.insert(orphans_.end(), left.begin(), left.end());
    counts_.ended.events += life_->counts().events;
    counts_.ended.launches += life_->counts().launches;
    counts_.ended.deaths += life_->counts().deaths;
    counts_.ended.slowestAnswer = std::max(counts_.ended.slowestAnswer, life_->counts().slowestAnswer);
  }
}

void Steps::takeMixedStep() {
  using Step = void (Steps::*)();
  static const std::vector<Step> steps = {
      &Steps::plug,          &Steps::plug,         &Steps::plug,
      &Steps::unplug,        &Steps::unplug,       &Steps::announceAgain,
      &Steps::announceAgain, &Steps::rename,       &Steps::sendOddDatagram,
      &Steps::endSomeWorker, &Steps::endSomeWorker};
  (this->*random_.pick(steps))();
}

std::vector<int> Steps::untouched(std::vector<int> ports) const {
  std::erase_if(ports, [this](int port) { return touched_.contains(port); });
  return ports;
}

int Steps::touchOne() {
  const std::vector<int> ports = untouched(devices_.takenPorts());
  if (ports.empty()) {
    return 0;
  }
  const int port = random_.pick(ports);
  touched_.insert(port);
  return port;
}

void Steps::plug() {
  std::vector<int> free = untouched(Devices::allPorts());
  const std::vector<int> taken = devices_.takenPorts();
  std::erase_if(free, [&](int port) { return std::ranges::find(taken, port) != taken.end(); });
  if (taken.size() + keptPorts >= Devices::allPorts().size() || free.empty()) {
    return;
  }
  const int port = devices_.plug(random_, *life_, free);
  touched_.insert(port);
  note("plug a device into port " + std::to_string(port));
}

void Steps::unplug() {
  const int port = touchOne();
  if (port == 0) {
    return;
  }
  note("unplug port " + std::to_string(port));
  const std::vector<pid_t> workers = workersOf(port);
  devices_.unplug(port, *life_);
  for (const pid_t worker : workers) {
    if (!random_.oneIn(4)) {
      endWorker(worker, randomEnd());
    }
  }
}

void Steps::announceAgain() {
  if (const int port = touchOne(); port != 0) {
    note("announce port " + std::to_string(port) + " again");
    devices_.announceAgain(port, random_, *life_);
  }
}

void Steps::rename() {
  if (const int port = touchOne(); port != 0) {
    note("rename port " + std::to_string(port));
    devices_.rename(port, random_, *life_);
  }
}

void Steps::sendOddDatagram() {
  note("an odd datagram");
  life_->send(oddDatagram(random_, devices_.directories()));
}

std::vector<pid_t> Steps::workersOf(int port) const {
  std::vector<pid_t> found;
  for (const auto& [worker, device] : life_->model().workers()) {
    if (devices_.portOf(device) == port) {
      found.push_back(worker);
    }
  }
  // The order of process ids is not the same again when they begin anew.
  std::ranges::sort(found, {}, [this](pid_t worker) { return life_->model().workers().at(worker); });
  return found;
}

sim::ProcessEnd Steps::randomEnd() {
  if (random_.oneIn(3)) {
    return sim::ProcessEnd::killedBy(
        random_.pick(std::initializer_list<int>{SIGKILL, SIGSEGV, SIGTERM, SIGABRT}));
  }
  return sim::ProcessEnd::exited(random_.pick(std::initializer_list<int>{0, 1, 5, 5, 28, 28, 255}));
}

void Steps::endWorker(pid_t worker, const sim::ProcessEnd& end) {
  note("the worker of " + life_->model().workers().at(worker) + " ends: " + describe(end));
  life_->endWorker(worker, end);
}

// Also one whose device has gone.
void Steps::endSomeWorker() {
  const std::vector<int> ports = untouched(Devices::allPorts());
  if (ports.empty()) {
    return;
  }
  const int port = random_.pick(ports);
  for (const pid_t worker : workersOf(port)) {
    touched_.insert(port);
    endWorker(worker, random_.oneIn(2) ? sim::ProcessEnd::exited(5) : randomEnd());
  }
}

}  // namespace soak
