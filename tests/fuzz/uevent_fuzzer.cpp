// Uevents and the handling of them over a made-up /sys; see uevent_input.h for the input.

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/link.h"
#include "ctrl/rx_ctrl.h"
#include "ctrl/settings.h"
#include "fuzz/check.h"
#include "fuzz/descriptors_input.h"
#include "fuzz/replaced_clock.h"
#include "fuzz/uevent_input.h"
#include "hotplug/uevent.h"
#include "hotplug/uevent_handler.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "ulx/working_directory.h"

namespace {

using fuzz::check;

// The children that the product believes to have.
struct Forks {
  int count = 0;
  bool nextFails = false;
};

Forks forks;

// The second reading of a datagram: byte by byte.
std::map<std::string, std::string> plainlyParsed(const std::string& datagram) {
  std::map<std::string, std::string> event;
  if (datagram.substr(0, 7) == "libudev") {
    return event;
  }
  std::string key;
  std::string value;
  bool isInValue = false;
  const auto endItem = [&] {
    if (isInValue && !event.contains(key)) {
      event[key] = value;
    }
    key.clear();
    value.clear();
    isInValue = false;
  };
  for (const char byte : datagram) {
    if (byte == '\0') {
      endItem();
    } else if (isInValue) {
      value += byte;
    } else if (byte == '=') {
      isInValue = true;
    } else {
      key += byte;
    }
  }
  endItem();
  return event;
}

bool isInStep(const WorkerTable& workers) {
  for (const auto& [path, pid] : workers.byPath) {
    const auto worker = workers.byPid.find(pid);
    if (worker == workers.byPid.end() || worker->second != path) {
      return false;
    }
  }
  for (const auto& [pid, path] : workers.byPid) {
    if (!workers.byPath.contains(path)) {
      return false;
    }
  }
  return true;
}

// What coldplug makes of the path of an announced device.
void checkRepetition(const UEvent& event) {
  const auto devpath = event.find("DEVPATH");
  if (devpath != event.end()) {
    const std::string path = std::string("/sys").append(devpath->second);
    check(makeAddEvent(path) == UEvent{{"ACTION", "add"}, {"DEVPATH", devpath->second}},
          "a made event has the path that it was made of");
  }
}

class Daemon {
 public:
  Daemon() : ctrl_("host", 65535, "high", 0, nullptr, nullptr, "10", "/sim/control", "eth1") {}

  void reset(unsigned switches, unsigned policySwitches);
  void handle(const std::string& datagram);
  void endWorker();

 private:
  void checkWorkers(std::size_t workersBefore, bool isAdd) const;

  RxCtrl ctrl_;
};

void Daemon::reset(unsigned switches, unsigned policySwitches) {
  settings.debugCtrl = (switches & fuzz::debugSwitch) != 0;
  settings.debugGeneric = (switches & fuzz::workerDebugSwitch) != 0;
  settings.debugKeyboard = settings.debugGeneric;
  settings.debugScsi = settings.debugGeneric;
  ctrl_.classes = switches & (fuzz::keyboardClassSwitch | fuzz::storageClassSwitch);
  ctrl_.attachBlocked = (switches & fuzz::attachBlockedSwitch) != 0;
  ctrl_.controlConnection =
      (switches & fuzz::connectedSwitch) != 0 ? std::make_unique<ControlConnection>(-1) : nullptr;
  ctrl_.inkey = (switches & fuzz::keysSwitch) != 0 ? LinkKey("in") : LinkKey();
  ctrl_.outkey = ctrl_.inkey;
  ctrl_.policy = {.hidOnly = (policySwitches & fuzz::hidOnlySwitch) != 0,
                  .blockMassStorage = (policySwitches & fuzz::blockMassStorageSwitch) != 0,
                  .smartcard = (policySwitches & fuzz::smartcardSwitch) != 0,
                  .isochronousEnabled = (policySwitches & fuzz::isochronousEnabledSwitch) != 0,
                  .isochronousUserWarning = (policySwitches & fuzz::isochronousUserWarningSwitch) != 0};
  ctrl_.speed = (policySwitches & fuzz::fullSpeedLinkSwitch) != 0 ? "full" : "high";
  ctrl_.workers = {};
  ctrl_.socketPath = (switches & fuzz::otherSocketSwitch) != 0 ? "/sim/control" : defaultSocketPath;
  std::remove(configurationPath);
  requestConfigReload();
  policyReloadRequested = 0;
  forks = {};
}

void Daemon::handle(const std::string& datagram) {
  const UEvent event = parseUEvent(datagram);
  check(std::map<std::string, std::string>(event.begin(), event.end()) == plainlyParsed(datagram),
        "an event says what it says in a plain reading");
  checkRepetition(event);
  const auto action = event.find("ACTION");
  const std::size_t workersBefore = ctrl_.workers.byPid.size();
  forks.count = 0;
  handleUEvent(ctrl_, event, ctrl_.speed);
  checkWorkers(workersBefore, action != event.end() && action->second == "add");
}

void Daemon::checkWorkers(std::size_t workersBefore, bool isAdd) const {
  check(forks.count <= (isAdd ? 1 : 0),
        "an event starts one worker at most, and only a device that comes does");
  check(ctrl_.workers.byPid.size() == workersBefore + static_cast<std::size_t>(forks.count),
        "every worker that is started is in the table");
  check(isInStep(ctrl_.workers), "a worker is found by its path and by its process id");
}

void Daemon::endWorker() {
  if (!ctrl_.workers.byPid.empty()) {
    ctrl_.workers.remove(ctrl_.workers.byPid.begin()->first);
    check(isInStep(ctrl_.workers), "a worker that has ended is found no more");
  }
}

// What one input does.
class Run {
 public:
  Run(Daemon& daemon, fuzz::MadeUpDevices& devices) : daemon_(daemon), devices_(devices) {}
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() { devices_.removeAll(); }

