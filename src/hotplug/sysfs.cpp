#include "hotplug/sysfs.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/path.h"

std::string SysfsDevice::subsystem() const {
  const std::string link = pathTo("subsystem");
  std::array<char, 128> buffer{};
  const ssize_t length = readlink(link.c_str(), buffer.data(), buffer.size());
  if (length == -1) {
    const int error = errno;
    if (error == ENOENT) {
      return {};
    }
    ulx::throwErrno("readlink()", error);
  }
  const std::string_view target(buffer.data(), static_cast<std::size_t>(length));
  return std::string(target.substr(target.rfind('/') + 1));
}

bool SysfsDevice::has(const std::string& name) const {
  return ulx::pathExists(pathTo(name));
}

std::string SysfsDevice::content(const std::string& name) const {
  return ulx::FileDescriptor(pathTo(name), O_RDONLY).readAll();
}

std::optional<std::string> SysfsDevice::find(const std::string& name) const {
  return ulx::FileDescriptor::contentOf(pathTo(name));
}

// Joined in one piece of memory.
std::string SysfsDevice::pathTo(std::string_view name) const {
  std::string joined;
  joined.reserve(path().size() + 1 + name.size());
  joined.append(path()).append("/").append(name);
  return joined;
}

std::string readAttribute(const std::string& dir, const std::string& name) {
  return SysfsDevice(dir).text(name);
}

unsigned long readHexAttribute(const std::string& dir, const std::string& name) {
  return SysfsDevice(dir).hexadecimal(name);
}

std::string readAttributeOr(const std::string& dir, const std::string& name, const std::string& fallback) {
  return SysfsDevice(dir).textOr(name, fallback);
}

std::string readDeviceName(const std::string& devicePath) {
  return SysfsDevice(devicePath).name();
}

bool isHighSpeedDevice(const std::string& devicePath) {
  return SysfsDevice(devicePath).isHighSpeed();
}

bool isHiddevPath(const std::string& path) {
  // npos + 1 is 0: a path without "/" is its own last component.
  return std::string_view(path).substr(path.rfind('/') + 1).starts_with("hiddev");
}
