#include "bench/measurements/events.h"

#include <algorithm>
#include <string>
#include <vector>

#include "bench/measured_unit.h"
#include "sim/error.h"
#include "sim/uevent_sender.h"

namespace bench {

namespace {

/** As many as the kernel's default buffer holds. */
constexpr int events = 150;

/** A uevent as the kernel sends it many times. */
struct RepeatedEvent {
  std::string action;
  std::string devpath;
  sim::UeventPairs pairs;
};

/** All events wait before the contender begins, so that it does not fall asleep between two. */
class EventCost : public Measurement {
 public:
  EventCost(const Contender& contender, RepeatedEvent event) : unit_(contender), event_(std::move(event)) {
    unit_.startAtWork();
    static_cast<void>(unit_.addDevices(1));
    addNetworkDevice();
    static_cast<void>(EventCost::sample());
  }

  /** A helper that ends takes the time that it had along: then all is measured once more. */
  double sample() override {
    while (true) {
      const std::vector<pid_t> processes = unit_.running().processes();
      const double microseconds = costOfEach();
      if (areStillThere(processes)) {
        return microseconds;
      }
    }
  }

 private:
  [[nodiscard]] double costOfEach() const {
    constexpr double microsecondsPerSecond = 1e6;
    const RunningContender& contender = unit_.running();
    contender.stop();
    const double before = contender.processorSeconds();
    for (int i = 0; i < events; ++i) {
      unit_.kernel.send(event_.action, event_.devpath, event_.pairs);
    }
    contender.resume();
    contender.awaitRest();
    requireAllReceived();
    return (contender.processorSeconds() - before) * microsecondsPerSecond / events;
  }

  [[nodiscard]] bool areStillThere(const std::vector<pid_t>& processes) const {
    const std::vector<pid_t> now = unit_.running().processes();
    return std::ranges::all_of(
        processes, [&now](pid_t process) { return std::ranges::find(now, process) != now.end(); });
  }

  void addNetworkDevice() {
    const std::string directory = "/sys/devices/virtual/net/eth7";
    unit_.sysfs.makeDirectory(directory);
    unit_.sysfs.linkTo("/sys/class/net", directory + "/subsystem");
    unit_.sysfs.writeAttribute(directory, "uevent", "INTERFACE=eth7\nIFINDEX=7\n");
  }

  static void requireAllReceived() {
    const auto listeners = sim::UeventSender::listeners();
    if (std::ranges::any_of(listeners, [](const auto& listener) { return listener.lost > 0; })) {
      throw sim::Error("events were lost, so that too few were measured");
    }
  }

  MeasuredUnit unit_;
  RepeatedEvent event_;
};

Begin costOf(const RepeatedEvent& event) {
  return [event](const Contender& contender) { return std::make_unique<EventCost>(contender, event); };
}

}  // namespace

Begin eventOfOtherAction() {
  return costOf({.action = "change",
                 .devpath = "/devices/platform/usb-host.0/usb1/1-1",
                 .pairs = {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_device"}}});
}

Begin eventOfOtherSubsystem() {
  return costOf({.action = "add",
                 .devpath = "/devices/virtual/net/eth7",
                 .pairs = {{"SUBSYSTEM", "net"}, {"INTERFACE", "eth7"}, {"IFINDEX", "7"}}});
}

}  // namespace bench
