// What it takes to split a uevent and to find in it what every event is asked for first.

#include <algorithm>
#include <string>
#include <vector>

#include "bench/parts/allocation_counters.h"
#include "hotplug/uevent.h"
#include "sim/device_recording.h"

namespace {

/** The datagrams of a keyboard that is plugged in and taken out. */
const sim::DeviceRecording& keyboard() {
  static const sim::DeviceRecording recording = sim::loadRecording("kbd-fs");
  return recording;
}

bool isShorter(const sim::RecordedEvent& one, const sim::RecordedEvent& other) {
  return one.datagram.size() < other.datagram.size();
}

std::string shortRemove() {
  const std::vector<sim::RecordedEvent>& events = keyboard().unplugEvents;
  return std::min_element(events.begin(), events.end(), isShorter)->datagram;
}

std::string addOfUsbDevice() {
  return keyboard().plugEvents.front().datagram;
}

/** That of an input device: it lists the keys that there are. */
std::string longestAdd() {
  const std::vector<sim::RecordedEvent>& events = keyboard().plugEvents;
  return std::max_element(events.begin(), events.end(), isShorter)->datagram;
}

void parseAndLookUp(benchmark::State& state, const std::string& datagram) {
  state.SetLabel(std::to_string(datagram.size()) + " bytes long");
  const bench::AllocationCounters allocations(state);
  while (state.KeepRunning()) {
    const UEvent event = parseUEvent(datagram);
    benchmark::DoNotOptimize(event.find("ACTION"));
    benchmark::DoNotOptimize(event.find("DEVPATH"));
  }
}

BENCHMARK_CAPTURE(parseAndLookUp, shortRemove, shortRemove());
BENCHMARK_CAPTURE(parseAndLookUp, addOfUsbDevice, addOfUsbDevice());
BENCHMARK_CAPTURE(parseAndLookUp, longestAdd, longestAdd());

}  // namespace
