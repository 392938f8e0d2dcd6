#pragma once

#include <optional>
#include <string>
#include <utility>

#include "hotplug/usb_descriptors.h"

/** What a device without a text of its own is called. */
inline constexpr const char* unnamedDevice = "un-named device";

/** The hexadecimal number at the start of `text`, or 0. Blanks and "0x" may precede it. */
unsigned long hexadecimalAtStart(const std::string& text);

/**
 * What sysfs shows of a device or of one of its nodes. Decisions are made over this, so that they can also be
 * made about a device that was recorded elsewhere. Each call throws what keeps the attribute from being read.
 */
class DeviceAttributes {
 public:
  /** `path`: the physical directory, "/sys/devices/...". */
  explicit DeviceAttributes(std::string path) : path_(std::move(path)) {}
  DeviceAttributes(const DeviceAttributes&) = delete;
  DeviceAttributes& operator=(const DeviceAttributes&) = delete;
  virtual ~DeviceAttributes() = default;

  [[nodiscard]] const std::string& path() const { return path_; }

  /** The name of its subsystem; empty where it belongs to none. */
  [[nodiscard]] virtual std::string subsystem() const = 0;
  /** Whether the attribute is there now. */
  [[nodiscard]] virtual bool has(const std::string& name) const = 0;
  /** The content of the attribute as it is: for binary ones. */
  [[nodiscard]] virtual std::string content(const std::string& name) const = 0;
  /** The same, or nothing where there is no such attribute. */
  [[nodiscard]] virtual std::optional<std::string> find(const std::string& name) const;

  /** The USB descriptors of the device. They are read once, so all tests and rules see the same, and live as long as the object. */
  [[nodiscard]] DescriptorBytes descriptors() const;

  /** The content less one newline at its end. */
  [[nodiscard]] std::string text(const std::string& name) const;
  /** The hexadecimal number at the start of the text. */
  [[nodiscard]] unsigned long hexadecimal(const std::string& name) const;
  /** The text, or `fallback` when there is no such attribute, also when it goes while it is read. */
  [[nodiscard]] std::string textOr(const std::string& name, const std::string& fallback) const;

  /** The name under which a user knows the device: its "product" attribute, or `unnamedDevice`. */
  [[nodiscard]] std::string name() const;
  /** Whether the "speed" attribute says high speed, 480 Mbit/s. */
  [[nodiscard]] bool isHighSpeed() const;

 private:
  std::string path_;
  mutable std::optional<std::string> descriptors_;
};
