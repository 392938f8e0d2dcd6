#include "hotplug/device_attributes.h"

#include <cstdlib>

#include "ulx/exceptions.h"

unsigned long hexadecimalAtStart(const std::string& text) {
  constexpr int base = 16;
  return std::strtoul(text.c_str(), nullptr, base);
}

std::optional<std::string> DeviceAttributes::find(const std::string& name) const {
  return has(name) ? std::optional(content(name)) : std::nullopt;
}

DescriptorBytes DeviceAttributes::descriptors() const {
  if (!descriptors_) {
    descriptors_ = content("descriptors");
  }
  return descriptorBytes(*descriptors_);
}

std::string DeviceAttributes::text(const std::string& name) const {
  std::string text = content(name);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

unsigned long DeviceAttributes::hexadecimal(const std::string& name) const {
  return hexadecimalAtStart(text(name));
}

// It looks first, in a call of its own: a look that fails ends the daemon in its own words where nobody catches it.
std::string DeviceAttributes::textOr(const std::string& name, const std::string& fallback) const {
  if (!has(name)) {
    return fallback;
  }
  try {
    return text(name);
  } catch (const ulx::NoSuchFileOrDirectory&) {
    return fallback;  // unplugged since
  } catch (const ulx::NoSuchDevice&) {
    return fallback;  // unplugged while being read
  }
}

std::string DeviceAttributes::name() const {
  return textOr("product", unnamedDevice);
}

bool DeviceAttributes::isHighSpeed() const {
  return text("speed") == "480";
}
