#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "ctrl/rx_ctrl.h"
#include "hotplug/device_attributes.h"
#include "workers/admission_policy.h"

/** What a rule objects to. */
struct Objection {
  /** Where that begins in the "descriptors"; none where it is the device as a whole. */
  std::optional<std::size_t> offset;
};

/** A reason for which a generic device may not be used. */
struct AdmissionRule {
  /** The key of the configuration that it depends on, or "speed". */
  const char* name;
  /** Whether it is asked at all, on a link of the speed `linkSpeed`. */
  bool (*isOn)(const AdmissionPolicy& policy, const std::string& linkSpeed);
  std::optional<Objection> (*objection)(const DeviceAttributes& device);
  /** What the user reads before and after the device's name. */
  const char* beforeName;
  const char* afterName;
  /** The setting without which the user reads nothing, and later rules are asked all the same; or null. */
  bool AdmissionPolicy::*warning;
  /** Its key in the configuration, or null. */
  const char* warningKey;

  /** Whether the user learns of its refusals. */
  [[nodiscard]] bool warns(const AdmissionPolicy& policy) const {
    return warning == nullptr || policy.*warning;
  }
};

/** Every rule, in the order in which they are asked. */
std::span<const AdmissionRule> admissionRules();

enum class Verdict {
  admitted,
  refused,
  refusedSilently,  // the user is not to learn why
};

/** What the policy says of a device. */
struct Judgement {
  Verdict verdict = Verdict::admitted;
  std::string message;                  // for the user; only a device that is `refused` has one
  const AdmissionRule* rule = nullptr;  // that has refused it
};

/**
 * Judges a generic device on a link of the speed `linkSpeed`: the first refusal with a message ends it. Only
 * reads and logs. Throws what cannot be read of the device.
 */
Judgement judge(const AdmissionPolicy& policy, const std::string& linkSpeed, const DeviceAttributes& device);

/**
 * Whether the generic device may be used. The message of a refusal is on the display when it returns. Reads the
 * policy anew first if SIGHUP has asked for it. Throws as `judge`.
 */
bool checkAdmission(RxCtrl& ctrl, const DeviceAttributes& device);
