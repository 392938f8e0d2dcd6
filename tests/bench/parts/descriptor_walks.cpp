// What it takes to look through the descriptors of a device, for one recorded device and for all of them.

#include <cstddef>
#include <string>
#include <vector>

#include "bench/parts/allocation_counters.h"
#include "bench/parts/recorded_device.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/usb_descriptors.h"
#include "sim/device_recording.h"

namespace {

constexpr const char* everyDevice = "";

std::vector<std::string> descriptorsOf(const std::string& deviceName) {
  std::vector<std::string> found;
  for (const std::string& name : sim::recordingNames()) {
    const bench::RecordedDevice device(sim::loadRecording(name));
    if ((deviceName == everyDevice || deviceName == name) && device.has("descriptors")) {
      found.push_back(device.content("descriptors"));
    }
  }
  return found;
}

std::size_t endpointsOf(DescriptorBytes descriptors) {
  std::size_t count = 0;
  for (const DescriptorBytes endpoint : DescriptorWalk(descriptors, endpointDescriptorType, bmAttributes)) {
    benchmark::DoNotOptimize(endpoint[bmAttributes]);
    ++count;
  }
  return count;
}

/** Time and allocations are those of an iteration, which asks each of the devices once. */
template <typename Answer>
void ask(benchmark::State& state, Answer (*question)(DescriptorBytes), const char* deviceName) {
  const std::vector<std::string> devices = descriptorsOf(deviceName);
  state.counters["devices"] = static_cast<double>(devices.size());
  const bench::AllocationCounters allocations(state);
  while (state.KeepRunning()) {
    for (const std::string& descriptors : devices) {
      benchmark::DoNotOptimize(question(descriptorBytes(descriptors)));
    }
  }
}

void isKeyboard(benchmark::State& state, const char* deviceName) {
  ask(state, isKeyboardDescriptor, deviceName);
}
BENCHMARK_CAPTURE(isKeyboard, keyboard, "kbd-fs");
BENCHMARK_CAPTURE(isKeyboard, disk, "storage-hs");
BENCHMARK_CAPTURE(isKeyboard, everyDevice, everyDevice);

void isStorage(benchmark::State& state, const char* deviceName) {
  ask(state, isStorageDescriptor, deviceName);
}
BENCHMARK_CAPTURE(isStorage, keyboard, "kbd-fs");
BENCHMARK_CAPTURE(isStorage, disk, "storage-hs");
BENCHMARK_CAPTURE(isStorage, everyDevice, everyDevice);

void walkToEndpoints(benchmark::State& state, const char* deviceName) {
  ask(state, endpointsOf, deviceName);
}
BENCHMARK_CAPTURE(walkToEndpoints, keyboard, "kbd-fs");
BENCHMARK_CAPTURE(walkToEndpoints, headset, "audio");
BENCHMARK_CAPTURE(walkToEndpoints, everyDevice, everyDevice);

}  // namespace
