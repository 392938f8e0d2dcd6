// What it takes to judge a device: the rules alone, and with what they read of a simulated sysfs.

#include "workers/admission.h"

#include <memory>
#include <string>

#include "bench/parts/allocation_counters.h"
#include "bench/parts/recorded_device.h"
#include "hotplug/sysfs.h"
#include "sim/device_recording.h"
#include "sim/namespaces.h"
#include "sim/sysfs.h"

namespace {

/** A serial adapter, to which no rule objects, so that all of them are asked that are on. */
const sim::DeviceRecording& admittedDevice() {
  static const sim::DeviceRecording recording = sim::loadRecording("serial");
  return recording;
}

/** Only isochronous endpoints are looked for. */
constexpr AdmissionPolicy defaultPolicy{};

/** Smart cards, storage and isochronous endpoints are looked for. */
constexpr AdmissionPolicy strictPolicy{.blockMassStorage = true, .smartcard = true};

using DeviceMaker = std::unique_ptr<DeviceAttributes> (*)();

std::unique_ptr<DeviceAttributes> inMemory() {
  return std::make_unique<bench::RecordedDevice>(admittedDevice());
}

/** A sysfs for this process alone, with the device plugged in. */
struct UnitWithDevice {
  UnitWithDevice() { sysfs.layOut(admittedDevice()); }

  sim::Namespaces namespaces;
  sim::Sysfs sysfs;
};

std::unique_ptr<DeviceAttributes> inSysfs() {
  static const UnitWithDevice unit;
  return std::make_unique<SysfsDevice>(admittedDevice().directory);
}

void admit(benchmark::State& state, const AdmissionPolicy& policy, DeviceMaker makeDevice) {
  const std::unique_ptr<DeviceAttributes> device = makeDevice();
  const std::string linkSpeed = "high";
  if (judge(policy, linkSpeed, *device).verdict != Verdict::admitted) {
    state.SkipWithError("the device is refused: the later rules would not be measured");
    return;
  }
  const bench::AllocationCounters allocations(state);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(judge(policy, linkSpeed, *device));
  }
}

void admitByDefault(benchmark::State& state, DeviceMaker makeDevice) {
  admit(state, defaultPolicy, makeDevice);
}
BENCHMARK_CAPTURE(admitByDefault, inMemory, inMemory);
BENCHMARK_CAPTURE(admitByDefault, inSysfs, inSysfs);

void admitStrictly(benchmark::State& state, DeviceMaker makeDevice) {
  admit(state, strictPolicy, makeDevice);
}
BENCHMARK_CAPTURE(admitStrictly, inMemory, inMemory);
BENCHMARK_CAPTURE(admitStrictly, inSysfs, inSysfs);

}  // namespace
