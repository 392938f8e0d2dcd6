#include "workers/admission.h"

#include <array>
#include <cstdint>
#include <utility>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/link.h"
#include "ctrl/messages.h"
#include "ctrl/osd.h"
#include "ctrl/settings.h"
#include "hotplug/usb_descriptors.h"

namespace {

// To the first descriptor of `type` whose `field` passes the test.
std::optional<Objection> find(const DeviceAttributes& device, std::uint8_t type, std::size_t field,
                              bool (*test)(std::uint8_t)) {
  const DescriptorBytes descriptors = device.descriptors();
  for (const DescriptorBytes found : DescriptorWalk(descriptors, type, field)) {
    if (test(found[field])) {
      return Objection{.offset = descriptors.size() - found.size()};
    }
  }
  return {};
}

std::optional<Objection> findInterface(const DeviceAttributes& device,
                                       bool (*test)(std::uint8_t interfaceClass)) {
  return find(device, interfaceDescriptorType, bInterfaceClass, test);
}

bool isSmartcard(std::uint8_t interfaceClass) {
  return interfaceClass == smartcardClass;
}
bool isNotHid(std::uint8_t interfaceClass) {
  return interfaceClass != hidClass;
}
bool isMassStorage(std::uint8_t interfaceClass) {
  return interfaceClass == massStorageClass;
}
bool isIsochronous(std::uint8_t attributes) {
  return (attributes & transferTypeBits) == isochronousTransfer;
}

std::optional<Objection> findSmartcard(const DeviceAttributes& device) {
  return findInterface(device, isSmartcard);
}
std::optional<Objection> findOtherThanHid(const DeviceAttributes& device) {
  return findInterface(device, isNotHid);
}
std::optional<Objection> findMassStorage(const DeviceAttributes& device) {
  return findInterface(device, isMassStorage);
}
std::optional<Objection> findIsochronous(const DeviceAttributes& device) {
  const auto found = find(device, endpointDescriptorType, bmAttributes, isIsochronous);
  logDebug(found ? "Isochronous endpoint found - device not supported"
                 : "  no iso endpoints found, this is supported.");
  return found;
}
std::optional<Objection> findHighSpeed(const DeviceAttributes& device) {
  return device.isHighSpeed() ? std::optional(Objection()) : std::nullopt;
}

// Each is on, or not, for a policy and the speed of the link.
bool smartcardsAreSecured(const AdmissionPolicy& policy, const std::string& /*linkSpeed*/) {
  return policy.smartcard;
}
bool onlyHidIsAllowed(const AdmissionPolicy& policy, const std::string& /*linkSpeed*/) {
  return policy.hidOnly;
}
bool storageIsBlocked(const AdmissionPolicy& policy, const std::string& /*linkSpeed*/) {
  return policy.blockMassStorage;
}
bool isochronousIsDisabled(const AdmissionPolicy& policy, const std::string& /*linkSpeed*/) {
  return !policy.isochronousEnabled;
}
bool linkIsFullSpeed(const AdmissionPolicy& /*policy*/, const std::string& linkSpeed) {
  return linkSpeed == fullSpeedLink;
}

constexpr std::array<AdmissionRule, 5> rules{{
    {.name = configuration_key::smartcard,
     .isOn = smartcardsAreSecured,
     .objection = findSmartcard,
     .beforeName = "",
     .afterName = "local smartcard security",  // no blank, on purpose
     .warning = nullptr,
     .warningKey = nullptr},
    {.name = configuration_key::hidOnly,
     .isOn = onlyHidIsAllowed,
     .objection = findOtherThanHid,
     .beforeName = "",
     .afterName = " is not supported because it has non-HID endpoints",
     .warning = nullptr,
     .warningKey = nullptr},
    {.name = configuration_key::blockMassStorage,
     .isOn = storageIsBlocked,
     .objection = findMassStorage,
     .beforeName = "",
     .afterName = " configuration blocked due to mass storage capability",
     .warning = nullptr,
     .warningKey = nullptr},
    {.name = configuration_key::isochronousEnabled,
     .isOn = isochronousIsDisabled,
     .objection = findIsochronous,
     .beforeName = "",
     .afterName = " is not supported because it has isochronous endpoints",
     .warning = &AdmissionPolicy::isochronousUserWarning,
     .warningKey = configuration_key::isochronousUserWarning},
    {.name = "speed",
     .isOn = linkIsFullSpeed,
     .objection = findHighSpeed,
     .beforeName = "High speed ",
     .afterName = " is not supported on a full speed only port",
     .warning = nullptr,
     .warningKey = nullptr},
}};

std::string messageOf(const AdmissionRule& rule, const std::string& deviceName) {
  return rule.beforeName + deviceName + rule.afterName;
}

void reloadPolicyIfRequested(RxCtrl& ctrl) {
  if (policyReloadRequested == 0) {
    return;
  }
  policyReloadRequested = 0;
  requestConfigReload();
  ctrl.policy = readAdmissionPolicy();
}

}  // namespace

std::span<const AdmissionRule> admissionRules() {
  return rules;
}

// After a silent refusal a later rule may still give the user a reason.
Judgement judge(const AdmissionPolicy& policy, const std::string& linkSpeed, const DeviceAttributes& device) {
  Judgement judgement;
  for (const AdmissionRule& rule : rules) {
    if (!rule.isOn(policy, linkSpeed) || !rule.objection(device)) {
      continue;
    }
    if (rule.warns(policy)) {
      return {.verdict = Verdict::refused, .message = messageOf(rule, device.name()), .rule = &rule};
    }
    judgement = {.verdict = Verdict::refusedSilently, .message = {}, .rule = &rule};
  }
  return judgement;
}

bool checkAdmission(RxCtrl& ctrl, const DeviceAttributes& device) {
  reloadPolicyIfRequested(ctrl);
  const Judgement judgement = judge(ctrl.policy, ctrl.speed, device);
  if (judgement.verdict == Verdict::refused) {
    showMessage(ctrl.osd, judgement.message);
  }
  return judgement.verdict == Verdict::admitted;
}
