#include "unit/examples/usbip/receiver/usbip_host.h"

#include <cerrno>
#include <filesystem>
#include <string_view>

#include "sim/files.h"
#include "unit/examples/usbip/receiver/library_calls.h"

namespace {

namespace fs = std::filesystem;

const std::string bus = "/sys/bus/usb/";
const std::string busId = "1-2";

}  // namespace

UsbipHost::UsbipHost()
    : kernel_(library::write, [this](int descriptor, const void* bytes, std::size_t length) {
        return write(descriptor, bytes, length);
      }) {
  for (const char* name : {"drivers/usb/unbind", "drivers/usbip-host/unbind", "drivers/usbip-host/bind",
                           "drivers/usbip-host/match_busid", "drivers_probe"}) {
    sim::writeFile(bus + name, "");
  }
  giveTo("usb");
}

std::string UsbipHost::driver() const {
  std::error_code none;
  return fs::read_symlink(device_.pathTo("driver"), none).filename();
}

void UsbipHost::giveTo(const std::string& driver) {
  for (const char* name : {"driver", "usbip_status", "usbip_sockfd"}) {
    device_.remove(name);
  }
  if (!driver.empty()) {
    fs::create_symlink(bus + "drivers/" + driver, device_.pathTo("driver"));
  }
  if (driver == "usbip-host") {
    device_.write("usbip_status", "1\n");
    device_.write("usbip_sockfd", "");
  }
}

void UsbipHost::leaveExported() {
  giveTo("usbip-host");
  device_.write("usbip_status", "2\n");
  inTable_ = Entry::bound;
}

void UsbipHost::replaceDevice() {
  fs::rename(device_.directory(), device_.directory() + "-gone");
  device_ = DeviceFiles(device_.directory());
  giveTo("usb");
}

void UsbipHost::leaveAdded() {
  giveTo("");
  inTable_ = Entry::added;
}

ssize_t UsbipHost::write(int descriptor, const void* bytes, std::size_t length) {
  const std::string path = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
  if (!path.starts_with("/sys/")) {
    return library::write.real(descriptor, bytes, length);
  }
  const std::string attribute =
      path.starts_with(bus) ? path.substr(bus.size()) : path.substr(device_.directory().size() + 1);
  const std::string text(static_cast<const char*>(bytes), length);
  if (const auto event = events_.find(attribute); event != events_.end()) {
    event->second();
  }
  writes_.push_back(attribute + ": " + text);
  if (const auto failure = failures_.find(attribute); failure != failures_.end()) {
    errno = failure->second;
    return -1;
  }
  if (!fs::exists(device_.directory()) || !take(attribute, text)) {
    errno = ENODEV;
    return -1;
  }
  return static_cast<ssize_t>(length);
}

bool UsbipHost::take(const std::string& attribute, const std::string& text) {
  if (attribute == "drivers/usbip-host/match_busid") {
    return changeTable(text);
  }
  if (attribute == "drivers/usbip-host/bind") {
    return bind(text);
  }
  if (attribute == "drivers_probe") {
    return probe(text);
  }
  if (attribute == "usbip_sockfd") {
    device_.write("usbip_status", "2\n");
    return true;
  }
  return attribute.ends_with("/unbind") && unbind(fs::path(attribute).parent_path().filename(), text);
}

bool UsbipHost::changeTable(const std::string& text) {
  if (text == "add " + busId) {
    inTable_ = inTable_ == Entry::none ? Entry::added : inTable_;
    return true;
  }
  if (text == "del " + busId && inTable_ != Entry::none) {
    inTable_ = inTable_ == Entry::added ? Entry::added : Entry::removed;
    return true;
  }
  return false;
}

bool UsbipHost::bind(const std::string& text) {
  if (text != busId || inTable_ != Entry::added || !driver().empty()) {
    return false;
  }
  inTable_ = Entry::bound;
  giveTo("usbip-host");
  return true;
}

bool UsbipHost::unbind(const std::string& from, const std::string& text) {
  if (text != busId || driver() != from) {
    return false;
  }
  if (from == "usbip-host") {
    inTable_ = inTable_ == Entry::bound ? Entry::added : inTable_;
  }
  giveTo("");
  return true;
}

bool UsbipHost::probe(const std::string& text) {
  if (text == busId && driver().empty()) {
    giveTo("usb");
  }
  return text == busId;
}
