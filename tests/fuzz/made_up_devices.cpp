#include "fuzz/made_up_devices.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "fuzz/check.h"

namespace fuzz {

namespace {

namespace fs = std::filesystem;

std::string pathOf(const Attribute& attribute) {
  return std::string(attribute.directory) + "/" + attribute.name;
}

bool isLink(const Attribute& attribute) {
  return std::string_view(attribute.name) == "subsystem";
}

// A link's text has no NUL, and is not empty.
bool makeLink(const std::string& path, const std::string& text) {
  return symlink(text.c_str(), path.c_str()) == 0;
}

bool makeFile(const std::string& path, const std::string& content) {
  const int fd = open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
  check(fd != -1 && ::write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
        "an attribute can be written");
  close(fd);
  return true;
}

}  // namespace

MadeUpDevices::MadeUpDevices() {
  for (const char* directory : {usbDevice, hidNode, scsiUnit, scsiNode, "/sys/bus/usb/devices"}) {
    fs::create_directories(directory);
  }
  fs::create_directory_symlink("../../../devices/usb1/1-1", "/sys/bus/usb/devices/1-1");
  fs::create_directory_symlink("../../../1-1:1.0", std::string(hidNode) + "/device");
  fs::create_directory_symlink("../../../0:0:0:0", std::string(scsiNode) + "/device");
}

void MadeUpDevices::write(const Attribute& attribute, const std::string& content) {
  remove(attribute);
  const std::string path = pathOf(attribute);
  if (isLink(attribute) ? makeLink(path, content) : makeFile(path, content)) {
    present_.insert(path);
  }
}

void MadeUpDevices::makeUnreadable(const Attribute& attribute) {
  remove(attribute);
  fs::create_directory(pathOf(attribute));
  present_.insert(pathOf(attribute));
}

void MadeUpDevices::remove(const Attribute& attribute) {
  if (present_.erase(pathOf(attribute)) > 0) {
    std::remove(pathOf(attribute).c_str());
  }
}

void MadeUpDevices::removeAll() {
  for (const std::string& path : present_) {
    std::remove(path.c_str());
  }
  present_.clear();
}

}  // namespace fuzz
