#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hotplug/device_attributes.h"

/** A device or a node in the sysfs of this machine. */
class SysfsDevice : public DeviceAttributes {
 public:
  using DeviceAttributes::DeviceAttributes;

  /** The last component of the "subsystem" link. Throws "readlink()". */
  [[nodiscard]] std::string subsystem() const override;
  [[nodiscard]] bool has(const std::string& name) const override;
  [[nodiscard]] std::string content(const std::string& name) const override;
  /** With one look. */
  [[nodiscard]] std::optional<std::string> find(const std::string& name) const override;

 private:
  [[nodiscard]] std::string pathTo(std::string_view name) const;
};

/*
 * The same for a single attribute, by the path of its directory. `dir` and `name` are joined with "/" as they
 * are. What cannot be opened, read or looked for throws the exception of the failed call.
 */

std::string readAttribute(const std::string& dir, const std::string& name);
unsigned long readHexAttribute(const std::string& dir, const std::string& name);
std::string readAttributeOr(const std::string& dir, const std::string& name, const std::string& fallback);
std::string readDeviceName(const std::string& devicePath);
bool isHighSpeedDevice(const std::string& devicePath);

/** Whether the last component of `path` begins with "hiddev": the node of a HID device. */
bool isHiddevPath(const std::string& path);
