#include "unit/tools/explain/described_device.h"

#include "sim/device_recording.h"
#include "sim/recording_views.h"
#include "tools/explain/recorded_tree.h"

explain::Device describedDevice(const std::string& descriptors) {
  return {.tree = std::make_shared<explain::BareDescriptors>(descriptors),
          .path = "/reports/device",
          .source = {}};
}

explain::Device recordedDevice(const std::string& name, bool hasClassUsb) {
  sim::DeviceRecording recording = sim::loadRecording(name);
  if (hasClassUsb) {
    recording = sim::withClassUsbHiddev(recording);
  }
  return {.tree = std::make_shared<explain::RecordedTree>(recording),
          .path = recording.directory,
          .source = name};
}

explain::Circumstances circumstancesWith(std::uint32_t classes) {
  explain::Circumstances circumstances;
  circumstances.configuration = "/vel/quor.conf";
  circumstances.classes = classes;
  circumstances.linkSpeed = "high";
  circumstances.link.interface = "eth1";
  return circumstances;
}
