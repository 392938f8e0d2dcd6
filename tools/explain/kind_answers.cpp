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

constexpr const char* givenUp = "the daemon gives it up before";

constexpr const char* hubKind = "hub";

// A kind of devices whose nodes have workers of their own.
struct ServedKind {
  const char* kind;
  std::uint32_t deviceClass;
  bool (*test)(DescriptorBytes descriptors);
  std::string (*why)(DescriptorBytes descriptors, bool fits);
};

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

// Whether the daemon comes to ask these questions: not where it ignores the device, or cannot see what it is.
bool isUsbDevice(const DeviceAttributes& device) {
  try {
    const DeviceKind kind = classifyAsItIs(noClasses, device);
    return kind == DeviceKind::hub || kind == DeviceKind::generic;
  } catch (...) {
    return false;
  }
}

KindAnswer answerHub(const DeviceAttributes& device) {
  const unsigned long deviceClass = device.hexadecimal("bDeviceClass");
  return {.kind = hubKind,
          .whyNotAsked = {},
          .fits = deviceClass == hubClass,
          .hasFailed = false,
          .reason = "the device class is " + deviceClassWords(static_cast<std::uint8_t>(deviceClass))};
}

// The word that enables a class, and no other.
std::string classOption(std::uint32_t deviceClass) {
  const auto* known = std::ranges::find(classWords, deviceClass, &ClassWord::classes);
  return known == classWords.end() ? "--class" : "--class=" + std::string(known->word);
}

std::string whyClassIsNotAsked(const ServedKind& served, std::uint32_t classes) {
  return enablesClass(classes, served.deviceClass) ? ""
                                                   : "not asked without " + classOption(served.deviceClass);
}

// `whyNotAsked`: why the daemon does not come to this question; empty where it does.
KindAnswer answerServed(const ServedKind& served, const std::string& whyNotAsked, std::uint32_t classes,
                        const DeviceAttributes& device) {
  KindAnswer answer{.kind = served.kind,
                    .whyNotAsked = whyNotAsked.empty() ? whyClassIsNotAsked(served, classes) : whyNotAsked,
                    .fits = false,
                    .hasFailed = false,
                    .reason = {}};
  try {
    const DescriptorBytes descriptors = device.descriptors();
    answer.fits = served.test(descriptors);
    answer.reason = served.why(descriptors, answer.fits);
  } catch (...) {
    answer.hasFailed = true;
    answer.reason = "its descriptors cannot be tested: " + failureText();
  }
  return answer;
}

// What would be no answer, since the daemon does not come to the question.
KindAnswer unanswered(const char* kind) {
  return {.kind = kind, .whyNotAsked = givenUp, .fits = false, .hasFailed = false, .reason = {}};
}

// Why the kinds behind this answer are not asked for; empty where they are.
std::string whyLast(const KindAnswer& answer, const char* noun) {
  if (!answer.isAsked()) {
    return {};
  }
  if (answer.hasFailed) {
    return givenUp;
  }
  return answer.fits ? "it is " + std::string(noun) + " already" : "";
}

}  // namespace

std::string kindWord(std::optional<DeviceKind> kind) {
  if (!kind) {
    return {};
  }
  switch (*kind) {
    case DeviceKind::hub:
      return hubKind;
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

std::vector<KindAnswer> answerKinds(std::uint32_t classes, const DeviceAttributes& device) {
  if (!isUsbDevice(device)) {
    return {unanswered(hubKind), unanswered(keyboards.kind), unanswered(disks.kind)};
  }
  const KindAnswer hub = answerHub(device);
  const std::string isHub = whyLast(hub, "a hub");
  const KindAnswer keyboard = answerServed(keyboards, isHub, classes, device);
  const std::string isDecided = isHub.empty() ? whyLast(keyboard, "a keyboard") : isHub;
  const bool isGivenUp = isDecided == givenUp;
  return {hub, keyboard,
          isGivenUp ? unanswered(disks.kind) : answerServed(disks, isDecided, classes, device)};
}

}  // namespace explain
