// What usb_rx_explain says about one device of any bytes: it is what the daemon's own functions decide.
//
// Input: see explain_input.h.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ctrl/device_classes.h"
#include "fuzz/check.h"
#include "fuzz/descriptors_input.h"
#include "fuzz/explain_input.h"
#include "fuzz/input.h"
#include "fuzz/made_up_devices.h"
#include "hotplug/classification.h"
#include "hotplug/sysfs.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "tools/explain/circumstances.h"
#include "tools/explain/device_source.h"
#include "tools/explain/explanation.h"
#include "tools/explain/json_output.h"
#include "tools/explain/request.h"
#include "tools/explain/text_output.h"
#include "workers/admission.h"
#include "workers/worker_arguments.h"

namespace {

using fuzz::check;
using nlohmann::json;
using Arguments = std::vector<std::string>;

constexpr const char* configuration = "/vel/quor.conf";

struct Case {
  AdmissionPolicy policy;
  std::uint32_t classes = noClasses;
  bool isFullSpeedLink = false;
  std::string speed;
  std::string deviceClass;
  std::optional<std::string> product;
  std::string descriptors;
};

Case readCase(fuzz::Input input) {
  const unsigned switches = input.byte();
  const unsigned more = input.byte();
  const auto isOn = [switches](unsigned bit) { return (switches & bit) != 0; };
  Case c{.policy = {.hidOnly = isOn(fuzz::hidOnlySwitch),
                    .blockMassStorage = isOn(fuzz::blockMassStorageSwitch),
                    .smartcard = isOn(fuzz::smartcardSwitch),
                    .isochronousEnabled = isOn(fuzz::isochronousEnabledSwitch),
                    .isochronousUserWarning = isOn(fuzz::isochronousUserWarningSwitch)},
         .isFullSpeedLink = isOn(fuzz::fullSpeedLinkSwitch),
         .speed = isOn(fuzz::highSpeedDeviceSwitch) ? "480\n" : "12\n",
         .deviceClass = input.text(),
         .product = input.text(),
         .descriptors = {}};
  c.classes |= (more & fuzz::explainKeyboardsSwitch) != 0 ? keyboardClass : noClasses;
  c.classes |= (more & fuzz::explainStorageSwitch) != 0 ? storageClass : noClasses;
  if ((more & fuzz::unnamedSwitch) != 0) {
    c.product.reset();
  }
  c.descriptors = input.rest();
  return c;
}

void write(fuzz::MadeUpDevices& devices, const char* name, const std::string& content) {
  const auto* attribute = std::ranges::find_if(fuzz::attributes, [name](const fuzz::Attribute& each) {
    return each.directory == std::string_view(fuzz::usbDevice) && each.name == std::string_view(name);
  });
  devices.write(*attribute, content);
}

std::string line(const char* key, bool value) {
  return std::string(key) + (value ? " = yes\n" : " = no\n");
}

/** Puts the device and the configuration into this fuzzer's own world. */
void make(fuzz::MadeUpDevices& devices, const Case& c) {
  devices.removeAll();
  write(devices, "subsystem", "../../../bus/usb");
  write(devices, "uevent", "DEVTYPE=usb_device\n");
  write(devices, "bDeviceClass", c.deviceClass);
  write(devices, "descriptors", c.descriptors);
  write(devices, "speed", c.speed);
  if (c.product) {
    write(devices, "product", *c.product);
  }
  sim::writeFile(configuration, "[usb]\n" + line("hid_only", c.policy.hidOnly) +
                                    line("block_mass_storage", c.policy.blockMassStorage) +
                                    line("smartcard", c.policy.smartcard) +
                                    line("isochronous_enabled", c.policy.isochronousEnabled) +
                                    line("isochronous_user_warning", c.policy.isochronousUserWarning));
}

std::string classList(std::uint32_t classes) {
  if (classes == noClasses) {
    return "--class=none";
  }
  return std::string("--class=") + (enablesClass(classes, keyboardClass) ? "keyboard" : "scsi") +
         (enablesClass(classes, keyboardClass) && enablesClass(classes, storageClass) ? ",scsi" : "");
}

struct Output {
  std::string json;
  std::string text;
};

/** Both forms of the answer, as the program makes them. */
Output outputFor(const Case& c) {
  Arguments arguments = {classList(c.classes), "--speed",   c.isFullSpeedLink ? "full" : "high",
                         "--transmitter",      "host:5000", fuzz::usbDevice};
  std::vector<char*> argv;
  std::ranges::transform(arguments, std::back_inserter(argv), [](std::string& each) { return each.data(); });
  const explain::Request request = explain::parseRequest(argv);
  const explain::Circumstances circumstances = explain::readCircumstances(request);
  std::vector<explain::Explanation> explanations;
  for (const explain::Device& device : explain::devicesNamed(request.devices.front())) {
    explanations.push_back(explain::explainDevice(device, circumstances));
  }
  return {.json = explain::jsonOf(explanations, circumstances),
          .text = explain::headingOf(circumstances) + explain::tableOf(explanations) +
                  explain::textOf(explanations.at(0))};
}

/** What the daemon's own functions decide of the device. */
struct Decision {
  std::optional<DeviceKind> kind;  ///< none where the daemon's test of it throws
  Judgement judgement;
};

std::optional<DeviceKind> kindOf(std::uint32_t classes) {
  try {
    return classify(classes, SysfsDevice(fuzz::usbDevice));
  } catch (...) {
    return std::nullopt;  // the daemon ignores the event, whatever was thrown
  }
}

Decision decide(const Case& c) {
  Decision decision{.kind = kindOf(c.classes), .judgement = {}};
  if (decision.kind == DeviceKind::generic) {
    decision.judgement = judge(c.policy, c.isFullSpeedLink ? "full" : "high", SysfsDevice(fuzz::usbDevice));
  }
  return decision;
}

json kindWord(const std::optional<DeviceKind>& kind) {
  if (!kind) {
    return nullptr;
  }
  switch (*kind) {
    case DeviceKind::hub:
      return "hub";
    case DeviceKind::keyboard:
      return "keyboard";
    case DeviceKind::storage:
      return "storage";
    case DeviceKind::generic:
      return "generic";
    default:
      return nullptr;
  }
}

/** Text as it is printed in JSON: what is not UTF-8 is replaced, so that only other text can be compared. */
bool isPlain(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

void checkDisplay(const json& object, const std::string& expected) {
  check(object.at("display").is_string(), "what the user reads is there");
  check(!isPlain(expected) || object.at("display") == expected, "the user reads what the daemon shows");
}

void checkServed(const json& object) {
  const TransmitterLink link{.interface = "eth1", .hostname = "host", .port = 5000};
  const GenericOptions options{.program = "usb_rx_generic",
                               .inkey = {},
                               .outkey = {},
                               .socketPath = defaultSocketPath,
                               .timeoutText = {}};
  check(object.at("verdict") == "served", "a generic device without an objection is served");
  check(object.at("worker") == json(genericArguments(WorkerLog::quiet, options, link, fuzz::usbDevice)),
        "the worker is started with the daemon's arguments");
  checkDisplay(object, SysfsDevice(fuzz::usbDevice).name() + " attached");
}

void checkRefused(const json& object, const Judgement& judgement) {
  check(object.at("verdict") == "refused", "what the policy refuses is refused");
  check(object.at("rule") == judgement.rule->name, "the rule that refuses is named");
  check(object.at("worker").is_null(), "what is refused has no worker");
  if (judgement.verdict == Verdict::refused) {
    checkDisplay(object, judgement.message);
  } else {
    check(object.at("display").is_null(), "a silent refusal shows nothing");
  }
}

void checkObject(const json& object, const Decision& decision) {
  check(object.at("device") == fuzz::usbDevice, "the device is named by its directory");
  check(object.at("kind") == kindWord(decision.kind), "the kind is the one that the daemon finds");
  if (decision.kind != DeviceKind::generic) {
    check(object.at("verdict") == "no worker",
          "only a node has the worker of a keyboard or disk, and a hub has none");
    check(object.at("worker").is_null() && object.at("display").is_null() && object.at("rule").is_null(),
          "where nothing is started nothing is shown, and the policy is not asked");
  } else if (decision.judgement.verdict == Verdict::admitted) {
    check(object.at("rule").is_null(), "no rule refuses what is admitted");
    checkServed(object);
  } else {
    checkRefused(object, decision.judgement);
  }
}

json parsed(const std::string& output) {
  check(json::accept(output), "the output is JSON in UTF-8");
  json objects = json::parse(output);
  check(objects.is_array() && objects.size() == 1, "it is an array of one object");
  return objects;
}

/** Where a plain reading of the bytes comes to an end: at a descriptor that is cut short, or that has no length. */
std::size_t endOf(const std::string& descriptors) {
  std::size_t at = 0;
  while (at + 1 < descriptors.size()) {
    const auto length = static_cast<unsigned char>(descriptors[at]);
    if (length == 0 || at + length > descriptors.size()) {
      return at;
    }
    at += length;
  }
  return at;
}

void checkEnd(const json& described, const std::string& descriptors) {
  check(described.at("bytes") == descriptors.size(), "all bytes are counted");
  check(described.at("end") == endOf(descriptors), "reading ends where a plain reading does");
  const bool isDevice = descriptors.size() < 2 || descriptors[1] == 1;
  check(described.at("damage").is_null() == (isDevice && endOf(descriptors) == descriptors.size()),
        "damage is what keeps a plain reading from the end, or another start than a device's");
}

void checkText(const Case& c, const std::string& text) {
  constexpr std::size_t fixedWidth = 200;
  const std::size_t longest = fixedWidth + 4 * (c.product ? c.product->size() : 0);
  std::size_t width = 0;
  for (const char byte : text) {
    const auto number = static_cast<unsigned char>(byte);
    width = byte == '\n' ? 0 : width + 1;
    check(width <= longest, "no line is longer than its name makes it");
    check(byte == '\n' || (number >= ' ' && number != 0x7f), "the text controls no terminal");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::MadeUpDevices devices;
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  const Case c = readCase({data, size});
  make(devices, c);
  const Decision decision = decide(c);
  const Output output = outputFor(c);
  const json objects = parsed(output.json);
  checkObject(objects.at(0), decision);
  checkEnd(objects.at(0).at("descriptors"), c.descriptors);
  checkText(c, output.text);
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
