// The steps that a daemon handles alone, because it matters what comes before and behind them.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "sim/uevent.h"
#include "soak/broken.h"
#include "soak/steps.h"

namespace soak {

namespace {

constexpr std::size_t mostOrphans = 20;
constexpr int rounds = 60;
constexpr int roundsToWarmUp = 5;
constexpr long toleratedKilobytes = 16;  // four pages
constexpr char nul = '\0';

}  // namespace

void Steps::takeLoneStep() {
  struct Choice {
    int weight;
    void (Steps::*step)();
  };
  static const std::vector<Choice> choices = {{40, &Steps::ask},
                                              {40, &Steps::changeLink},
                                              {20, &Steps::letClientLeave},
                                              {30, &Steps::changePolicy},
                                              {15, &Steps::stormOfHangUps},
                                              {2, &Steps::endAllWorkers},
                                              {6, &Steps::failAgainAndAgain},
                                              {1, &Steps::waitInVain},
                                              {1, &Steps::rest},
                                              {15, &Steps::endOrphan},
                                              {5, &Steps::endInQuickSuccession},
                                              {3, &Steps::endLife}};
  int total = 0;
  for (const Choice& choice : choices) {
    total += choice.weight;
  }
  int drawn = random_.between(1, total);
  for (const Choice& choice : choices) {
    drawn -= choice.weight;
    if (drawn <= 0) {
      (this->*choice.step)();
      return;
    }
  }
}

void Steps::ask() {
  note("ask for the parameters");
  life_->ask();
}

// Where a worker's device shows no speed, the drop to "full" ends the daemon: not too often.
std::string Steps::randomLine() {
  sim::LinkParameters link = randomLink(random_);
  const bool lacksSpeed = std::ranges::any_of(life_->model().workers(), [](const auto& worker) {
    return !std::filesystem::exists(worker.second + "/speed");
  });
  if (lacksSpeed && link.speed == "full" && !random_.oneIn(10)) {
    link.speed = "high";
  }
  if (random_.oneIn(2)) {
    link.inkey = secret + std::to_string(random_.below(100));
    link.outkey = random_.oneIn(4) ? "" : secret + std::to_string(random_.below(100));
  }
  switch (random_.below(10)) {
    case 0:
      return link.host + " " + link.port;
    case 1:
      return link.host + " " + link.port + " " + link.speed + " " + link.interface;
    case 2:
      return link.line() + "\n";
    case 3:
      return link.line() + std::string("\0 behind the end", 15);
    case 4:
      return std::string(200, 'h') + " 5000 high eth1 " + std::string(random_.below(40), 'e');
    default:
      return link.line();
  }
}

void Steps::changeLink() {
  const std::string line = randomLine();
  note("new parameters: " + line.substr(0, line.find(nul)));
  life_->deliver(line);
}

void Steps::letClientLeave() {
  const std::vector<int> idle = life_->idleClients();
  if (!idle.empty()) {
    note("a client leaves");
    life_->leave(random_.pick(idle));
  }
}

void Steps::changePolicy() {
  onDisk_ = randomConfiguration(random_, timeout_);
  const bool isNoticed = !random_.oneIn(5);
  note(std::string("new configuration, ") + (isNoticed ? "" : "not ") + "announced:\n" + onDisk_.text);
  life_->writeConfiguration(onDisk_);
  if (isNoticed) {
    life_->hangUp(1);
  }
}

// The signals come in the midst of events: what they reload is what the daemon has.
void Steps::stormOfHangUps() {
  if (onDisk_.form != Configuration::Form::readable) {
    return;
  }
  note("a storm of hang-up signals");
  life_->hangUp(1);
  for (int i = random_.between(2, 8); i > 0; --i) {
    takeMixedStep();
    life_->hangUp(20);
  }
  life_->settle();
  life_->hangUp(1);
}

void Steps::endAllWorkers() {
  note("all workers end at once");
  for (const int port : Devices::allPorts()) {
    for (const pid_t worker : workersOf(port)) {
      endWorker(worker, sim::ProcessEnd::killedBy(SIGKILL));
    }
  }
  life_->settle();
}

void Steps::failAgainAndAgain() {
  const std::vector<int> ports = devices_.takenPorts();
  if (ports.empty()) {
    return;
  }
  const int port = random_.pick(ports);
  for (int i = random_.between(4, 7); i > 0; --i) {
    const std::vector<pid_t> workers = workersOf(port);
    if (workers.empty()) {
      return;
    }
    endWorker(workers.front(), sim::ProcessEnd::exited(random_.oneIn(6) ? 28 : 1));
    life_->settle();
  }
}

// Hundreds of workers that cannot configure their devices leave nothing behind.
void Steps::endInQuickSuccession() {
  note("workers end in quick succession");
  long warmKilobytes = 0;
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::string> devices;
    for (const auto& [worker, device] : std::map<pid_t, std::string>(life_->model().workers())) {
      devices.push_back(device);
      life_->endWorker(worker, sim::ProcessEnd::exited(5));
    }
    life_->settle();
    for (const std::string& device : devices) {
      life_->send(sim::uevent("add", device.substr(std::string("/sys").size())));
    }
    life_->settle();
    if (round == roundsToWarmUp) {
      warmKilobytes = life_->footprint().kilobytes();
    }
  }
  if (life_->footprint().kilobytes() > warmKilobytes + toleratedKilobytes) {
    throw Broken("workers that have ended left " +
                 std::to_string(life_->footprint().kilobytes() - warmKilobytes) + " kB of memory");
  }
}

void Steps::waitInVain() {
  const std::vector<int> taken = devices_.takenPorts();
  for (const int port : Devices::allPorts()) {
    if (std::ranges::find(taken, port) == taken.end() && workersOf(port).empty()) {
      note("a device that stays incomplete");
      devices_.plugIncomplete(random_, *life_, port);
      return;
    }
  }
}

void Steps::rest() {
  note("three quiet seconds");
  life_->beQuiet();
}

// They are no daemon's any more: this process reaps them.
void Steps::endOrphan() {
  for (std::size_t kept = random_.below(mostOrphans); orphans_.size() > kept;) {
    const std::size_t chosen = random_.below(orphans_.size());
    sim::Worker& orphan = *orphans_[chosen];
    note("an orphan ends");
    orphan.exitWith(0);
    orphan.waitForEnd();
    ::waitpid(orphan.start.pid, nullptr, 0);
    unit_.workers.forget(orphan);
    orphans_.erase(orphans_.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
}

}  // namespace soak
