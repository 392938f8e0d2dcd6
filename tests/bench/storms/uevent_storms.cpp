#include <chrono>
#include <csignal>
#include <string>

#include "bench/storms/crowded_unit.h"
#include "bench/storms/footprints.h"
#include "bench/storms/storms.h"
#include "sim/contract.h"
#include "sim/signal_storm.h"

namespace bench {

namespace {

namespace debug = contract::debug;

/** What is promised to be kept while a device is awaited: the buffer of 16 MiB holds more of the longest events. */
constexpr int promised = 20'000;
constexpr int large = 200'000;

/** The longest event that a kernel was seen to send has about as many bytes. */
constexpr int longest = 700;
constexpr int usual = 200;

/** The queue is not filled beyond this while the storm is kept up. */
constexpr unsigned calmQueue = 8 * 1024 * 1024;

/** Three seconds, the last look, and a busy machine. */
constexpr double longestWait = 4;

std::string devpathOf(int number) {
  return "/storm/" + std::to_string(number);
}

std::string datagram(int number, int bytes) {
  const std::string bare = sim::uevent("change", devpathOf(number), {{"MODALIAS", ""}});
  const auto missing = static_cast<std::size_t>(bytes) - bare.size();
  return sim::uevent("change", devpathOf(number), {{"MODALIAS", std::string(missing, 'm')}});
}

sim::UeventSender::Listener queue() {
  return sim::UeventSender::listeners().at(0);
}

/** A daemon that logs what it handles. */
class LoggedUnit {
 public:
  LoggedUnit() : crowd_(1, {"--debug=ctrl"}) {
    crowd_.startDaemon();
    crowd_.unit().waitUntilServing();
    for (int i = 0; i < warmingEvents; ++i) {
      send(-1, usual);
    }
    crowd_.settle();
  }

  void send(int number, int bytes) { crowd_.unit().uevents.send(datagram(number, bytes)); }

  /** Announces a device whose attributes never come; the daemon waits three seconds for it. */
  void plugUnfinishedDevice() {
    sim::UsbDevice unfinished{.name = "2-1"};
    unfinished.deviceClass.reset();
    const std::string directory = crowd_.unit().sysfs.add(unfinished);
    crowd_.announce("add", directory);
    crowd_.unit().daemon().waitForLine(debug::event("add", directory.substr(4)));
  }

  /** Sends more events whenever the queue has room for them. */
  void keepUp(int from, int until) {
    for (int i = from; i < until; ++i) {
      if (i % 100 == 0) {
        crowd_.await("room in the queue", [] { return queue().queuedBytes < calmQueue; });
      }
      send(i, usual);
    }
  }

  /** How many of the events have been handled, in their order. */
  int handledInOrder() {
    int next = 0;
    for (const std::string& message : crowd_.unit().daemon().messages()) {
      if (message == debug::line(debug::event("change", devpathOf(next)))) {
        ++next;
      }
    }
    return next;
  }

  [[nodiscard]] bool stillWaits() { return !crowd_.unit().daemon().hasLine(debug::undetermined); }

  CrowdedUnit& crowd() { return crowd_; }

 private:
  static constexpr int warmingEvents = 1'000;

  CrowdedUnit crowd_;
};

void stormWhileADeviceIsAwaited(Figures& figures) {
  figures.begin("uevents");
  LoggedUnit unit;
  const sim::Footprint before = unit.crowd().footprint();
  const sim::SignalStorm signals(unit.crowd().daemon(), {SIGHUP, SIGCHLD});
  unit.plugUnfinishedDevice();
  for (int i = 0; i < promised; ++i) {
    unit.send(i, usual);
  }
  figures.exactly(1, "the device was still awaited (1: yes)", unit.stillWaits() ? 1 : 0);
  unit.keepUp(promised, large);
  unit.crowd().settle();
  figures.exactly(0, "events lost", queue().lost);
  figures.exactly(large, "events handled in order, the first 20,000 after the wait", unit.handledInOrder());
  figures.exactly(0, "bytes queued afterwards", queue().queuedBytes);
  compareFootprints(figures, before, unit.crowd().footprint());
  figures.report("signals meanwhile", static_cast<double>(signals.sent()), "");
}

/** How many events of this size a stopped daemon keeps. */
int capacityFor(int bytes) {
  LoggedUnit unit;
  unit.crowd().stopDaemon();
  int kept = 0;
  for (unit.send(0, bytes); queue().lost == 0; unit.send(kept, bytes)) {
    ++kept;
  }
  unit.crowd().resumeDaemon();
  return kept;
}

void measureCapacity(Figures& figures) {
  figures.begin("queue of uevents");
  figures.noLessThan(promised, "events of 700 bytes that it holds", capacityFor(longest), "");
  figures.noLessThan(promised, "events of 200 bytes that it holds", capacityFor(usual), "");
}

/** Signals without a pause between them must not make the wait for a device longer. */
void awaitADeviceInAFlood(Figures& figures) {
  figures.begin("flood of signals");
  LoggedUnit unit;
  const sim::SignalStorm hangups(unit.crowd().daemon(), {SIGHUP}, 0);
  const sim::SignalStorm signals(unit.crowd().daemon(), {SIGHUP, SIGCHLD}, 0);
  const auto start = std::chrono::steady_clock::now();
  unit.plugUnfinishedDevice();
  unit.crowd().unit().daemon().waitForLine(debug::undetermined, sim::Deadline(60));
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  figures.noMoreThan(longestWait, "the wait of three seconds for a device", taken.count(), "s");
  figures.report("signals each second", static_cast<double>(hangups.sent() + signals.sent()) / taken.count(),
                 "");
}

/** More than the queue holds, at once: the daemon must not go on as if nothing had been lost. */
void overflow(Figures& figures) {
  figures.begin("200,000 uevents at once");
  LoggedUnit unit;
  unit.plugUnfinishedDevice();
  for (int i = 0; i < large; ++i) {
    unit.send(i, usual);
  }
  figures.report("events lost", queue().lost, "");
  const sim::ProcessEnd end = unit.crowd().unit().daemon().waitForExit();
  figures.exactly(1, "the daemon ends with status", end.status.value_or(-1));
  figures.exactly(1, "its last error is the lack of buffer space (1: yes)",
                  unit.crowd().unit().daemon().hasLine("No buffer space available while recvfrom") ? 1 : 0);
  figures.report("events handled before", unit.handledInOrder(), "");
}

}  // namespace

void stormWithUevents(Figures& figures) {
  stormWhileADeviceIsAwaited(figures);
  awaitADeviceInAFlood(figures);
  measureCapacity(figures);
  overflow(figures);
}

}  // namespace bench
