#include "examples/usbip/receiver/exporting_kernel.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <utility>

#include "sim/error.h"
#include "sim/files.h"

namespace examples {
namespace {

namespace fs = std::filesystem;

const std::string bus = "/sys/bus/usb/";
const std::string usbUnbind = bus + "drivers/usb/unbind";
const std::string hostFolder = bus + "drivers/usbip-host";
const std::string probe = bus + "drivers_probe";

}  // namespace

void layOutDevice(const std::string& directory) {
  sim::writeFile(directory + "/bDeviceClass", "00\n");
  sim::writeFile(directory + "/busnum", "1\n");
  sim::writeFile(directory + "/devnum", "7\n");
  sim::writeFile(directory + "/speed", "480\n");
  sim::writeFile(directory + "/descriptors",
                 {"\x12\x01\x00\x02\x00\x00\x00\x40\x27\x06\x01\x00\x00\x00\x01\x02\x03\x01", 18});
}

ExportingKernel::ExportingKernel(std::string directory)
    : directory_(std::move(directory)), busId_(fs::path(directory_).filename()) {
  layOutDevice(directory_);
  for (const std::string& path : {usbUnbind, hostFolder + "/unbind", hostFolder + "/match_busid",
                                  hostFolder + "/bind", probe, directory_ + "/usbip_sockfd"}) {
    listenAt(path);
  }
  giveTo("usb");
}

void ExportingKernel::writeAttribute(const std::string& name, const std::string& content) const {
  sim::writeFile(directory_ + "/" + name, content);
}

void ExportingKernel::unloadUsbipHost() {
  fs::remove_all(hostFolder);
}

void ExportingKernel::refuseToBind() {
  fs::remove(hostFolder + "/bind");
}

std::string ExportingKernel::driver() const {
  std::error_code none;
  return fs::read_symlink(directory_ + "/driver", none).filename();
}

void ExportingKernel::giveTo(const std::string& driver) {
  for (const char* name : {"/driver", "/usbip_status"}) {
    fs::remove(directory_ + name);
  }
  if (!driver.empty()) {
    fs::create_symlink(bus + "drivers/" + driver, directory_ + "/driver");
  }
  if (driver == "usbip-host") {
    writeAttribute("usbip_status", "1\n");
  }
}

void ExportingKernel::waitForSocket() {
  sim::waitUntil("a socket for the kernel", {}, [this] { return socket_.isOpen(); });
}

std::string ExportingKernel::readSocket() const {
  std::array<char, 256> bytes{};
  const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  return {bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

void ExportingKernel::loseLink() {
  closeLink();
  writeAttribute("usbip_status", "1\n");
}

void ExportingKernel::plugOut() {
  closeLink();
  fs::remove_all(directory_);
}

void ExportingKernel::closeLink() {
  ::shutdown(socket_.get(), SHUT_RDWR);
  socket_.close();
}

void ExportingKernel::listenAt(const std::string& path) {
  fs::create_directories(fs::path(path).parent_path());
  if (::mkfifo(path.c_str(), 0600) != 0) {
    throw sim::systemError("mkfifo(" + path + ")");
  }
  sim::Descriptor fifo(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  const int number = fifo.get();
  attributes_[path] = {std::move(fifo), std::make_unique<sim::Background>(number, [this] { serve(); })};
}

std::string ExportingKernel::take(const std::string& path) const {
  const auto attribute = attributes_.find(path);
  if (attribute == attributes_.end()) {
    return {};
  }
  std::array<char, 256> bytes{};
  const ssize_t count = ::read(attribute->second.fifo.get(), bytes.data(), bytes.size());
  return {bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

void ExportingKernel::forgetAll() const {
  for (const auto& attribute : attributes_) {
    static_cast<void>(take(attribute.first));
  }
}

// A worker's writes are read with the last one first, and served in the order in which a worker makes them: what it wrote
// before one that is there is then there, too.
void ExportingKernel::serve() {
  if (!fs::exists(directory_)) {
    forgetAll();
    return;
  }
  const bool isProbed = take(probe) == busId_;
  const std::string socketNumber = take(directory_ + "/usbip_sockfd");
  const bool isBound = take(hostFolder + "/bind") == busId_;
  const bool isUnboundFromHost = take(hostFolder + "/unbind") == busId_;
  const bool isUnboundFromUsb = take(usbUnbind) == busId_;
  const bool isEntered = take(hostFolder + "/match_busid") == "add " + busId_;

  inTable_ = inTable_ || isEntered;
  if (isUnboundFromUsb || isUnboundFromHost) {
    closeLink();
    giveTo("");
  }
  if (isBound && inTable_ && driver().empty()) {
    giveTo("usbip-host");
  }
  if (!socketNumber.empty()) {
    socket_ = worker_.shareFile(std::stoi(socketNumber));
    writeAttribute("usbip_status", "2\n");
  }
  if (isProbed && driver().empty()) {
    giveTo("usb");
  }
}

}  // namespace examples
