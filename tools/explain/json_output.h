#pragma once

#include <string>
#include <vector>

#include "tools/explain/explanation.h"

namespace explain {

/** An array with an object for each device, a line each. */
[[nodiscard]] std::string jsonOf(const std::vector<Explanation>& explanations,
                                 const Circumstances& circumstances);

}  // namespace explain
