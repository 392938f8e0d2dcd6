#include "tools/explain/bare_descriptors.h"

#include <cerrno>
#include <map>
#include <utility>

#include "hotplug/usb_descriptors.h"
#include "tools/explain/descriptor_listing.h"
#include "tools/explain/usb_words.h"
#include "tools/explain/worker_lines.h"
#include "ulx/exceptions.h"

namespace explain {

namespace {

// What a kernel would show of it. There is no "product": that text is no part of the descriptors.
class DescribedDevice : public DeviceAttributes {
 public:
  DescribedDevice(std::string path, const std::string& descriptors, const std::string& speed)
      : DeviceAttributes(std::move(path)) {
    contents_["uevent"] = "DEVTYPE=usb_device\n";
    contents_["descriptors"] = descriptors;
    contents_["speed"] = speed + "\n";
    if (descriptors.size() > bDeviceClass) {
      contents_["bDeviceClass"] = explain::hexadecimal(descriptorBytes(descriptors)[bDeviceClass]) + "\n";
    }
  }

  [[nodiscard]] std::string subsystem() const override { return "usb"; }

  [[nodiscard]] bool has(const std::string& name) const override { return contents_.contains(name); }

  [[nodiscard]] std::string content(const std::string& name) const override {
    const auto found = contents_.find(name);
    if (found == contents_.end()) {
      errno = ENOENT;
      ulx::throwErrno({"open(\"", path(), "/", name, "\")"}, ENOENT);
    }
    return found->second;
  }

 private:
  std::map<std::string, std::string> contents_;
};

}  // namespace

BareDescriptors::BareDescriptors(std::string descriptors, std::string speed)
    : descriptors_(std::move(descriptors)), speed_(std::move(speed)) {}

std::unique_ptr<DeviceAttributes> BareDescriptors::attributes(const std::string& path) const {
  const std::string speed = speed_.empty() ? inferredSpeed(listDescriptors(descriptors_)) : speed_;
  return std::make_unique<DescribedDevice>(path, descriptors_, speed);
}

std::vector<std::string> BareDescriptors::nodes(const std::string& /*device*/) const {
  return {};
}

std::string BareDescriptors::whyNodesAreHidden(const std::string& /*device*/) const {
  return "descriptors do not show";
}

std::string BareDescriptors::whySpeedIsUnknown(const std::string& device) const {
  return attributes(device)->text("speed").empty()
             ? "the descriptors do not say whether it is a high-speed device: give --device-speed"
             : "";
}

DeviceKind BareDescriptors::kindOf(std::uint32_t classes, const DeviceAttributes& device) const {
  return classifyAsItIs(classes, device);
}

std::string BareDescriptors::workerPath(const std::string& /*path*/) const {
  return unknownDirectory;
}

}  // namespace explain
