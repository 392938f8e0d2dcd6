#include "workers/admission.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "ctrl/configuration.h"
#include "ctrl/link.h"
#include "ctrl/messages.h"
#include "ctrl/osd.h"
#include "ctrl/settings.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"

namespace {

// What a rule looks at.
struct Request {
  const AdmissionPolicy& policy;
  const std::string& linkSpeed;
  const std::string& devicePath;
};

using Rule = Judgement(const Request& request);

using ClassTest = bool(std::uint8_t interfaceClass);

bool isSmartcard(std::uint8_t interfaceClass) {
  return interfaceClass == smartcardClass;
}
bool isNotHid(std::uint8_t interfaceClass) {
  return interfaceClass != hidClass;
}
bool isMassStorage(std::uint8_t interfaceClass) {
  return interfaceClass == massStorageClass;
}

bool hasInterface(const std::string& devicePath, ClassTest& test) {
  const std::string descriptors = readBinaryAttribute(devicePath, "descriptors");
  return std::ranges::any_of(
      DescriptorWalk(descriptorBytes(descriptors), interfaceDescriptorType, bInterfaceClass),
      [&test](DescriptorBytes interface) { return test(interface[bInterfaceClass]); });
}

bool isIsochronous(DescriptorBytes endpoint) {
  constexpr std::uint8_t transferType = 0x03;  // of bmAttributes (USB 2.0, table 9-13)
  constexpr std::uint8_t isochronous = 1;
  return (endpoint[bmAttributes] & transferType) == isochronous;
}

bool hasIsochronousEndpoint(const std::string& devicePath) {
  const std::string descriptors = readBinaryAttribute(devicePath, "descriptors");
  return std::ranges::any_of(
      DescriptorWalk(descriptorBytes(descriptors), endpointDescriptorType, bmAttributes), isIsochronous);
}

Judgement admitted() {
  return {};
}

Judgement refused(std::string message) {
  return {.verdict = Verdict::refused, .message = std::move(message)};
}

Judgement refuseSmartcards(const Request& request) {
  if (!request.policy.smartcard || !hasInterface(request.devicePath, isSmartcard)) {
    return admitted();
  }
  return refused(readDeviceName(request.devicePath) + "local smartcard security");  // no blank, on purpose
}

Judgement refuseNonHid(const Request& request) {
  if (!request.policy.hidOnly || !hasInterface(request.devicePath, isNotHid)) {
    return admitted();
  }
  return refused(readDeviceName(request.devicePath) + " is not supported because it has non-HID endpoints");
}

Judgement refuseMassStorage(const Request& request) {
  if (!request.policy.blockMassStorage || !hasInterface(request.devicePath, isMassStorage)) {
    return admitted();
  }
  return refused(readDeviceName(request.devicePath) +
                 " configuration blocked due to mass storage capability");
}

Judgement refuseIsochronous(const Request& request) {
  if (request.policy.isochronousEnabled) {
    return admitted();
  }
  if (!hasIsochronousEndpoint(request.devicePath)) {
    logDebug("  no iso endpoints found, this is supported.");
    return admitted();
  }
  logDebug("Isochronous endpoint found - device not supported");
  if (!request.policy.isochronousUserWarning) {
    return {.verdict = Verdict::refusedSilently, .message = {}};
  }
  return refused(readDeviceName(request.devicePath) +
                 " is not supported because it has isochronous endpoints");
}

Judgement refuseHighSpeedOnFullSpeedLink(const Request& request) {
  if (request.linkSpeed != fullSpeedLink || !isHighSpeedDevice(request.devicePath)) {
    return admitted();
  }
  return refused("High speed " + readDeviceName(request.devicePath) +
                 " is not supported on a full speed only port");
}

constexpr std::array<Rule*, 5> rules{refuseSmartcards, refuseNonHid, refuseMassStorage, refuseIsochronous,
                                     refuseHighSpeedOnFullSpeedLink};

void reloadPolicyIfRequested(RxCtrl& ctrl) {
  if (policyReloadRequested == 0) {
    return;
  }
  policyReloadRequested = 0;
  requestConfigReload();
  ctrl.policy = readAdmissionPolicy();
}

}  // namespace

// The first refusal with a message ends it; after a silent one a later rule may still give the user a reason.
Judgement judge(const AdmissionPolicy& policy, const std::string& linkSpeed, const std::string& devicePath) {
  const Request request{.policy = policy, .linkSpeed = linkSpeed, .devicePath = devicePath};
  Judgement judgement;
  for (Rule* rule : rules) {
    Judgement ruled = rule(request);
    if (ruled.verdict == Verdict::refused) {
      return ruled;
    }
    if (ruled.verdict == Verdict::refusedSilently) {
      judgement = std::move(ruled);
    }
  }
  return judgement;
}

bool checkAdmission(RxCtrl& ctrl, const std::string& devicePath) {
  reloadPolicyIfRequested(ctrl);
  const Judgement judgement = judge(ctrl.policy, ctrl.speed, devicePath);
  if (judgement.verdict == Verdict::refused) {
    showMessage(ctrl.osd, judgement.message);
  }
  return judgement.verdict == Verdict::admitted;
}
