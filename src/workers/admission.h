#pragma once

#include <string>

#include "ctrl/rx_ctrl.h"
#include "workers/admission_policy.h"

enum class Verdict {
  admitted,
  refused,
  refusedSilently,  // the user is not to learn why
};

/** What the policy says of a device. */
struct Judgement {
  Verdict verdict = Verdict::admitted;
  std::string message;  // for the user; only a device that is `refused` has one
};

/**
 * Judges the generic device in the sysfs directory `devicePath`, on a link of the speed `linkSpeed`. Only
 * reads and logs. Throws what cannot be read of the device.
 */
Judgement judge(const AdmissionPolicy& policy, const std::string& linkSpeed, const std::string& devicePath);

/**
 * Whether the generic device in the sysfs directory `devicePath` may be used. The message of a refusal is on
 * the display when it returns. Reads the policy anew first if SIGHUP has asked for it. Throws as `judge`.
 */
bool checkAdmission(RxCtrl& ctrl, const std::string& devicePath);
