#pragma once

#include <string>

#include "ctrl/rx_ctrl.h"

/**
 * Whether a generic device may be used; `devicePath` is its sysfs directory. A refusal has been told to the
 * user when it returns. Reads the policy anew first if SIGHUP has asked for it. What cannot be read of the
 * device is thrown.
 */
bool checkAdmission(RxCtrl& ctrl, const std::string& devicePath);
