#include "examples/usbip/receiver/exported_device.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <string>
#include <string_view>

#include "examples/usbip/exchange/failure_line.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/path.h"

namespace usbip {
namespace {

constexpr const char* usbipHost = "usbip-host";
const std::string usbipHostFolder = "/sys/bus/usb/drivers/usbip-host";

// An attribute takes one write.
void writeTo(const std::string& attribute, const std::string& text) {
  ulx::FileDescriptor(attribute, O_WRONLY).writeAll(text.data(), text.size());
}

// The name of the driver that has the device; empty when none has.
std::string driverOf(const UsbDevice& device) {
  const std::string link = device.directory() + "/driver";
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  if (length == -1) {
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) {
      return {};
    }
    ulx::throwErrno({"readlink(", link, ")"}, error);
  }
  const std::string_view path(target.data(), static_cast<std::size_t>(length));
  return std::string(path.substr(path.rfind('/') + 1));
}

// The driver binds only devices whose bus ids stand in a table of its own. They stay there for the next device at the same
// port, which it does not get by itself: a bus id that is deleted while its device is bound is never bound again.
void enterInTable(const std::string& busId) {
  try {
    writeTo(usbipHostFolder + "/match_busid", "add " + busId);
  } catch (const ulx::ErrnoException& failure) {
    if (failure.errorNumber == ENOMEM) {
      throw ulx::StrException(
          "usbip-host has had devices at 16 ports, and takes none at a further one until it is loaded anew");
    }
    throw;
  }
}

void giveBack(const UsbDevice& device, const Log& log) {
  if (!device.isThere()) {
    return;
  }
  log.debug("giving " + device.busId() + " back to its own driver");
  if (driverOf(device) == usbipHost) {
    writeTo(usbipHostFolder + "/unbind", device.busId());
  }
  writeTo("/sys/bus/usb/drivers_probe", device.busId());
}

// For destructors: there is nobody to throw to.
void giveBackOrLog(const UsbDevice& device, const Log& log) {
  try {
    giveBack(device, log);
  } catch (const ulx::NoSuchDevice&) {
    log.debug(device.busId() + " has gone, and needs no driver");
  } catch (const ulx::Exception& error) {
    log.error(device.busId() + " is not given back: " + failureLine(error));
  }
}

}  // namespace

void requireUsbipHost() {
  if (!ulx::pathExists(usbipHostFolder)) {
    throw ulx::StrException("the kernel's driver usbip-host is not loaded: modprobe usbip-host");
  }
}

LeftDevice::LeftDevice(const UsbDevice& device, const Log& log)
    : device_(device), log_(log), isLeft_(driverOf(device) == usbipHost) {}

LeftDevice::~LeftDevice() {
  if (isLeft_) {
    giveBackOrLog(device_, log_);
  }
}

ExportedDevice::ExportedDevice(const UsbDevice& device, const Log& log, StillItsDrivers /*state*/)
    : device_(device), log_(log) {}

// The delegated constructor has run when something fails: the destructor gives back what had been taken by then.
ExportedDevice::ExportedDevice(const UsbDevice& device, const Log& log)
    : ExportedDevice(device, log, StillItsDrivers{}) {
  take();
}

ExportedDevice::~ExportedDevice() {
  giveBackOrLog(device_, log_);
}

void ExportedDevice::take() const {
  enterInTable(device_.busId());
  const std::string driver = driverOf(device_);
  if (!driver.empty()) {
    log_.debug("taking " + device_.busId() + " from the driver " + driver);
    writeTo(device_.directory() + "/driver/unbind", device_.busId());
  }
  writeTo(usbipHostFolder + "/bind", device_.busId());
}

void ExportedDevice::handOver(int socket) const {
  writeTo(device_.directory() + "/usbip_sockfd", std::to_string(socket));
}

std::optional<ExportStatus> ExportedDevice::status() const {
  const std::optional<std::string> text =
      ulx::FileDescriptor::contentOf(device_.directory() + "/usbip_status");
  if (!text) {
    return {};
  }
  return text->starts_with('1')   ? ExportStatus::available
         : text->starts_with('2') ? ExportStatus::used
                                  : ExportStatus::failed;
}

}  // namespace usbip
