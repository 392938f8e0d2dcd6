#include "tools/recorder/device_recorder.h"

#include <algorithm>
#include <chrono>

#include "sim/error.h"
#include "tools/recorder/serial_numbers.h"
#include "tools/recorder/sysfs_attribute.h"
#include "tools/recorder/sysfs_tree.h"

namespace sim {

namespace {

bool addsUsbDevice(const HeardEvent& event) {
  return event.isHeaded("add@" + event.devpath()) && event.hasItem("DEVTYPE=usb_device");
}

int millisecondsFrom(const HeardEvent& first, const HeardEvent& event) {
  using std::chrono::milliseconds;
  return static_cast<int>(std::chrono::duration_cast<milliseconds>(event.time - first.time).count());
}

std::vector<RecordedEvent> recorded(const std::vector<HeardEvent>& events) {
  std::vector<RecordedEvent> all;
  all.reserve(events.size());
  for (const HeardEvent& event : events) {
    all.push_back({millisecondsFrom(events.front(), event), withoutSerialNumbers(event.datagram, '\0')});
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

/** The next events without a quiet among them of which one is as awaited; others before are dropped. */
std::vector<HeardEvent> DeviceRecorder::burstWith(const std::string& awaited, const Predicate& isAwaited) {
  const Deadline limit(patience_.limit);
  std::vector<HeardEvent> burst;
  do {
    burst = nextBurst(awaited, limit);
  } while (std::none_of(burst.begin(), burst.end(), isAwaited));
  return burst;
}

std::vector<HeardEvent> DeviceRecorder::nextBurst(const std::string& awaited, const Deadline& limit) {
  waitUntil(awaited, limit, [this] { return !events_.heard().empty(); });
  std::vector<HeardEvent> burst;
  while (hearsAny(Deadline(patience_.quiet))) {
    const std::vector<HeardEvent> more = events_.take();
    burst.insert(burst.end(), more.begin(), more.end());
    if (limit.passed()) {
      throw TimedOut("an end of the events");
    }
  }
  return burst;
}

bool DeviceRecorder::hearsAny(const Deadline& deadline) {
  // An event may have come unseen while this process did not run: it looks once more when the time is over.
  for (bool isOver = false; !isOver && events_.heard().empty();) {
    isOver = deadline.passed();
    serveBackground(deadline);
  }
  return !events_.heard().empty();
}

}  // namespace sim
