#include "tools/recorder/plugged_device.h"

#include <filesystem>

#include "tools/recorder/error.h"
#include "tools/recorder/made_up_events.h"
#include "tools/recorder/sysfs_attribute.h"
#include "tools/recorder/sysfs_tree.h"

namespace recorder {

namespace {

void requireUsbDevice(const std::string& device) {
  if (!device.starts_with("/sys/devices/") || !readAttribute(device + "/bDeviceClass")) {
    throw Error("there is no USB device " + device);
  }
}

}  // namespace

DeviceRecording recordPluggedDevice(const std::string& device) {
  requireUsbDevice(device);
  DeviceRecording recording;
  recording.name = std::filesystem::path(device).filename();
  recording.directory = device;
  recording.product = attributeText(device + "/product");
  recording.speed = attributeText(device + "/speed");
  recording.description = descriptionByProduct(recording);
  recording.origin = "saved while it was plugged in; plug.txt and unplug.txt are made up from tree.txt";
  recording.tree = treeOf(device);
  requireUsbDevice(device);  // what goes while it is read leaves half a tree
  recording.plugEvents = madeUpPlugEvents(recording);
  recording.unplugEvents = madeUpUnplugEvents(recording);
  return recording;
}

std::string descriptionByProduct(const DeviceRecording& recording) {
  return recording.product.empty() ? "device without a product text" : recording.product;
}

}  // namespace recorder
