#pragma once

#include <string>
#include <vector>

#include "system/explain/circumstances.h"
#include "system/explain/explanation.h"

namespace support {

/**
 * What the list of rules in an explanation contradicts: the settings, the rule that has refused the device, or the
 * order in which rules are asked. A line for each.
 */
std::vector<std::string> contradictionsOfRules(const Explanation& explanation,
                                               const Circumstances& circumstances);

}  // namespace support
