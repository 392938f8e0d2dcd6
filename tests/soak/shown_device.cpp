#include "soak/shown_device.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "sim/contract.h"
#include "sim/files.h"

namespace soak {

namespace {

namespace fs = std::filesystem;
namespace display = contract::display;

constexpr std::size_t deviceDescriptorSize = 18;
constexpr std::uint8_t interfaceType = 4;
constexpr std::uint8_t endpointType = 5;

using Bytes = std::vector<std::uint8_t>;

Bytes descriptorsOf(const std::string& directory) {
  if (!fs::exists(directory + "/descriptors")) {
    throw Unreadable();
  }
  const std::string content = sim::readFile(directory + "/descriptors");
  return {content.begin(), content.end()};
}

/** The descriptors of a type from `at`, each to the end of all; the walk ends where one lacks `lastField`. */
std::vector<Bytes> walk(const Bytes& all, std::size_t at, std::uint8_t type, std::size_t lastField) {
  std::vector<Bytes> found;
  while (at + 1 < all.size() && all[at] != 0) {
    if (all[at + 1] == type) {
      if (at + lastField >= all.size()) {
        break;
      }
      found.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(at), all.end());
    }
    at += all[at];
  }
  return found;
}

/** What both tests of a class begin with: false where the device's class says no. */
bool leavesClassToInterfaces(const Bytes& all) {
  if (all.size() < deviceDescriptorSize || all[1] != 1) {
    throw Unreadable();
  }
  return all[4] == 0;
}

bool anyInterface(const std::string& directory, const std::function<bool(unsigned)>& hasClass) {
  return std::ranges::any_of(walk(descriptorsOf(directory), 0, interfaceType, 5),
                             [&](const Bytes& interface) { return hasClass(interface[5]); });
}

bool anyIsochronous(const std::string& directory) {
  return std::ranges::any_of(walk(descriptorsOf(directory), 0, endpointType, 3),
                             [](const Bytes& endpoint) { return endpoint[3] % 4 == 1; });
}

Admission refusal(Admission admission, std::string message) {
  admission.admitted = false;
  admission.message = std::move(message);
  return admission;
}

}  // namespace

std::optional<std::string> attribute(const std::string& directory, const std::string& name) {
  const std::string path = directory + "/" + name;
  if (!fs::exists(path)) {
    return std::nullopt;
  }
  std::string text = sim::readFile(path);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

std::string neededAttribute(const std::string& directory, const std::string& name) {
  const std::optional<std::string> text = attribute(directory, name);
  if (!text) {
    throw Unreadable();
  }
  return *text;
}

std::string nameOf(const std::string& directory) {
  return attribute(directory, "product").value_or(display::unnamedDevice);
}

std::string subsystemOf(const std::string& directory) {
  const std::string link = directory + "/subsystem";
  return fs::is_symlink(link) ? fs::read_symlink(link).filename().string() : "";
}

bool showsKeyboard(const std::string& directory) {
  const Bytes all = descriptorsOf(directory);
  bool only = leavesClassToInterfaces(all);
  for (const Bytes& interface : walk(all, deviceDescriptorSize, interfaceType, 7)) {
    only = only && interface[5] == 3 && interface[7] == 1;
  }
  return only;
}

bool showsDisk(const std::string& directory) {
  const Bytes all = descriptorsOf(directory);
  bool only = leavesClassToInterfaces(all) && all[17] == 1;
  const std::vector<Bytes> interfaces = walk(all, deviceDescriptorSize, interfaceType, 7);
  for (const Bytes& interface : interfaces) {
    only = only && interface[5] == 8 && (interface[6] == 6 || interface[6] == 2) && interface[7] == 0x50;
  }
  return only && interfaces.size() == 1;
}

Admission admissionOf(const std::string& directory, const Configuration& policy,
                      const std::string& linkSpeed) {
  Admission result;
  try {
    if (policy.smartcard && anyInterface(directory, [](unsigned c) { return c == 0x0b; })) {
      return refusal(result, display::smartcard(nameOf(directory)));
    }
    if (policy.hidOnly && anyInterface(directory, [](unsigned c) { return c != 3; })) {
      return refusal(result, display::nonHid(nameOf(directory)));
    }
    if (policy.blockMassStorage && anyInterface(directory, [](unsigned c) { return c == 8; })) {
      return refusal(result, display::massStorage(nameOf(directory)));
    }
    if (!policy.isochronousEnabled) {
      result.hasIsochronous = anyIsochronous(directory);
      result.looksForIsochronous = true;
      result.admitted = !result.hasIsochronous;
    }
    if (result.hasIsochronous && policy.isochronousUserWarning) {
      return refusal(result, display::isochronous(nameOf(directory)));
    }
    if (linkSpeed == "full" && neededAttribute(directory, "speed") == "480") {
      return refusal(result, display::highSpeed(nameOf(directory)));
    }
  } catch (const Unreadable&) {
    result.unreadable = true;
  }
  return result;
}

}  // namespace soak
