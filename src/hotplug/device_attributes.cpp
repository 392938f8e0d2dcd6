#include "hotplug/device_attributes.h"

#include <cstdlib>

#include "ulx/exceptions.h"

std::string DeviceAttributes::text(const std::string& name) const {
  std::string text = content(name);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

unsigned long DeviceAttributes::hexadecimal(const std::string& name) const {
  constexpr int base = 16;
  return std::strtoul(text(name).c_str(), nullptr, base);
}

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
