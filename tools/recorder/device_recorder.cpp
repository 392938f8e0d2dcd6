#include "tools/recorder/device_recorder.h"

#include <algorithm>

#include "tools/recorder/error.h"
#include "tools/recorder/serial_numbers.h"
#include "tools/recorder/sysfs_attribute.h"
#include "tools/recorder/sysfs_tree.h"

namespace recorder {

namespace {

std::chrono::steady_clock::time_point after(double seconds) {
  using Clock = std::chrono::steady_clock;
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

Error timedOut(const std::string& awaited) {
  return Error{"waited in vain for " + awaited + "\n"};
}

bool addsUsbDevice(const HeardEvent& event) {
  return event.isHeaded("add@" + event.devpath()) && event.hasItem("DEVTYPE=usb_device");
}

int millisecondsFrom(const HeardEvent& first, const HeardEvent& event) {
  using std::chrono::milliseconds;
  return static_cast<int>(std::chrono::duration_cast<milliseconds>(event.time - first.time).count());
}

/** A battery is often named after the serial number of its device; such a name is in the path of its events. */
bool isOfBattery(const HeardEvent& event) {
  return event.devpath().find("/power_supply/") != std::string::npos;
}

std::vector<RecordedEvent> recorded(const std::vector<HeardEvent>& events) {
  std::vector<RecordedEvent> all;
  for (const HeardEvent& event : events) {
    if (!isOfBattery(event)) {
      all.push_back({millisecondsFrom(events.front(), event), withoutSerialNumbers(event.datagram, '\0')});
    }
  }
  return all;
}

/** The events from the first of this kind on. */
std::vector<HeardEvent> from(const std::vector<HeardEvent>& events,
                             const std::function<bool(const HeardEvent&)>& isFirst) {
  return {std::find_if(events.begin(), events.end(), isFirst), events.end()};
}

}  // namespace

void DeviceRecorder::recordPlug() {
  const std::vector<HeardEvent> plug =
      from(burstWith("a USB device that is plugged in", addsUsbDevice), addsUsbDevice);
  const std::string devpath = plug.front().devpath();
  if (std::any_of(plug.begin(), plug.end(),
                  [&](const HeardEvent& event) { return event.isHeaded("remove@" + devpath); })) {
    throw Error("the device was taken out before everything was quiet: " + devpath);
  }
  recording_ = {};
  recording_.directory = "/sys" + devpath;
  recording_.plugEvents = recorded(plug);
  recording_.tree = treeOf(recording_.directory);
  recording_.product = attributeText(recording_.directory + "/product");
  recording_.speed = attributeText(recording_.directory + "/speed");
}

void DeviceRecorder::recordUnplug() {
  const std::string devpath = recording_.devpath();
  if (devpath.empty()) {
    throw Error("no device has been recorded that could be taken out");
  }
  const std::vector<HeardEvent> burst =
      burstWith("the device's being taken out: " + devpath,
                [&](const HeardEvent& event) { return event.isHeaded("remove@" + devpath); });
  recording_.unplugEvents = recorded(from(
      burst, [&](const HeardEvent& event) { return (event.devpath() + "/").starts_with(devpath + "/"); }));
}

/** The next burst with an event as awaited; bursts before it are dropped. */
std::vector<HeardEvent> DeviceRecorder::burstWith(const std::string& awaited, const Predicate& isAwaited) {
  const Clock::time_point limit = after(patience_.limit);
  std::vector<HeardEvent> burst;
  do {
    burst = nextBurst(awaited, limit);
  } while (std::none_of(burst.begin(), burst.end(), isAwaited));
  return burst;
}

/** The next events up to a quiet. */
std::vector<HeardEvent> DeviceRecorder::nextBurst(const std::string& awaited, Clock::time_point limit) {
  if (!events_.waitForEvents(limit)) {
    throw timedOut(awaited);
  }
  std::vector<HeardEvent> burst;
  while (events_.waitForEvents(after(patience_.quiet))) {
    const std::vector<HeardEvent> more = events_.take();
    burst.insert(burst.end(), more.begin(), more.end());
    if (Clock::now() >= limit) {
      throw timedOut("an end of the events");
    }
  }
  return burst;
}

}  // namespace recorder
