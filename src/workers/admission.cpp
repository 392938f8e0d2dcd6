#include "workers/admission.h"

#include <algorithm>
#include <array>

#include "ctrl/configuration.h"
#include "ctrl/messages.h"
#include "ctrl/settings.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"

namespace {

enum class Verdict {
  admitted,
  refused,          // the user has been told; no other rule is asked
  refusedSilently,  // the rules that follow may still tell the user why
};

// What a rule needs to know of the daemon and of the device.
using Rule = Verdict(const RxCtrl& ctrl, const std::string& devicePath);

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

Verdict refuseSmartcards(const RxCtrl& ctrl, const std::string& devicePath) {
  if (!ctrl.policy.smartcard || !hasInterface(devicePath, isSmartcard)) {
    return Verdict::admitted;
  }
  // No blank after the name, on purpose.
  OsdMessage(ctrl.osd, readDeviceName(devicePath)) << "local smartcard security";
  return Verdict::refused;
}

Verdict refuseNonHid(const RxCtrl& ctrl, const std::string& devicePath) {
  if (!ctrl.policy.hidOnly || !hasInterface(devicePath, isNotHid)) {
    return Verdict::admitted;
  }
  OsdMessage(ctrl.osd, readDeviceName(devicePath)) << " is not supported because it has non-HID endpoints";
  return Verdict::refused;
}

Verdict refuseMassStorage(const RxCtrl& ctrl, const std::string& devicePath) {
  if (!ctrl.policy.blockMassStorage || !hasInterface(devicePath, isMassStorage)) {
    return Verdict::admitted;
  }
  OsdMessage(ctrl.osd, readDeviceName(devicePath)) << " configuration blocked due to mass storage capability";
  return Verdict::refused;
}

Verdict refuseIsochronous(const RxCtrl& ctrl, const std::string& devicePath) {
  if (ctrl.policy.isochronousEnabled) {
    return Verdict::admitted;
  }
  const bool found = hasIsochronousEndpoint(devicePath);
  if (settings.debugCtrl) {
    DebugMessage(ctrlTag) << (found ? "Isochronous endpoint found - device not supported"
                                    : "  no iso endpoints found, this is supported.");
  }
  if (!found) {
    return Verdict::admitted;
  }
  if (!ctrl.policy.isochronousUserWarning) {
    return Verdict::refusedSilently;
  }
  OsdMessage(ctrl.osd, readDeviceName(devicePath))
      << " is not supported because it has isochronous endpoints";
  return Verdict::refused;
}

Verdict refuseHighSpeedOnFullSpeedLink(const RxCtrl& ctrl, const std::string& devicePath) {
  if (ctrl.speed != fullSpeedLink || !isHighSpeedDevice(devicePath)) {
    return Verdict::admitted;
  }
  OsdMessage(ctrl.osd, "High speed " + readDeviceName(devicePath))
      << " is not supported on a full speed only port";
  return Verdict::refused;
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

bool checkAdmission(RxCtrl& ctrl, const std::string& devicePath) {
  reloadPolicyIfRequested(ctrl);
  bool admitted = true;
  for (Rule* rule : rules) {
    switch (rule(ctrl, devicePath)) {
      case Verdict::admitted:
        break;
      case Verdict::refused:
        return false;
      case Verdict::refusedSilently:
        admitted = false;
        break;
    }
  }
  return admitted;
}
