#include "tools/explain/kind_answers.h"

#include <algorithm>
#include <cstddef>

#include "ctrl/device_classes.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/usb_descriptors.h"
#include "tools/explain/descriptor_listing.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/usb_words.h"

namespace explain {

namespace {

// A kind of devices whose nodes have workers of their own.
struct ServedKind {
  const char* kind;
  std::uint32_t deviceClass;
  bool (*test)(DescriptorBytes descriptors);
  std::string (*why)(DescriptorBytes descriptors, bool fits);
};

DescriptorWalk interfacesOf(DescriptorBytes descriptors) {
  return {descriptors.subspan(UsbDeviceDescriptor::extent), interfaceDescriptorType, bInterfaceProtocol};
}

std::size_t countInterfaces(DescriptorBytes descriptors) {
  std::size_t count = 0;
  for ([[maybe_unused]] const DescriptorBytes interface : interfacesOf(descriptors)) {
    ++count;
  }
  return count;
}

// The first interface that is not of the kind, in words; empty where all are.
std::string otherInterface(DescriptorBytes descriptors, bool (*isOfKind)(DescriptorBytes interface)) {
  for (const DescriptorBytes bytes : interfacesOf(descriptors)) {
    if (!isOfKind(bytes)) {
      const Interface interface = readInterface(bytes, descriptors.size() - bytes.size());
      return interfaceWords(interface) + " is " + interfaceClassWords(interface);
    }
  }
  return {};
}

// Why the device descriptor alone excludes it; empty where it does not.
std::string otherDeviceClass(DescriptorBytes descriptors) {
  const std::uint8_t deviceClass = descriptors[bDeviceClass];
  return deviceClass == classPerInterface ? "" : "the device class is " + deviceClassWords(deviceClass);
}

std::string whyKeyboard(DescriptorBytes descriptors, bool fits) {
  if (fits) {
    return countInterfaces(descriptors) == 0 ? "no interface is anything else"
                                             : "every interface is a HID keyboard";
  }
  const std::string deviceClass = otherDeviceClass(descriptors);
  return deviceClass.empty() ? otherInterface(descriptors, isKeyboardInterface) : deviceClass;
}

std::string whyStorage(DescriptorBytes descriptors, bool fits) {
  if (fits) {
    return "its one interface is mass storage, bulk-only";
  }
  std::string deviceClass = otherDeviceClass(descriptors);
  if (!deviceClass.empty()) {
    return deviceClass;
  }
  const unsigned configurations = descriptors[bNumConfigurations];
  if (configurations != 1) {
    return "it has " + std::to_string(configurations) + " configurations, not one";
  }
  std::string interface = otherInterface(descriptors, isStorageInterface);
  if (!interface.empty()) {
    return interface;
  }
  const std::size_t interfaces = countInterfaces(descriptors);
  return interfaces == 0 ? "it has no interface"
                         : "it has " + std::to_string(interfaces) + " interface settings, not one";
}

constexpr ServedKind keyboards{"keyboard", keyboardClass, isKeyboardDescriptor, whyKeyboard};
constexpr ServedKind disks{"storage", storageClass, isStorageDescriptor, whyStorage};

KindAnswer answerHub(const DeviceAttributes& device, std::optional<DeviceKind> kind) {
  KindAnswer answer{.kind = "hub", .whyNotAsked = {}, .fits = false, .reason = {}};
  if (!device.has("bDeviceClass")) {
    answer.reason = "its device class is not known";
    return answer;
  }
  answer.fits = kind == DeviceKind::hub;
  const auto deviceClass = static_cast<std::uint8_t>(device.hexadecimal("bDeviceClass"));
  answer.reason = "the device class is " + deviceClassWords(deviceClass);
  return answer;
}

// The word that enables a class, and no other.
std::string classOption(std::uint32_t deviceClass) {
  const auto* known = std::ranges::find(classWords, deviceClass, &ClassWord::classes);
  return known == classWords.end() ? "--class" : "--class=" + std::string(known->word);
}

// `decided`: the earlier kind that the device is of, or empty.
std::string whyNotAsked(const ServedKind& served, const std::string& decided, std::uint32_t classes) {
  if (!decided.empty()) {
    return "it is " + decided + " already";
  }
  return enablesClass(classes, served.deviceClass) ? ""
                                                   : "not asked without " + classOption(served.deviceClass);
}

KindAnswer answerServed(const ServedKind& served, const std::string& decided, std::uint32_t classes,
                        const DeviceAttributes& device) {
  KindAnswer answer{
      .kind = served.kind, .whyNotAsked = whyNotAsked(served, decided, classes), .fits = false, .reason = {}};
  try {
    const std::string descriptors = device.content("descriptors");
    answer.fits = served.test(descriptorBytes(descriptors));
    answer.reason = served.why(descriptorBytes(descriptors), answer.fits);
  } catch (...) {
    answer.reason = "its descriptors cannot be tested: " + failureText();
  }
  return answer;
}

}  // namespace

std::string kindWord(std::optional<DeviceKind> kind) {
  if (!kind) {
    return {};
  }
  switch (*kind) {
    case DeviceKind::hub:
      return "hub";
    case DeviceKind::keyboard:
      return keyboards.kind;
    case DeviceKind::storage:
      return disks.kind;
    case DeviceKind::generic:
    case DeviceKind::unsupported:
      return "generic";
    case DeviceKind::scsiGeneric:
    case DeviceKind::hid:
    case DeviceKind::undetermined:
    case DeviceKind::ignored:
      break;
  }
  return {};
}

std::vector<KindAnswer> answerKinds(std::uint32_t classes, const DeviceAttributes& device,
                                    std::optional<DeviceKind> kind) {
  const std::string hub = kind == DeviceKind::hub ? "a hub" : "";
  const std::string hubOrKeyboard = kind == DeviceKind::keyboard ? "a keyboard" : hub;
  return {answerHub(device, kind), answerServed(keyboards, hub, classes, device),
          answerServed(disks, hubOrKeyboard, classes, device)};
}

}  // namespace explain
