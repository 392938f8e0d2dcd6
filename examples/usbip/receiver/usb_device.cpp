#include "examples/usbip/receiver/usb_device.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <string_view>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace usbip {
namespace {

std::string resolved(const std::string& directory) {
  std::array<char, PATH_MAX> path{};
  if (::realpath(directory.c_str(), path.data()) == nullptr) {
    ulx::throwErrno({"realpath(", directory, ")"}, errno);
  }
  return path.data();
}

ino_t inodeOf(const std::string& directory) {
  struct stat found {};
  if (::stat(directory.c_str(), &found) != 0) {
    ulx::throwErrno({"stat(", directory, ")"}, errno);
  }
  return found.st_ino;
}

std::string lastComponent(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string withoutLineEnd(std::string text) {
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

std::string attribute(const std::string& directory, const char* name) {
  return withoutLineEnd(ulx::FileDescriptor(directory + "/" + name, O_RDONLY).readAll());
}

std::uint32_t numberIn(const std::string& directory, const char* name) {
  const std::string text = attribute(directory, name);
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw ulx::StrException(directory + "/" + name + " has no number in it");
  }
  return number;
}

std::uint32_t numberOnBus(const std::string& directory) {
  const std::uint32_t number = numberIn(directory, "devnum");
  if (number == 0) {
    throw ulx::StrException("the kernel is resetting it");
  }
  return number;
}

// The words of sysfs, in Mbit/s.
Speed speedIn(const std::string& directory) {
  struct Word {
    std::string_view text;
    Speed speed;
  };
  static constexpr std::array words{Word{"1.5", Speed::low},         Word{"12", Speed::full},
                                    Word{"480", Speed::high},        Word{"5000", Speed::super},
                                    Word{"10000", Speed::superPlus}, Word{"20000", Speed::superPlus}};
  const std::string text = attribute(directory, "speed");
  const auto* known = std::ranges::find(words, text, &Word::text);
  if (known == words.end()) {
    throw ulx::StrException("its speed is not known: " + text);
  }
  return known->speed;
}

void expectNoHub(const std::string& directory) {
  if (attribute(directory, "bDeviceClass") == "09") {
    throw CannotBeExported(lastComponent(directory) + " is a hub, and hubs are not exported");
  }
}

// The kernel does not export what it has from another machine.
void expectOwn(const std::string& directory) {
  if (directory.find("/vhci_hcd") != std::string::npos) {
    throw CannotBeExported(lastComponent(directory) +
                           " comes from another machine, and is not exported again");
  }
}

Offer offerOf(const std::string& directory) {
  constexpr unsigned busShift = 16;
  Offer offer;
  offer.busId = lastComponent(directory);
  offer.devId = numberIn(directory, "busnum") << busShift | numberOnBus(directory);
  offer.speed = speedIn(directory);
  ulx::FileDescriptor(directory + "/descriptors", O_RDONLY).readDeviceDescriptor(offer.descriptor);
  return offer;
}

}  // namespace

UsbDevice::UsbDevice(const std::string& directory)
    : directory_(resolved(directory)), inode_(inodeOf(directory_)) {
  expectNoHub(directory_);
  expectOwn(directory_);
  offer_ = offerOf(directory_);
}

std::string UsbDevice::text() const {
  return busId() + " (" + productIdOf(offer_.descriptor) + ", " + std::string(nameOf(offer_.speed)) + ")";
}

// While the kernel resets a device, as it does after a lost link, its number is 0.
bool UsbDevice::isThere() const {
  struct stat found {};
  if (::stat(directory_.c_str(), &found) == 0) {
    return found.st_ino == inode_;
  }
  const int error = errno;
  if (error != ENOENT && error != ENOTDIR) {
    ulx::throwErrno({"stat(", directory_, ")"}, error);
  }
  return false;
}

}  // namespace usbip