  void follow(fuzz::Input& input) {
    constexpr int mostSteps = 64;  // a longer run costs more than it finds
    const unsigned switches = input.byte();
    const unsigned policySwitches = input.byte();
    daemon_.reset(switches, policySwitches);
    for (int steps = 0; !input.isAtEnd() && steps < mostSteps; ++steps) {
      doStep(input);
    }
  }

 private:
  void doStep(fuzz::Input& input) {
    switch (static_cast<fuzz::Step>(input.byte() % fuzz::stepCount)) {
      case fuzz::Step::write: {
        const fuzz::Attribute& attribute = attributeFrom(input);
        devices_.write(attribute, input.text());
        break;
      }
      case fuzz::Step::writeLater: {
        const fuzz::Attribute& attribute = attributeFrom(input);
        later_.emplace_back(attribute, input.text());
        break;
      }
      case fuzz::Step::makeUnreadable:
        devices_.makeUnreadable(attributeFrom(input));
        break;
      case fuzz::Step::remove:
        devices_.remove(attributeFrom(input));
        break;
      case fuzz::Step::announce:
        announce(input.text());
        break;
      case fuzz::Step::endWorker:
        daemon_.endWorker();
        break;
      case fuzz::Step::failFork:
        forks.nextFails = true;
        break;
      case fuzz::Step::configure:
        sim::writeFile(configurationPath, input.text());
        policyReloadRequested = 1;
        break;
    }
  }

  static const fuzz::Attribute& attributeFrom(fuzz::Input& input) {
    return fuzz::attributes.at(input.byte() % fuzz::attributes.size());
  }

  void announce(const std::string& datagram) {
    const fuzz::ReplacedClock clock([this] { writeDue(); });
    daemon_.handle(datagram);
  }

  void writeDue() {
    for (const auto& [attribute, content] : std::exchange(later_, {})) {
      devices_.write(attribute, content);
    }
  }

  Daemon& daemon_;
  fuzz::MadeUpDevices& devices_;
  std::vector<std::pair<fuzz::Attribute, std::string>> later_;
};

}  // namespace

// The product never becomes a child here.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" pid_t __wrap_fork() {
  constexpr pid_t firstPid = 1'000'000'000;  // beyond any process of the machine
  static pid_t lastPid = firstPid;
  if (std::exchange(forks.nextFails, false)) {
    errno = EAGAIN;
    return -1;
  }
  ++forks.count;
  return ++lastPid;
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::MadeUpDevices devices;
  static Daemon daemon;
  static const std::string directoryBefore = ulx::currentDirectory();
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  fuzz::Input input(data, size);
  Run(daemon, devices).follow(input);
  check(ulx::currentDirectory() == directoryBefore, "the working directory is what it was");
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
