// The tests and rules that read a device's descriptors, against a second, plain reading of the same bytes.
//
// Input: a byte of switches (see `Case`), then the content of the "descriptors" file.

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/descriptors_input.h"
#include "fuzz/input.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "workers/admission.h"

namespace {

using fuzz::check;

constexpr const char* device = "/sim/device";
constexpr const char* productName = "Pen";

struct Case {
  AdmissionPolicy policy;
  bool isFullSpeedLink = false;
  bool isHighSpeedDevice = false;
  std::string descriptors;
};

Case readCase(fuzz::Input input) {
  const unsigned switches = input.byte();
  const auto isOn = [switches](unsigned bit) { return (switches & bit) != 0; };
  return {.policy = {.hidOnly = isOn(fuzz::hidOnlySwitch),
                     .blockMassStorage = isOn(fuzz::blockMassStorageSwitch),
                     .smartcard = isOn(fuzz::smartcardSwitch),
                     .isochronousEnabled = isOn(fuzz::isochronousEnabledSwitch),
                     .isochronousUserWarning = isOn(fuzz::isochronousUserWarningSwitch)},
          .isFullSpeedLink = isOn(fuzz::fullSpeedLinkSwitch),
          .isHighSpeedDevice = isOn(fuzz::highSpeedDeviceSwitch),
          .descriptors = input.rest()};
}

// The second reading. `bytes` are numbers from 0 to 255, and every place is checked against their count.
namespace plain {

using Bytes = std::vector<unsigned>;

Bytes bytesOf(const std::string& text, std::size_t from) {
  Bytes bytes;
  for (std::size_t i = from; i < text.size(); ++i) {
    bytes.push_back(static_cast<unsigned char>(text[i]));
  }
  return bytes;
}

/** Where descriptors of `type` stand that reach to the field `lastField`. */
std::vector<std::size_t> placesOf(const Bytes& bytes, unsigned type, std::size_t lastField) {
  std::vector<std::size_t> places;
  std::size_t at = 0;
  while (at + 1 < bytes.size() && bytes[at] != 0) {
    if (bytes[at + 1] == type && at + lastField < bytes.size()) {
      places.push_back(at);
    }
    at += bytes[at];
  }
  return places;
}

bool hasInterface(const Bytes& bytes, const std::function<bool(unsigned)>& isWanted) {
  for (const std::size_t at : placesOf(bytes, 4, 5)) {
    if (isWanted(bytes[at + 5])) {
      return true;
    }
  }
  return false;
}

bool hasIsochronousEndpoint(const Bytes& bytes) {
  for (const std::size_t at : placesOf(bytes, 5, 3)) {
    if (bytes[at + 3] % 4 == 1) {
      return true;
    }
  }
  return false;
}

bool isKeyboard(const Bytes& configurations) {
  for (const std::size_t at : placesOf(configurations, 4, 7)) {
    if (configurations[at + 5] != 3 || configurations[at + 7] != 1) {
      return false;
    }
  }
  return true;
}

bool isStorage(const Bytes& configurations) {
  const std::vector<std::size_t> places = placesOf(configurations, 4, 7);
  if (places.size() != 1) {
    return false;
  }
  const std::size_t at = places[0];
  const unsigned commands = configurations[at + 6];
  return configurations[at + 5] == 8 && (commands == 2 || commands == 6) && configurations[at + 7] == 0x50;
}

struct Opinion {
  Verdict verdict;
  std::string message;
};

Opinion refusal(const std::string& message) {
  return {Verdict::refused, message};
}

Opinion judge(const Case& c) {
  const Bytes bytes = bytesOf(c.descriptors, 0);
  const std::string name = productName;
  if (c.policy.smartcard && hasInterface(bytes, [](unsigned number) { return number == 11; })) {
    return refusal(name + "local smartcard security");
  }
  if (c.policy.hidOnly && hasInterface(bytes, [](unsigned number) { return number != 3; })) {
    return refusal(name + " is not supported because it has non-HID endpoints");
  }
  if (c.policy.blockMassStorage && hasInterface(bytes, [](unsigned number) { return number == 8; })) {
    return refusal(name + " configuration blocked due to mass storage capability");
  }
  const bool isIsochronous = !c.policy.isochronousEnabled && hasIsochronousEndpoint(bytes);
  if (isIsochronous && c.policy.isochronousUserWarning) {
    return refusal(name + " is not supported because it has isochronous endpoints");
  }
  if (c.isFullSpeedLink && c.isHighSpeedDevice) {
    return refusal("High speed " + name + " is not supported on a full speed only port");
  }
  return {isIsochronous ? Verdict::refusedSilently : Verdict::admitted, ""};
}

}  // namespace plain

enum class Answer { yes, no, endOfFile, notADevice };

Answer answerOf(const std::function<bool()>& test) {
  try {
    return test() ? Answer::yes : Answer::no;
  } catch (const ulx::FileDescriptor::EndOfFile&) {
    return Answer::endOfFile;
  } catch (const char* text) {
    check(text == std::string("Not a device descriptor"), "a bare text is that of a bad device descriptor");
    return Answer::notADevice;
  }
}

Answer expectedAnswer(const std::string& descriptors, bool ofDevice, bool ofConfigurations) {
  if (descriptors.size() < 18) {
    return Answer::endOfFile;
  }
  if (descriptors[1] != 1) {
    return Answer::notADevice;
  }
  return ofDevice && ofConfigurations ? Answer::yes : Answer::no;
}

void checkWalk(const std::string& descriptors, std::uint8_t type, std::size_t lastField) {
  std::vector<std::size_t> places;
  for (const DescriptorBytes found : DescriptorWalk(descriptorBytes(descriptors), type, lastField)) {
    places.push_back(descriptors.size() - found.size());
  }
  check(places == plain::placesOf(plain::bytesOf(descriptors, 0), type, lastField),
        "the walk finds the descriptors that a plain reading finds");
}

void checkKinds(const std::string& descriptors) {
  const plain::Bytes bytes = plain::bytesOf(descriptors, 0);
  const plain::Bytes configurations = plain::bytesOf(descriptors, 18);
  const bool isClassPerInterface = bytes.size() >= 18 && bytes[4] == 0;
  const bool hasOneConfiguration = bytes.size() >= 18 && bytes[17] == 1;
  check(answerOf([&descriptors] { return isKeyboardDescriptor(descriptorBytes(descriptors)); }) ==
            expectedAnswer(descriptors, isClassPerInterface, plain::isKeyboard(configurations)),
        "a keyboard is one in a plain reading, too");
  check(answerOf([&descriptors] { return isStorageDescriptor(descriptorBytes(descriptors)); }) ==
            expectedAnswer(descriptors, isClassPerInterface && hasOneConfiguration,
                           plain::isStorage(configurations)),
        "a disk is one in a plain reading, too");
}

void checkJudgement(const Case& c) {
  const Judgement judgement = judge(c.policy, c.isFullSpeedLink ? "full" : "high", SysfsDevice(device));
  const plain::Opinion expected = plain::judge(c);
  check(judgement.verdict == expected.verdict, "the verdict is that of a plain reading");
  check(judgement.message == expected.message, "the message is that of a plain reading");
}

// Files that stay; only their content changes.
class DeviceFile {
 public:
  explicit DeviceFile(const std::string& name)
      : fd_(open((std::string(device) + "/" + name).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644)) {}

  void write(const std::string& content) const {
    check(ftruncate(fd_, 0) == 0 &&
              pwrite(fd_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
          "the device's files can be written");
  }

 private:
  int fd_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  sim::writeFile(std::string(device) + "/product", std::string(productName) + "\n");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DeviceFile descriptorsFile("descriptors");
  static const DeviceFile speedFile("speed");
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  const Case c = readCase({data, size});
  checkWalk(c.descriptors, interfaceDescriptorType, bInterfaceClass);
  checkWalk(c.descriptors, interfaceDescriptorType, bInterfaceProtocol);
  checkWalk(c.descriptors, endpointDescriptorType, bmAttributes);
  descriptorsFile.write(c.descriptors);
  speedFile.write(c.isHighSpeedDevice ? "480\n" : "12\n");
  checkKinds(c.descriptors);
  checkJudgement(c);
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
