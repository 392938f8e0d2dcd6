#include "hotplug/sysfs.h"

#include <fcntl.h>

#include <cstdlib>
#include <string_view>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/path.h"

std::string readBinaryAttribute(const std::string& dir, const std::string& name) {
  return ulx::FileDescriptor(dir + "/" + name, O_RDONLY).readAll();
}

std::string readAttribute(const std::string& dir, const std::string& name) {
  std::string text = readBinaryAttribute(dir, name);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

unsigned long readHexAttribute(const std::string& dir, const std::string& name) {
  constexpr int hexadecimal = 16;
  return std::strtoul(readAttribute(dir, name).c_str(), nullptr, hexadecimal);
}

std::string readAttributeOr(const std::string& dir, const std::string& name, const std::string& fallback) {
  if (!ulx::pathExists(dir + "/" + name)) {
    return fallback;
  }
  try {
    return readAttribute(dir, name);
  } catch (const ulx::NoSuchFileOrDirectory&) {
    return fallback;  // unplugged since
  } catch (const ulx::NoSuchDevice&) {
    return fallback;  // unplugged while being read
  }
}

std::string readDeviceName(const std::string& devicePath) {
  return readAttributeOr(devicePath, "product", unnamedDevice);
}

bool isHighSpeedDevice(const std::string& devicePath) {
  return readAttribute(devicePath, "speed") == "480";
}

bool isHiddevPath(const std::string& path) {
  // npos + 1 is 0: a path without "/" is its own last component.
  return std::string_view(path).substr(path.rfind('/') + 1).starts_with("hiddev");
}
